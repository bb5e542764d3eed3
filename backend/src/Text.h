#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vorna::backend {

// Small text helpers shared by the request handlers, the report page and the journal.
class Text {
public:
    // Decodes %XX escapes; a '%' not followed by two hex digits stays as it is, because
    // clients send form values without encoding them. With plusIsSpace, '+' becomes ' '.
    static std::string percentDecode(std::string_view text, bool plusIsSpace);
    // Escapes everything but RFC 3986 unreserved characters, so a file name is safe as a
    // single path segment of a URL.
    static std::string percentEncode(std::string_view text);
    static std::string htmlEscape(std::string_view text);
    static std::string base64(std::string_view bytes);
    static bool isValidUtf8(std::string_view bytes);
    // Random bytes from the kernel as lower-case hex, 2 characters per byte.
    static std::string randomHex(std::size_t bytes);
    // UTC time of the wall clock as "2024-05-01T10:00:00.123Z".
    static std::string nowIso8601();
    static std::int64_t nowUnixSeconds();
    static bool iequals(std::string_view a, std::string_view b);
    static bool istartsWith(std::string_view text, std::string_view prefix);
    static std::size_t ifind(std::string_view text, std::string_view needle);
    static std::string_view trim(std::string_view text);
};

}  // namespace vorna::backend
