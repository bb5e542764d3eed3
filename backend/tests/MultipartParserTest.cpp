#include "MultipartParser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vorna::backend {
namespace {

struct Parsed {
    std::vector<MultipartParser::Part> parts;
    std::vector<std::string> contents;
    bool fed = true;
    bool finished = false;
    std::string error;
};

Parsed parseInChunks(const std::string& boundary, const std::string& body,
                     const std::vector<std::size_t>& cuts) {
    Parsed result;
    MultipartParser parser(boundary);
    parser.onPartBegin = [&](const MultipartParser::Part& part) {
        result.parts.push_back(part);
        result.contents.emplace_back();
        return true;
    };
    parser.onPartData = [&](std::string_view bytes) {
        result.contents.back().append(bytes);
        return true;
    };
    parser.onPartEnd = [] { return true; };
    std::size_t from = 0;
    for (const std::size_t cut : cuts) {
        result.fed = result.fed && parser.feed(std::string_view(body).substr(from, cut - from));
        from = cut;
    }
    result.fed = result.fed && parser.feed(std::string_view(body).substr(from));
    result.finished = parser.finish();
    result.error = parser.error();
    return result;
}

const std::string kBoundary = "Boundary-0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9";

std::string kitBody(const std::string& fileName, const std::string& bytes) {
    return "--" + kBoundary + "\r\nContent-Disposition: form-data; name=\"file\"; filename=\"" +
           fileName + "\"\r\nContent-Type: image/jpeg\r\n\r\n" + bytes + "\r\n--" + kBoundary +
           "--\r\n";
}

TEST(MultipartParser, BoundaryEndsAtCommaJoinedValues) {
    EXPECT_EQ(MultipartParser::boundaryOf("multipart/form-data; boundary=Boundary-AB12, "
                                          "application/json"),
              "Boundary-AB12");
    EXPECT_EQ(MultipartParser::boundaryOf("multipart/form-data; BOUNDARY=\"a, b\"; charset=x"),
              "a, b");
    EXPECT_EQ(MultipartParser::boundaryOf("multipart/form-data; boundary=x;charset=utf-8"), "x");
    EXPECT_EQ(MultipartParser::boundaryOf("multipart/form-data"), std::nullopt);
    EXPECT_EQ(MultipartParser::boundaryOf("multipart/form-data; boundary=, application/json"),
              std::nullopt);
}

TEST(MultipartParser, FileComesThroughWhereverTheChunksAreCut) {
    // Content that looks like delimiters, cut at every position, then fed byte by byte.
    const std::string bytes = "\r\n--" + kBoundary.substr(0, 20) + "\r\n-\r\n--\r\n" +
                              std::string(1, '\0') + "--" + kBoundary + "x\r\n";
    const std::string body = kitBody("screenshot.jpg", bytes);
    for (std::size_t cut = 0; cut <= body.size(); ++cut) {
        const Parsed parsed = parseInChunks(kBoundary, body, {cut});
        ASSERT_TRUE(parsed.finished) << "cut at " << cut << ": " << parsed.error;
        ASSERT_EQ(parsed.parts.size(), 1u);
        EXPECT_EQ(parsed.contents[0], bytes) << "cut at " << cut;
    }
    std::vector<std::size_t> everyByte;
    for (std::size_t i = 1; i < body.size(); ++i) {
        everyByte.push_back(i);
    }
    const Parsed bytewise = parseInChunks(kBoundary, body, everyByte);
    ASSERT_TRUE(bytewise.finished) << bytewise.error;
    EXPECT_EQ(bytewise.parts[0].name, "file");
    EXPECT_EQ(bytewise.parts[0].fileName, "screenshot.jpg");
    EXPECT_EQ(bytewise.parts[0].contentType, "image/jpeg");
    EXPECT_EQ(bytewise.contents[0], bytes);
}

TEST(MultipartParser, PartsWithParametersPreambleAndUnescapedNames) {
    const std::string body =
        "preamble\r\n--" + kBoundary +
        "\r\nContent-Disposition: form-data; name=\"note\"\r\n\r\nhello\r\n--" + kBoundary +
        "  \r\ncontent-disposition: form-data; name=\"file\"; "
        "filename=\"say \"hi\"; now.txt\"\r\n\r\n\r\n--" +
        kBoundary + "--\r\nepilogue";
    const Parsed parsed = parseInChunks(kBoundary, body, {});
    ASSERT_TRUE(parsed.finished) << parsed.error;
    ASSERT_EQ(parsed.parts.size(), 2u);
    EXPECT_EQ(parsed.parts[0].name, "note");
    EXPECT_FALSE(parsed.parts[0].hasFileName);
    EXPECT_EQ(parsed.contents[0], "hello");
    EXPECT_EQ(parsed.parts[1].fileName, "say \"hi\"; now.txt");
    EXPECT_EQ(parsed.parts[1].contentType, "");
    EXPECT_EQ(parsed.contents[1], "");
}

TEST(MultipartParser, MalformedBodiesFailWithReason) {
    const std::string complete = kitBody("a.jpg", "data");
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"no closing delimiter", complete.substr(0, complete.size() - 4)},
        {"no delimiter at all", "just some bytes"},
        {"header without colon",
         "--" + kBoundary + "\r\nContent-Disposition form-data\r\n\r\nx\r\n--" + kBoundary + "--"},
        {"no Content-Disposition",
         "--" + kBoundary + "\r\nContent-Type: text/plain\r\n\r\nx\r\n--" + kBoundary + "--"},
        {"garbage after delimiter", "--" + kBoundary + "XY"},
    };
    for (const auto& [what, body] : cases) {
        const Parsed parsed = parseInChunks(kBoundary, body, {});
        EXPECT_FALSE(parsed.finished) << what;
        EXPECT_FALSE(parsed.error.empty()) << what;
    }
}

}  // namespace
}  // namespace vorna::backend
