#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vorna::backend {

// Parses a multipart/form-data body as it arrives, chunk by chunk, so that a file part of any
// size flows to its sink without the body ever being held in memory.
class MultipartParser {
public:
    struct Part {
        std::string name;      // the form field name
        std::string fileName;  // empty when the part has no filename parameter
        bool hasFileName = false;
        std::string contentType;  // empty when the part names none
    };

    // Called when a part's headers are complete; answering false stops the parse.
    std::function<bool(const Part&)> onPartBegin;
    // Called with consecutive slices of the part's bytes; answering false stops the parse.
    std::function<bool(std::string_view)> onPartData;
    std::function<bool()> onPartEnd;

    // The boundary of a multipart Content-Type value. Clients join other values to the header
    // with commas ("...; boundary=Boundary-1234, application/json"), so the boundary ends at
    // the first comma, semicolon or blank unless it is quoted.
    static std::optional<std::string> boundaryOf(std::string_view contentType);

    explicit MultipartParser(std::string_view boundary);

    // Feeds the next bytes of the body; false once the body is malformed or a callback said
    // stop (error() tells which).
    bool feed(std::string_view chunk);
    // True when the body ended with its closing delimiter.
    bool finish();

    const std::string& error() const { return error_; }
    std::size_t partCount() const { return partCount_; }

private:
    enum class State { Preamble, AfterDelimiter, Headers, Body, Done, Failed };

    bool fail(std::string message);
    bool parseHeaders(std::string_view block, Part& part);

    std::string delimiter_;  // CR LF "--" boundary
    std::string buffer_;
    State state_ = State::Preamble;
    std::string error_;
    std::size_t partCount_ = 0;
};

}  // namespace vorna::backend
