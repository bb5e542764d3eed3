#include "LogLine.h"

#include <cstdio>

#include "Text.h"

namespace vorna::backend {

std::string LogLine::escape(std::string_view clientText) {
    static constexpr char kHex[] = "0123456789abcdef";
    std::string out;
    out.reserve(clientText.size());
    for (const char c : clientText) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte >= 0x7f || c == '"' || c == '\\') {
            out += {'\\', 'x', kHex[byte >> 4], kHex[byte & 15]};
        } else {
            out.push_back(c);
        }
    }
    return out;
}

void LogLine::write(std::string line) {
    line.push_back('\n');
    std::fputs(line.c_str(), stderr);
}

void LogLine::connectionEvent(std::string_view peer, std::string_view what) {
    std::string line = Text::nowIso8601();
    line += ' ';
    line += peer;
    line += ' ';
    line += what;
    write(std::move(line));
}

}  // namespace vorna::backend
