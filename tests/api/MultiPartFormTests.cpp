#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "api/VRNMimeTypes.h"
#include "api/VRNMultiPartForm.h"

namespace vorna {
namespace {

std::string text(const VRNData& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

VRNData bytesOf(const std::string& s) {
    return VRNData(s.begin(), s.end());
}

TEST(MultiPartFormTests, BodyHoldsParametersThenFileThenClosingLine) {
    const VRNData file = bytesOf(std::string("\x89PNG\r\n\0\xff", 8));
    const VRNData body = VRNMultiPartForm::createBodyWithBoundary(
        "Boundary-X", {{"kind", "crash"}, {"note", "two\r\nlines \"quoted\""}},
        {{"shot.png", file}}, "file");
    EXPECT_EQ(text(body),
              "--Boundary-X\r\n"
              "Content-Disposition: form-data; name=\"kind\"\r\n\r\n"
              "crash\r\n"
              "--Boundary-X\r\n"
              "Content-Disposition: form-data; name=\"note\"\r\n\r\n"
              "two\r\nlines \"quoted\"\r\n"
              "--Boundary-X\r\n"
              "Content-Disposition: form-data; name=\"file\"; filename=\"shot.png\"\r\n"
              "Content-Type: image/png\r\n\r\n" +
                  std::string("\x89PNG\r\n\0\xff", 8) +
                  "\r\n"
                  "--Boundary-X--\r\n");
}

TEST(MultiPartFormTests, RequestWithoutParametersStartsWithTheFilePart) {
    const VRNData file = bytesOf("hello");
    const VRNURLRequest request = VRNMultiPartForm::requestWithURL(
        "http://host/api/1.0/files", file, "log.txt", {}, "Boundary-ABC");
    EXPECT_EQ(request.httpMethod, "POST");
    EXPECT_EQ(request.url, "http://host/api/1.0/files");
    ASSERT_EQ(request.allHTTPHeaderFields.size(), 1u);
    EXPECT_EQ(request.allHTTPHeaderFields[0],
              std::make_pair(std::string("Content-Type"),
                             std::string("multipart/form-data; boundary=Boundary-ABC")));
    EXPECT_EQ(text(request.httpBody),
              "--Boundary-ABC\r\n"
              "Content-Disposition: form-data; name=\"file\"; filename=\"log.txt\"\r\n"
              "Content-Type: text/plain\r\n\r\n"
              "hello\r\n"
              "--Boundary-ABC--\r\n");
}

TEST(MultiPartFormTests, EveryRequestGetsAFreshUpperCaseBoundary) {
    const VRNData file = bytesOf("x");
    const auto first = VRNMultiPartForm::requestWithURL("http://h/", file, "a.jpg", {});
    const auto second = VRNMultiPartForm::requestWithURL("http://h/", file, "a.jpg", {});
    const std::regex pattern(
        "multipart/form-data; "
        "boundary=(Boundary-[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]"
        "{3}-[0-9A-F]{12})");
    std::smatch one, two;
    const std::string firstType = *first.valueForHTTPHeaderField("Content-Type");
    const std::string secondType = *second.valueForHTTPHeaderField("Content-Type");
    ASSERT_TRUE(std::regex_match(firstType, one, pattern)) << firstType;
    ASSERT_TRUE(std::regex_match(secondType, two, pattern)) << secondType;
    EXPECT_NE(one[1], two[1]);
    // The body is framed by the boundary of its own header.
    const std::string body = text(first.httpBody);
    EXPECT_EQ(body.rfind("--" + one[1].str() + "--\r\n"), body.size() - one[1].length() - 6);
    EXPECT_EQ(body.find("--" + one[1].str() + "\r\n"), 0u);
}

TEST(MultiPartFormTests, MimeTypeComesFromTheExtension) {
    EXPECT_EQ(VRNMultiPartForm::mimeTypeForPath("screenshot.jpg"), "image/jpeg");
    EXPECT_EQ(VRNMultiPartForm::mimeTypeForPath("emptyScreenshot.jpg"), "image/jpeg");
    EXPECT_EQ(VRNMultiPartForm::mimeTypeForPath("SHOT.JPG"), "image/jpeg");
    EXPECT_EQ(VRNMultiPartForm::mimeTypeForPath("/tmp/a.b/pic.png"), "image/png");
    EXPECT_EQ(VRNMultiPartForm::mimeTypeForPath("/tmp/a.png/README"), "application/octet-stream");
    EXPECT_EQ(VRNMultiPartForm::mimeTypeForPath(".png"), "application/octet-stream");
    EXPECT_EQ(VRNMultiPartForm::mimeTypeForPath("notes.txt"), "text/plain");
    EXPECT_EQ(VRNMultiPartForm::mimeTypeForPath("README"), "application/octet-stream");
    EXPECT_EQ(VRNMultiPartForm::mimeTypeForPath("archive.vornaunknownext"),
              "application/octet-stream");
    EXPECT_EQ(VRNMultiPartForm::mimeTypeForPath("trailingdot."), "application/octet-stream");
    EXPECT_EQ(VRNMultiPartForm::mimeTypeForPath(""), "application/octet-stream");
}

TEST(MimeTypesTests, HeaviestGlobWinsThenCaseSensitiveThenFirstListed) {
    const VRNMimeTypes types(
        "# comment\n"
        "50:text/x-first:*.dup\n"
        "50:text/x-second:*.dup\n"
        "40:text/x-light:*.wt\n"
        "60:text/x-heavy:*.wt\n"
        "50:text/x-csrc:*.c\n"
        "50:text/x-c++src:*.C:cs\n"
        "50:text/x-upper-only:*.UP:cs\n"
        "50:application/x-compressed-tar:*.tar.gz\n"
        "50:text/x-chdr:*.[ch]\n"
        "10:image/x-low:*.prio\n"
        "80:image/x-high:*.Prio:cs\n"
        "malformed line\n"
        "x:text/bad-weight:*.bad\n");
    EXPECT_EQ(types.mimeTypeForExtension("dup"), "text/x-first");
    EXPECT_EQ(types.mimeTypeForExtension("wt"), "text/x-heavy");
    EXPECT_EQ(types.mimeTypeForExtension("c"), "text/x-csrc");
    EXPECT_EQ(types.mimeTypeForExtension("C"), "text/x-c++src");
    EXPECT_EQ(types.mimeTypeForExtension("UP"), "text/x-upper-only");
    EXPECT_EQ(types.mimeTypeForExtension("up"), std::nullopt);
    EXPECT_EQ(types.mimeTypeForExtension("Prio"), "image/x-high");
    EXPECT_EQ(types.mimeTypeForExtension("PRIO"), "image/x-low");
    EXPECT_EQ(types.mimeTypeForExtension("gz"), std::nullopt);
    EXPECT_EQ(types.mimeTypeForExtension("[ch]"), std::nullopt);
    EXPECT_EQ(types.mimeTypeForExtension("bad"), std::nullopt);
    EXPECT_EQ(types.mimeTypeForExtension(""), std::nullopt);
}

TEST(MimeTypesTests, MissingDatabaseKnowsNothing) {
    const VRNMimeTypes types = VRNMimeTypes::fromFile("/nonexistent/mime/globs2");
    EXPECT_TRUE(types.empty());
    EXPECT_EQ(types.mimeTypeForExtension("png"), std::nullopt);
}

}  // namespace
}  // namespace vorna
