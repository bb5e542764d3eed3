// The parts of the HTTP layer that decide on bytes alone: where a head ends, how a body is
// framed and metered, what a log line shows, what the journal keeps.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "BodyFraming.h"
#include "HeadScanner.h"
#include "LogLine.h"
#include "Options.h"
#include "RequestJournal.h"

namespace vorna::backend {
namespace {

using Result = HeadScanner::Result;

// Scans the text fed in pieces of the given size.
Result scanInPieces(const std::string& text, std::size_t piece, HeadScanner::Limits limits = {}) {
    HeadScanner scanner(limits);
    Result result = Result::Partial;
    for (std::size_t end = piece; result == Result::Partial; end += piece) {
        result = scanner.scan(std::string_view(text).substr(0, std::min(end, text.size())));
        if (end >= text.size()) {
            break;
        }
    }
    return result;
}

std::string headWith(int lines, std::size_t lineBytes = 8) {
    std::string head = "GET / HTTP/1.1\r\n";
    for (int i = 0; i < lines; ++i) {
        head += "X:" + std::string(lineBytes - 2, 'v') + "\r\n";
    }
    return head + "\r\n";
}

TEST(HeadScanner, FindsTheEndWhereverThePiecesAreCut) {
    const std::string head = headWith(5) + "GET /next HTTP/1.1\r\n";
    for (const std::size_t piece : {std::size_t{1}, std::size_t{2}, std::size_t{3}, head.size()}) {
        HeadScanner scanner({});
        Result result = Result::Partial;
        for (std::size_t end = piece; result == Result::Partial; end += piece) {
            result = scanner.scan(std::string_view(head).substr(0, std::min(end, head.size())));
        }
        EXPECT_EQ(result, Result::Complete) << piece;
        EXPECT_EQ(scanner.length(), headWith(5).size()) << "the next request is not part of it";
    }
    // A line that ends in a bare line feed is not the blank line.
    EXPECT_EQ(scanInPieces("GET / HTTP/1.1\r\nX: y\n\n\n", 1), Result::Partial);
    EXPECT_EQ(scanInPieces("GET / HTTP/1.1\r\nX: y\n\r\n", 1), Result::Complete);
}

TEST(HeadScanner, RefusesAHeadAsSoonAsItOutgrowsALimit) {
    EXPECT_EQ(scanInPieces(headWith(100), 7), Result::Complete);
    EXPECT_EQ(scanInPieces(headWith(101), 7), Result::TooManyLines);
    // A line of 8 KiB with its "\r\n" is the longest that httplib takes.
    EXPECT_EQ(scanInPieces(headWith(2, 8 * 1024 - 2), 100), Result::Complete);
    EXPECT_EQ(scanInPieces(headWith(2, 8 * 1024 - 1), 100), Result::LineTooLong);
    EXPECT_EQ(scanInPieces("GET /" + std::string(9000, 'p'), 100), Result::RequestLineTooLong);

    // Exactly at the size limit a head is taken; one byte more, and without an end, it is not.
    const HeadScanner::Limits small{64, 100, 8 * 1024};
    const std::string at = "GET / HTTP/1.1\r\nX: " + std::string(64 - 23, 'x') + "\r\n\r\n";
    ASSERT_EQ(at.size(), 64u);
    EXPECT_EQ(scanInPieces(at, 5, small), Result::Complete);
    EXPECT_EQ(
        scanInPieces("GET / HTTP/1.1\r\nX: " + std::string(64 - 22, 'x') + "\r\n\r\n", 5, small),
        Result::TooLarge);
}

ChunkedBodyMeter::Verdict meter(const std::string& body, std::uint64_t limit, std::size_t piece) {
    ChunkedBodyMeter meter(limit);
    auto verdict = ChunkedBodyMeter::Verdict::Going;
    for (std::size_t at = 0; at < body.size() && verdict == ChunkedBodyMeter::Verdict::Going;
         at += piece) {
        verdict = meter.feed(std::string_view(body).substr(at, piece));
    }
    return verdict;
}

TEST(ChunkedBodyMeter, CountsDecodedBytesAndStopsAtTheSizeLineThatPassesTheLimit) {
    using Verdict = ChunkedBodyMeter::Verdict;
    const std::string body = "5\r\nhello\r\nA;name=value\r\n0123456789\r\n0\r\n\r\n";
    for (const std::size_t piece : {std::size_t{1}, std::size_t{4}, body.size()}) {
        EXPECT_EQ(meter(body, 15, piece), Verdict::Done) << piece;
        EXPECT_EQ(meter(body, 14, piece), Verdict::TooLarge) << piece;
    }
    // The limit is passed by the size line itself, before the chunk's bytes come.
    ChunkedBodyMeter early(1024);
    EXPECT_EQ(early.feed("401"), ChunkedBodyMeter::Verdict::TooLarge);
    EXPECT_EQ(meter("ffffffffffffffffffffffff\r\n", 1024, 1), Verdict::TooLarge);
}

TEST(ChunkedBodyMeter, RefusesFramingThatHttplibWouldReadDifferently) {
    using Verdict = ChunkedBodyMeter::Verdict;
    for (const std::string& body : std::vector<std::string>{
             "0x5\r\nhello\r\n0\r\n\r\n", " 5\r\nhello\r\n0\r\n\r\n", "5\r\nhelloXX0\r\n\r\n",
             "\r\n", "5\nhello\r\n", "0\r\nTrailer: x\r\n\r\n", std::string(2000, '0')}) {
        EXPECT_EQ(meter(body, 1 << 20, 1), Verdict::Malformed) << body;
    }
}

TEST(BodyPlan, AdmitsOnlyBodiesWhoseEndIsKnownAndWithinTheLimit) {
    using Kind = BodyPlan::Kind;
    struct Case {
        std::string method;
        httplib::Headers headers;
        Kind kind;
        int status;
    };
    const std::vector<Case> cases = {
        {"POST", {{"Content-Length", "10"}}, Kind::Length, 0},
        {"POST", {{"Content-Length", "0"}}, Kind::None, 0},
        {"POST", {{"transfer-encoding", "Chunked"}}, Kind::Chunked, 0},
        {"POST", {}, Kind::Refused, 411},
        {"PUT", {}, Kind::Refused, 411},
        {"DELETE", {}, Kind::None, 0},
        {"DELETE", {{"Transfer-Encoding", "chunked"}}, Kind::Unread, 0},
        {"GET", {{"Content-Length", "5"}}, Kind::Unread, 0},
        {"GET", {}, Kind::None, 0},
        {"POST", {{"Content-Length", "101"}}, Kind::Refused, 413},
        {"POST", {{"Content-Length", "100"}}, Kind::Length, 0},
        {"POST", {{"Content-Length", "5"}, {"Content-Length", "5"}}, Kind::Length, 0},
        {"POST", {{"Content-Length", "5"}, {"Content-Length", "6"}}, Kind::Refused, 400},
        {"POST", {{"Content-Length", "-1"}}, Kind::Refused, 400},
        {"POST", {{"Content-Length", "5"}, {"Transfer-Encoding", "chunked"}}, Kind::Refused, 400},
        {"POST", {{"Transfer-Encoding", "gzip"}}, Kind::Refused, 501},
        {"POST", {{"Content-Length", "5"}, {"Content-Encoding", "br"}}, Kind::Refused, 415},
        {"POST", {{"Content-Length", "5"}, {"Content-Encoding", "identity"}}, Kind::Length, 0},
        {"GET", {{"Content-Encoding", "gzip"}}, Kind::None, 0},
    };
    for (const auto& c : cases) {
        const BodyPlan plan = BodyPlan::of(c.method, c.headers, 100);
        EXPECT_EQ(plan.kind, c.kind) << c.method << " " << c.headers.size();
        EXPECT_EQ(plan.status, c.status) << c.method << " " << c.headers.size();
    }
}

TEST(LogLine, EscapesEverythingThatIsNotPrintableAscii) {
    EXPECT_EQ(LogLine::escape("/reports?q=a+b"), "/reports?q=a+b");
    EXPECT_EQ(LogLine::escape(std::string("\x1b[2J\r\n\0\x7f\"\\\xc3\xa9", 12)),
              "\\x1b[2J\\x0d\\x0a\\x00\\x7f\\x22\\x5c\\xc3\\xa9");
}

TEST(RequestJournal, DropsTheOldestEntriesToStayWithinItsBytes) {
    RequestJournal journal(200, 10 * 1024);
    for (int i = 0; i < 10; ++i) {
        journal.add({{"body", std::string(3000, 'b')}, {"n", i}});
    }
    const auto entries = journal.list();
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries.front().at("n"), 7);
    EXPECT_EQ(entries.back().at("seq"), 10);
    EXPECT_LE(journal.bytes(), 10u * 1024);

    // One entry larger than the bound is kept alone rather than lost.
    journal.add({{"body", std::string(20 * 1024, 'b')}});
    EXPECT_EQ(journal.list().size(), 1u);
}

TEST(Options, DurationsTakeSecondsOrMilliseconds) {
    EXPECT_EQ(Options::parseDuration("10s"), std::chrono::seconds(10));
    EXPECT_EQ(Options::parseDuration("10"), std::chrono::seconds(10));
    EXPECT_EQ(Options::parseDuration("250ms"), std::chrono::milliseconds(250));
    for (const char* bad : {"", "0", "0ms", "s", "10m", "-1s", "1.5s", "99999999999s"}) {
        EXPECT_FALSE(Options::parseDuration(bad)) << bad;
    }
    std::string error;
    const auto options = Options::parse(
        {"--head-timeout", "1500ms", "--workers", "4", "--max-connections", "9"}, error);
    ASSERT_TRUE(options) << error;
    EXPECT_EQ(options->headTimeout, std::chrono::milliseconds(1500));
    EXPECT_EQ(options->workers, 4u);
    EXPECT_FALSE(Options::parse({"--max-connections", "5000"}, error));
}

}  // namespace
}  // namespace vorna::backend
