#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <httplib.h>

namespace vorna::backend {

// How a request's body is delimited, and whether this backend reads it at all. Decided from
// the head alone, before a byte of the body is read, so that a body too large to accept is
// refused without being received.
struct BodyPlan {
    enum class Kind {
        None,     // no body
        Length,   // Content-Length bytes, within the limit
        Chunked,  // chunked; its size is known only as it arrives (see ChunkedBodyMeter)
        Unread,   // a body that no handler reads (a GET with a body): the connection closes after
        Refused,  // answered with status and reason, and the connection closes after
    };
    Kind kind = Kind::None;
    int status = 0;
    std::string reason;

    static constexpr const char* kTooLarge =
        "the request body is larger than this backend accepts (--max-body-mb)";

    // httplib reads a body for these methods only (a DELETE only with a Content-Length).
    static BodyPlan of(std::string_view method, const httplib::Headers& headers,
                       std::uint64_t maxBytes);
};

// Follows a chunked body as it passes, without changing it: adds up the chunk sizes, so the
// body is refused at the chunk-size line that takes it past the limit, before any byte of that
// chunk is read, and checks the framing strictly, so that it counts what httplib will decode.
class ChunkedBodyMeter {
public:
    enum class Verdict { Going, Done, TooLarge, Malformed };

    explicit ChunkedBodyMeter(std::uint64_t limit) : limit_(limit) {}

    // The bytes that follow those of the last call. Once the verdict is not Going it stays.
    Verdict feed(std::string_view bytes);
    std::uint64_t decodedBytes() const { return decoded_; }

private:
    enum class State { Size, Extension, SizeEnd, Data, DataCr, DataLf, LastCr, LastLf };
    static constexpr std::size_t kMaxSizeLine = 1024;

    Verdict sizeByte(char c);

    const std::uint64_t limit_;
    Verdict verdict_ = Verdict::Going;
    State state_ = State::Size;
    std::uint64_t decoded_ = 0;
    std::uint64_t chunk_ = 0;  // size of the current chunk; while in Data, what is left of it
    std::size_t sizeLine_ = 0;
    bool sawDigit_ = false;
};

}  // namespace vorna::backend
