#include "MultipartParser.h"

#include <cctype>

#include "Text.h"

namespace vorna::backend {

namespace {

constexpr std::size_t kMaxHeaderBlock = 64 * 1024;

// Whether a parameter ("name=") starts at pos, after optional blanks.
bool startsParameter(std::string_view value, std::size_t pos) {
    while (pos < value.size() && (value[pos] == ' ' || value[pos] == '\t')) {
        ++pos;
    }
    const std::size_t start = pos;
    while (pos < value.size() &&
           (std::isalnum(static_cast<unsigned char>(value[pos])) ||
            std::string_view("!#$&+-.^_`|~*").find(value[pos]) != std::string_view::npos)) {
        ++pos;
    }
    return pos > start && pos < value.size() && value[pos] == '=';
}

// The value of one parameter of a header such as Content-Disposition. Clients put file names
// into quotes without escaping quotes inside them, so a quoted value ends at the quote that is
// followed by the next parameter or the end of the line, not at the first quote.
std::optional<std::string> headerParameter(std::string_view value, std::string_view key) {
    std::size_t pos = 0;
    while (pos < value.size()) {
        const std::size_t semicolon = value.find(';', pos);
        if (semicolon == std::string_view::npos) {
            return std::nullopt;
        }
        std::size_t start = semicolon + 1;
        while (start < value.size() && (value[start] == ' ' || value[start] == '\t')) {
            ++start;
        }
        const std::size_t equals = value.find('=', start);
        if (equals == std::string_view::npos) {
            return std::nullopt;
        }
        const std::string_view name = Text::trim(value.substr(start, equals - start));
        std::size_t valueStart = equals + 1;
        std::string result;
        std::size_t next;
        if (valueStart < value.size() && value[valueStart] == '"') {
            ++valueStart;
            std::size_t close = valueStart;
            std::size_t end = std::string_view::npos;
            while ((close = value.find('"', close)) != std::string_view::npos) {
                std::size_t after = close + 1;
                while (after < value.size() && (value[after] == ' ' || value[after] == '\t')) {
                    ++after;
                }
                if (after == value.size() ||
                    (value[after] == ';' && startsParameter(value, after + 1))) {
                    end = close;
                    break;
                }
                ++close;
            }
            if (end == std::string_view::npos) {
                end = value.size();
            }
            result = std::string(value.substr(valueStart, end - valueStart));
            next = end;
        } else {
            next = value.find(';', valueStart);
            result = std::string(Text::trim(value.substr(
                valueStart, next == std::string_view::npos ? value.npos : next - valueStart)));
        }
        if (Text::iequals(name, key)) {
            return result;
        }
        pos = next == std::string_view::npos ? value.size() : next;
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> MultipartParser::boundaryOf(std::string_view contentType) {
    const std::size_t at = Text::ifind(contentType, "boundary=");
    if (at == std::string_view::npos) {
        return std::nullopt;
    }
    std::string_view rest = contentType.substr(at + 9);
    std::string boundary;
    if (!rest.empty() && rest.front() == '"') {
        const std::size_t close = rest.find('"', 1);
        boundary = std::string(rest.substr(1, close == rest.npos ? rest.npos : close - 1));
    } else {
        const std::size_t end = rest.find_first_of(",; \t\r\n");
        boundary = std::string(rest.substr(0, end));
    }
    if (boundary.empty()) {
        return std::nullopt;
    }
    return boundary;
}

MultipartParser::MultipartParser(std::string_view boundary)
    : delimiter_("\r\n--" + std::string(boundary)),
      // The first delimiter may open the body without the line break before it; a virtual
      // line break in front lets one search find every delimiter alike.
      buffer_("\r\n") {}

bool MultipartParser::fail(std::string message) {
    state_ = State::Failed;
    error_ = std::move(message);
    return false;
}

bool MultipartParser::parseHeaders(std::string_view block, Part& part) {
    std::size_t pos = 0;
    bool sawDisposition = false;
    while (pos < block.size()) {
        std::size_t end = block.find("\r\n", pos);
        if (end == std::string_view::npos) {
            end = block.size();
        }
        const std::string_view line = block.substr(pos, end - pos);
        pos = end + 2;
        if (line.empty()) {
            continue;
        }
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos) {
            return fail("a part header line has no colon: " + std::string(line.substr(0, 80)));
        }
        const std::string_view name = Text::trim(line.substr(0, colon));
        const std::string_view value = Text::trim(line.substr(colon + 1));
        if (Text::iequals(name, "Content-Disposition")) {
            sawDisposition = true;
            if (auto fieldName = headerParameter(value, "name")) {
                part.name = *fieldName;
            }
            if (auto fileName = headerParameter(value, "filename")) {
                part.fileName = *fileName;
                part.hasFileName = true;
            }
        } else if (Text::iequals(name, "Content-Type")) {
            part.contentType = std::string(value);
        }
    }
    if (!sawDisposition) {
        return fail("a part has no Content-Disposition header");
    }
    return true;
}

bool MultipartParser::feed(std::string_view chunk) {
    if (state_ == State::Failed) {
        return false;
    }
    if (state_ == State::Done) {
        return true;  // the epilogue carries nothing
    }
    buffer_.append(chunk);
    std::size_t pos = 0;
    bool progress = true;
    while (progress && state_ != State::Done && state_ != State::Failed) {
        progress = false;
        const std::string_view rest = std::string_view(buffer_).substr(pos);
        switch (state_) {
            case State::Preamble: {
                const std::size_t at = rest.find(delimiter_);
                if (at != std::string_view::npos) {
                    pos += at + delimiter_.size();
                    state_ = State::AfterDelimiter;
                    progress = true;
                } else if (rest.size() >= delimiter_.size()) {
                    pos += rest.size() - (delimiter_.size() - 1);
                }
                break;
            }
            case State::AfterDelimiter: {
                std::size_t i = 0;
                while (i < rest.size() && (rest[i] == ' ' || rest[i] == '\t')) {
                    ++i;
                }
                if (rest.size() < i + 2) {
                    break;
                }
                if (rest.substr(i, 2) == "--") {
                    pos += i + 2;
                    state_ = State::Done;
                } else if (rest.substr(i, 2) == "\r\n") {
                    pos += i + 2;
                    state_ = State::Headers;
                    progress = true;
                } else {
                    return fail("a boundary line is followed by neither CR LF nor \"--\"");
                }
                break;
            }
            case State::Headers: {
                std::size_t blockEnd;
                std::size_t consumed;
                if (rest.substr(0, 2) == "\r\n") {
                    blockEnd = 0;
                    consumed = 2;
                } else if (const std::size_t at = rest.find("\r\n\r\n");
                           at != std::string_view::npos) {
                    blockEnd = at;
                    consumed = at + 4;
                } else {
                    if (rest.size() > kMaxHeaderBlock) {
                        return fail("the headers of a part are longer than 64 KiB");
                    }
                    break;
                }
                Part part;
                if (!parseHeaders(rest.substr(0, blockEnd), part)) {
                    return false;
                }
                pos += consumed;
                ++partCount_;
                if (onPartBegin && !onPartBegin(part)) {
                    return fail("the receiver refused a part");
                }
                state_ = State::Body;
                progress = true;
                break;
            }
            case State::Body: {
                const std::size_t at = rest.find(delimiter_);
                if (at != std::string_view::npos) {
                    if (at > 0 && onPartData && !onPartData(rest.substr(0, at))) {
                        return fail("the receiver refused the bytes of a part");
                    }
                    if (onPartEnd && !onPartEnd()) {
                        return fail("the receiver could not complete a part");
                    }
                    pos += at + delimiter_.size();
                    state_ = State::AfterDelimiter;
                    progress = true;
                } else if (rest.size() >= delimiter_.size()) {
                    // Everything but a tail that could be the start of the delimiter is data.
                    const std::size_t safe = rest.size() - (delimiter_.size() - 1);
                    if (onPartData && !onPartData(rest.substr(0, safe))) {
                        return fail("the receiver refused the bytes of a part");
                    }
                    pos += safe;
                }
                break;
            }
            case State::Done:
            case State::Failed:
                break;
        }
    }
    buffer_.erase(0, pos);
    return state_ != State::Failed;
}

bool MultipartParser::finish() {
    if (state_ == State::Done) {
        return true;
    }
    if (state_ != State::Failed) {
        fail(partCount_ == 0 ? "the body holds no part for its boundary"
                             : "the body ends before its closing boundary");
    }
    return false;
}

}  // namespace vorna::backend
