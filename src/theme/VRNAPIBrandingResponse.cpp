#include "theme/VRNAPIBrandingResponse.h"

#include <nlohmann/json.hpp>

namespace vorna {
namespace {

// The answer comes through the URL session, so a body that cannot be read is reported in the
// URL domain, with the API's generic code.
constexpr const char* kURLErrorDomain = "NSURLErrorDomain";
constexpr int64_t kAPIErrorCode = 100;

std::optional<std::string> stringValue(const nlohmann::json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_string()) {
        return std::nullopt;
    }
    return found->get<std::string>();
}

std::optional<VRNColor> colorValue(const nlohmann::json& object, const char* key) {
    if (auto text = stringValue(object, key)) {
        return VRNColor::colorWithHexValue(*text);
    }
    return std::nullopt;
}

// Reads exactly `width` decimal digits at `pos`.
bool readNumber(std::string_view text, size_t& pos, size_t width, int& value) {
    if (pos + width > text.size()) {
        return false;
    }
    value = 0;
    for (size_t i = 0; i < width; ++i) {
        const char c = text[pos + i];
        if (c < '0' || c > '9') {
            return false;
        }
        value = value * 10 + (c - '0');
    }
    pos += width;
    return true;
}

bool expect(std::string_view text, size_t& pos, char c) {
    if (pos < text.size() && text[pos] == c) {
        ++pos;
        return true;
    }
    return false;
}

}  // namespace

std::optional<VRNAPIBrandingResponse::Date> VRNAPIBrandingResponse::dateFromString(
    std::string_view text) {
    size_t pos = 0;
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    if (!readNumber(text, pos, 4, year) || !expect(text, pos, '-') ||
        !readNumber(text, pos, 2, month) || !expect(text, pos, '-') ||
        !readNumber(text, pos, 2, day) || !expect(text, pos, 'T') ||
        !readNumber(text, pos, 2, hour) || !expect(text, pos, ':') ||
        !readNumber(text, pos, 2, minute) || !expect(text, pos, ':') ||
        !readNumber(text, pos, 2, second) || !expect(text, pos, '.')) {
        return std::nullopt;
    }
    // Fraction: at least one digit; milliseconds are kept.
    int milliseconds = 0;
    size_t digits = 0;
    while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9') {
        if (digits < 3) {
            milliseconds = milliseconds * 10 + (text[pos] - '0');
        }
        ++digits;
        ++pos;
    }
    if (digits == 0) {
        return std::nullopt;
    }
    for (size_t i = digits; i < 3; ++i) {
        milliseconds *= 10;
    }

    int offsetMinutes = 0;
    if (expect(text, pos, 'Z')) {
        offsetMinutes = 0;
    } else if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) {
        const int sign = text[pos] == '-' ? -1 : 1;
        ++pos;
        int offsetHours = 0, offsetMins = 0;
        if (!readNumber(text, pos, 2, offsetHours)) {
            return std::nullopt;
        }
        if (pos < text.size()) {
            expect(text, pos, ':');
            if (!readNumber(text, pos, 2, offsetMins)) {
                return std::nullopt;
            }
        }
        if (offsetHours > 23 || offsetMins > 59) {
            return std::nullopt;
        }
        offsetMinutes = sign * (offsetHours * 60 + offsetMins);
    } else {
        return std::nullopt;
    }
    if (pos != text.size()) {
        return std::nullopt;
    }

    const std::chrono::year_month_day date{std::chrono::year{year},
                                           std::chrono::month{static_cast<unsigned>(month)},
                                           std::chrono::day{static_cast<unsigned>(day)}};
    if (!date.ok() || hour > 23 || minute > 59 || second > 59) {
        return std::nullopt;
    }
    using std::chrono::hours, std::chrono::minutes, std::chrono::seconds;
    const auto local = std::chrono::sys_days{date} + hours{hour} + minutes{minute} +
                       seconds{second} + std::chrono::milliseconds{milliseconds};
    return Date{local - minutes{offsetMinutes}};
}

std::shared_ptr<VRNAPIBrandingResponse> VRNAPIBrandingResponse::initWithData(const VRNData& data,
                                                                             VRNErrorPtr* error) {
    nlohmann::json json;
    try {
        json = nlohmann::json::parse(data.begin(), data.end());
    } catch (const nlohmann::json::exception&) {
        if (error != nullptr) {
            *error = VRNError::make(kURLErrorDomain, kAPIErrorCode,
                                    "The operation couldn\u2019t be completed. (" +
                                        std::string(kURLErrorDomain) + " error " +
                                        std::to_string(kAPIErrorCode) + ".)");
        }
        return nullptr;
    }
    if (!json.is_object()) {
        return nullptr;
    }

    auto response = std::make_shared<VRNAPIBrandingResponse>();
    if (auto updated = stringValue(json, "updated")) {
        response->updated_ = dateFromString(*updated);
    }
    response->textColor_ = colorValue(json, "text_color");
    response->backgroundColor_ = colorValue(json, "background");
    response->placeholderColor_ = colorValue(json, "placeholder_color");
    response->highlightedTextColor_ = colorValue(json, "highlighted_text_color");
    response->slogan_ = stringValue(json, "slogan");
    response->logoUrl_ = stringValue(json, "logo_url");

    if (!response->textColor_ || !response->backgroundColor_ || !response->placeholderColor_ ||
        !response->highlightedTextColor_ || !response->slogan_ || !response->logoUrl_) {
        return nullptr;
    }
    return response;
}

}  // namespace vorna
