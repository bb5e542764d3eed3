#pragma once

#include <optional>
#include <string>

#include "theme/VRNColor.h"

namespace vorna {

// The colours, logo and slogan that the screens of the reporting flow are drawn with.
class VRNBranding {
public:
    // The built-in look.
    VRNBranding();
    // A look described by hex colour strings (the kit's hex rule: the first character is
    // skipped). The logo address is kept for reference only and not loaded: the logo is empty.
    VRNBranding(const std::string& textColorString, const std::string& backgroundColorString,
                const std::string& placeholderColorString,
                const std::optional<std::string>& logoUrl, std::optional<std::string> slogan,
                const std::string& highlightedTextColor);

    const VRNColor& textColor() const { return textColor_; }
    void setTextColor(const VRNColor& color) { textColor_ = color; }
    const VRNColor& backgroundColor() const { return backgroundColor_; }
    void setBackgroundColor(const VRNColor& color) { backgroundColor_ = color; }
    const VRNColor& placeholderColor() const { return placeholderColor_; }
    void setPlaceholderColor(const VRNColor& color) { placeholderColor_ = color; }
    // The name of the logo image among the kit's own images; empty for no image.
    const std::string& logo() const { return logo_; }
    void setLogo(std::string logo) { logo_ = std::move(logo); }
    const std::optional<std::string>& slogan() const { return slogan_; }
    void setSlogan(std::optional<std::string> slogan) { slogan_ = std::move(slogan); }
    const VRNColor& highlightedTextColor() const { return highlightedTextColor_; }
    void setHighlightedTextColor(const VRNColor& color) { highlightedTextColor_ = color; }

private:
    VRNColor textColor_;
    VRNColor backgroundColor_;
    VRNColor placeholderColor_;
    std::string logo_;
    std::optional<std::string> slogan_;
    VRNColor highlightedTextColor_;
};

}  // namespace vorna
