#pragma once

#include <string>
#include <string_view>

namespace vorna::backend {

// The backend's log on standard error: one line per request or connection event.
class LogLine {
public:
    // Text a client sent, made safe for a log line: bytes outside printable ASCII, '"' and
    // '\' become \xNN, so a request cannot move the cursor, colour a terminal, end a line early
    // or forge a line of its own, and a quoted field stays one field.
    static std::string escape(std::string_view clientText);
    // Writes the line and its newline with one write, so that lines of concurrent requests do
    // not mix.
    static void write(std::string line);
    // "<time> <peer> <what>": something that happened to a connection rather than a request.
    static void connectionEvent(std::string_view peer, std::string_view what);
};

}  // namespace vorna::backend
