#pragma once

#include <string>
#include <string_view>

namespace vorna::backend {

// The frame every page of the backend shares: the document head with its one inline style
// sheet, the bar at the top and the main column. The pages run no script and load nothing
// from elsewhere: the style is inline, the charts are inline SVG, and images come from this
// backend.
class PageFrame {
public:
    enum class Section { List, Report };

    static std::string document(std::string_view title, Section section, std::string_view body);
    static std::string escape(std::string_view text);
};

}  // namespace vorna::backend
