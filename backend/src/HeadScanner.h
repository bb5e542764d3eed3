#pragma once

#include <cstddef>
#include <string_view>

namespace vorna::backend {

// Finds the end of a request head (the request line and header lines up to the blank line)
// in bytes that arrive in pieces, and gives up on a head as soon as it outgrows its limits, so
// that no more than the limits is ever held of one.
class HeadScanner {
public:
    struct Limits {
        std::size_t maxBytes = 64 * 1024;  // the whole head, blank line included
        std::size_t maxHeaderLines = 100;
        std::size_t maxLineBytes = 8 * 1024;  // one line with its line end, the request line too
    };
    enum class Result {
        Partial,
        Complete,
        TooLarge,
        TooManyLines,
        LineTooLong,
        RequestLineTooLong
    };

    explicit HeadScanner(Limits limits) : limits_(limits) {}

    // head: everything received of the head so far, from its first byte (more may follow it).
    // Each call goes on where the last one stopped. After a result other than Partial the
    // scanner stays put until reset().
    Result scan(std::string_view head);
    // The head's length, blank line included, once scan() answered Complete.
    std::size_t length() const { return scanned_; }
    void reset() { *this = HeadScanner(limits_); }

private:
    Limits limits_;
    Result result_ = Result::Partial;
    std::size_t scanned_ = 0;
    std::size_t lines_ = 0;      // complete lines, the request line included
    std::size_t lineBytes_ = 0;  // of the current line, before its '\n'
};

}  // namespace vorna::backend
