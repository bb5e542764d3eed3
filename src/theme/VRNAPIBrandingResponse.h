#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/VRNError.h"
#include "platform/storage/VRNKeyValueStore.h"
#include "theme/VRNColor.h"

namespace vorna {

// The backend's white-labeling answer, parsed.
class VRNAPIBrandingResponse {
public:
    // Milliseconds, the answer's own precision: every four-digit year fits, where the system
    // clock's nanoseconds reach only from 1678 to 2262.
    using Date = std::chrono::sys_time<std::chrono::milliseconds>;

    // Parses the answer's bytes. A response comes back only when all of "text_color",
    // "background", "placeholder_color", "highlighted_text_color", "slogan" and "logo_url" are
    // there (as strings); "updated" is optional. Bytes that are not JSON answer nothing and,
    // when `error` is given, an error of the URL domain with code 100; a well-formed answer that
    // lacks a key answers nothing and no error.
    static std::shared_ptr<VRNAPIBrandingResponse> initWithData(const VRNData& data,
                                                                VRNErrorPtr* error);

    // "yyyy-MM-dd'T'HH:mm:ss.SSSZ": "2021-03-04T05:06:07.123+0100". The zone may also be
    // "+01:00", "+01" or "Z"; anything else is no date.
    static std::optional<Date> dateFromString(std::string_view text);

    const std::optional<Date>& updated() const { return updated_; }
    const std::optional<std::string>& slogan() const { return slogan_; }
    const std::optional<VRNColor>& highlightedTextColor() const { return highlightedTextColor_; }
    const std::optional<std::string>& logoUrl() const { return logoUrl_; }
    const std::optional<VRNColor>& backgroundColor() const { return backgroundColor_; }
    const std::optional<VRNColor>& placeholderColor() const { return placeholderColor_; }
    const std::optional<VRNColor>& textColor() const { return textColor_; }

private:
    std::optional<Date> updated_;
    std::optional<std::string> slogan_;
    std::optional<VRNColor> highlightedTextColor_;
    std::optional<std::string> logoUrl_;
    std::optional<VRNColor> backgroundColor_;
    std::optional<VRNColor> placeholderColor_;
    std::optional<VRNColor> textColor_;
};

}  // namespace vorna
