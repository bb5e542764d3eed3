#include "BodyFraming.h"

#include <algorithm>
#include <optional>

#include "Text.h"

namespace vorna::backend {

namespace {

BodyPlan refused(int status, std::string reason) {
    return BodyPlan{BodyPlan::Kind::Refused, status, std::move(reason)};
}

// Every Content-Length line must hold the same plain decimal number: httplib reads the first
// with strtoull, which takes signs, spaces and junk, and a second, different one is how one
// request is smuggled inside another through a proxy.
std::optional<std::uint64_t> contentLength(const httplib::Headers& headers) {
    std::optional<std::uint64_t> length;
    const auto range = headers.equal_range("Content-Length");
    for (auto it = range.first; it != range.second; ++it) {
        const std::string_view text = Text::trim(it->second);
        if (text.empty() || text.size() > 18 ||
            !std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; })) {
            return std::nullopt;
        }
        std::uint64_t value = 0;
        for (const char c : text) {
            value = value * 10 + static_cast<std::uint64_t>(c - '0');
        }
        if (length && *length != value) {
            return std::nullopt;
        }
        length = value;
    }
    return length;
}

}  // namespace

BodyPlan BodyPlan::of(std::string_view method, const httplib::Headers& headers,
                      std::uint64_t maxBytes) {
    const bool hasLength = headers.find("Content-Length") != headers.end();
    const auto codings = headers.equal_range("Transfer-Encoding");
    const bool chunked = codings.first != codings.second;
    if (chunked) {
        if (std::next(codings.first) != codings.second ||
            !Text::iequals(Text::trim(codings.first->second), "chunked")) {
            return refused(501, "the only Transfer-Encoding understood here is chunked");
        }
        if (hasLength) {
            return refused(400, "a request cannot have both Content-Length and Transfer-Encoding");
        }
    }
    std::uint64_t length = 0;
    if (hasLength) {
        const auto parsed = contentLength(headers);
        if (!parsed) {
            return refused(400, "Content-Length must be one decimal number");
        }
        length = *parsed;
    }
    const bool hasBody = chunked || length > 0;
    if (const auto coding = headers.find("Content-Encoding");
        hasBody && coding != headers.end() &&
        !Text::iequals(Text::trim(coding->second), "identity")) {
        // httplib would inflate it, and a few kilobytes of gzip become gigabytes.
        return refused(415, "request bodies are accepted without a Content-Encoding only");
    }

    const bool read = method == "POST" || method == "PUT" || method == "PATCH" || method == "PRI" ||
                      (method == "DELETE" && hasLength);
    if (!read) {
        return BodyPlan{hasBody ? Kind::Unread : Kind::None, 0, {}};
    }
    if (chunked) {
        return BodyPlan{Kind::Chunked, 0, {}};
    }
    if (!hasLength) {
        // httplib would read such a body until the client closes the connection.
        return refused(411, "a request body needs a Content-Length or Transfer-Encoding: chunked");
    }
    if (length > maxBytes) {
        return refused(413, BodyPlan::kTooLarge);
    }
    return BodyPlan{length > 0 ? Kind::Length : Kind::None, 0, {}};
}

ChunkedBodyMeter::Verdict ChunkedBodyMeter::feed(std::string_view bytes) {
    std::size_t i = 0;
    while (verdict_ == Verdict::Going && i < bytes.size()) {
        if (state_ == State::Data) {
            const std::size_t take =
                static_cast<std::size_t>(std::min<std::uint64_t>(chunk_, bytes.size() - i));
            chunk_ -= take;
            i += take;
            if (chunk_ == 0) {
                state_ = State::DataCr;
            }
            continue;
        }
        const char c = bytes[i++];
        switch (state_) {
            case State::Size:
            case State::Extension:
                verdict_ = sizeByte(c);
                break;
            case State::SizeEnd:
                if (c != '\n') {
                    verdict_ = Verdict::Malformed;
                } else if (chunk_ == 0) {
                    state_ = State::LastCr;
                } else {
                    decoded_ += chunk_;
                    state_ = State::Data;
                }
                break;
            case State::DataCr:
                state_ = State::DataLf;
                verdict_ = c == '\r' ? Verdict::Going : Verdict::Malformed;
                break;
            case State::DataLf:
                state_ = State::Size;
                sizeLine_ = 0;
                sawDigit_ = false;
                verdict_ = c == '\n' ? Verdict::Going : Verdict::Malformed;
                break;
            case State::LastCr:
                // httplib takes no trailer fields: the last chunk is followed by the blank line.
                state_ = State::LastLf;
                verdict_ = c == '\r' ? Verdict::Going : Verdict::Malformed;
                break;
            case State::LastLf:
                verdict_ = c == '\n' ? Verdict::Done : Verdict::Malformed;
                break;
            case State::Data:
                break;
        }
    }
    return verdict_;
}

ChunkedBodyMeter::Verdict ChunkedBodyMeter::sizeByte(char c) {
    if (++sizeLine_ > kMaxSizeLine) {
        return Verdict::Malformed;  // httplib would grow its line buffer without end
    }
    if (c == '\r') {
        state_ = State::SizeEnd;
        return sawDigit_ ? Verdict::Going : Verdict::Malformed;
    }
    if (state_ == State::Extension) {
        return c == '\n' ? Verdict::Malformed : Verdict::Going;
    }
    int digit = -1;
    if (c >= '0' && c <= '9') {
        digit = c - '0';
    } else if (c >= 'a' && c <= 'f') {
        digit = c - 'a' + 10;
    } else if (c >= 'A' && c <= 'F') {
        digit = c - 'A' + 10;
    }
    if (digit < 0) {
        // Extensions (";name=value", after optional blanks) are read past, as httplib does.
        const bool extension = sawDigit_ && (c == ';' || c == ' ' || c == '\t');
        state_ = State::Extension;
        return extension ? Verdict::Going : Verdict::Malformed;
    }
    sawDigit_ = true;
    chunk_ = chunk_ * 16 + static_cast<std::uint64_t>(digit);
    return chunk_ > limit_ - decoded_ ? Verdict::TooLarge : Verdict::Going;
}

}  // namespace vorna::backend
