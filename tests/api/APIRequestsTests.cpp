#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "api/VRNAPI.h"
#include "api/VRNAPIRequests.h"
#include "report/VRNAPIReportFile.h"

namespace vorna {
namespace {

using Headers = VRNHTTPHeaders;

std::string text(const VRNData& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

const Headers kSessionHeaders = VRNAPI::defaultSessionConfiguration().HTTPAdditionalHeaders;

Headers wire(const VRNURLRequest& request) {
    return VRNURLRequest::mergedHeaders(kSessionHeaders, request.allHTTPHeaderFields);
}

const VRNAPIRequests kNoToken{"https://api.example.test/", std::nullopt};
const VRNAPIRequests kWithToken{"https://api.example.test/", "tok-123"};

TEST(APIRequestsTests, TokenRequestCarriesCredentialsUnescapedAndOnlyTheSessionHeader) {
    const VRNURLRequest request = kWithToken.token("id+&=/ü", "s3cr3t %20");
    EXPECT_EQ(request.httpMethod, "POST");
    EXPECT_EQ(request.url, "https://api.example.test/auth/oauth2/token");
    EXPECT_EQ(text(request.httpBody),
              "grant_type=client_credentials&client_id=id+&=/ü&client_secret=s3cr3t %20");
    // Even with a token held, the token request has no Authorization of its own.
    EXPECT_EQ(wire(request), (Headers{{"Content-Type", "application/x-www-form-urlencoded"}}));
    // A missing credential stays distinguishable from an empty one.
    EXPECT_EQ(text(kNoToken.token(std::nullopt, "").httpBody),
              "grant_type=client_credentials&client_id=(null)&client_secret=");
}

TEST(APIRequestsTests, JsonRequestsKeepTheirHeaderOrderAndAddAuthorizationOnlyWithAToken) {
    const auto enabled = kWithToken.applicationEnabled("com.example.app", "Linux", "Desktop");
    EXPECT_EQ(enabled.url, "https://api.example.test/api/1.0/issue_tracking/apps");
    EXPECT_EQ(enabled.httpMethod, "POST");
    EXPECT_EQ(wire(enabled), (Headers{{"Authorization", "Bearer tok-123"},
                                      {"Accept", "application/json"},
                                      {"Content-Type", "application/json"}}));
    EXPECT_EQ(wire(kNoToken.applicationEnabled("com.example.app", "Linux", "Desktop")),
              (Headers{{"Accept", "application/json"}, {"Content-Type", "application/json"}}));

    const auto registration = kWithToken.registerApplication("com.example.app", "Linux", "Desktop");
    EXPECT_EQ(registration.url, "https://api.example.test/api/1.0/issue_tracking/apps");
    EXPECT_EQ(wire(registration), (Headers{{"Accept", "application/json"},
                                           {"Content-Type", "application/json"},
                                           {"Authorization", "Bearer tok-123"}}));

    const auto report = kWithToken.report("com.example.app", VRNData{'{', '}'});
    EXPECT_EQ(report.url, "https://api.example.test/api/1.0/issue_tracking/apps/com.example.app");
    EXPECT_EQ(wire(report), (Headers{{"Accept", "application/json"},
                                     {"Content-Type", "application/json"},
                                     {"Authorization", "Bearer tok-123"}}));

    const auto branding = kWithToken.branding();
    EXPECT_EQ(branding.httpMethod, "GET");
    EXPECT_EQ(branding.url, "https://api.example.test/api/1.0/white-labeling");
    EXPECT_TRUE(branding.httpBody.empty());
    EXPECT_EQ(wire(branding), (Headers{{"Authorization", "Bearer tok-123"},
                                       {"Content-Type", "application/x-www-form-urlencoded"}}));
}

TEST(APIRequestsTests, JsonBodiesArePrettyPrintedWithTheirFields) {
    const auto enabled = kNoToken.applicationEnabled("com.example.app", "Linux", "Desktop");
    EXPECT_EQ(text(enabled.httpBody),
              "{\n"
              "  \"bundle_id\" : \"com.example.app\",\n"
              "  \"check_archived\" : true,\n"
              "  \"os\" : \"Linux\",\n"
              "  \"platform\" : \"Desktop\"\n"
              "}");
    const auto registration = nlohmann::json::parse(
        text(kNoToken.registerApplication("com.example.app", "Linux", "Desktop").httpBody));
    EXPECT_EQ(registration,
              (nlohmann::json{
                  {"bundle_id", "com.example.app"}, {"os", "Linux"}, {"platform", "Desktop"}}));
    // No bundle identifier: the key is left out rather than sent as null.
    const auto anonymous = nlohmann::json::parse(
        text(kNoToken.applicationEnabled(std::nullopt, "Linux", "Desktop").httpBody));
    EXPECT_FALSE(anonymous.contains("bundle_id"));
}

TEST(APIRequestsTests, UploadJoinsBothContentTypesAndPutsAuthorizationLast) {
    auto file = std::make_shared<VRNAPIReportFile>(
        "screenshot.jpg", std::make_shared<const VRNData>(VRNData{0xFF, 0xD8, 0xFF}));
    const auto request = kWithToken.uploadFile(file.get(), "Boundary-1");
    EXPECT_EQ(request.url, "https://api.example.test/api/1.0/files");
    EXPECT_EQ(
        wire(request),
        (Headers{{"Content-Type", "multipart/form-data; boundary=Boundary-1, application/json"},
                 {"Authorization", "Bearer tok-123"}}));
    EXPECT_EQ(text(request.httpBody),
              "--Boundary-1\r\n"
              "Content-Disposition: form-data; name=\"file\"; filename=\"screenshot.jpg\"\r\n"
              "Content-Type: image/jpeg\r\n\r\n\xFF\xD8\xFF\r\n"
              "--Boundary-1--\r\n");

    // A file without name or bytes still makes a well-formed form.
    const auto empty = kNoToken.uploadFile(nullptr, "Boundary-2");
    EXPECT_EQ(text(empty.httpBody),
              "--Boundary-2\r\n"
              "Content-Disposition: form-data; name=\"file\"; filename=\"(null)\"\r\n"
              "Content-Type: application/octet-stream\r\n\r\n\r\n"
              "--Boundary-2--\r\n");
}

TEST(APIRequestsTests, NoBaseUrlMeansNoUrlForAnyRequest) {
    const VRNAPIRequests none{std::nullopt, "tok"};
    EXPECT_FALSE(none.token("a", "b").url);
    EXPECT_FALSE(none.applicationEnabled("x", "o", "p").url);
    EXPECT_FALSE(none.registerApplication("x", "o", "p").url);
    EXPECT_FALSE(none.branding().url);
    EXPECT_FALSE(none.uploadFile(nullptr, "B").url);
    EXPECT_FALSE(none.report("x", {}).url);
}

TEST(APIRequestsTests, SessionFieldIsAddedOnlyWhenTheRequestLacksIt) {
    EXPECT_EQ(VRNURLRequest::mergedHeaders({{"content-type", "s"}, {"X-S", "1"}},
                                           {{"Content-Type", "r"}}),
              (Headers{{"Content-Type", "r"}, {"X-S", "1"}}));
}

TEST(APIBodyTests, BodyKeepsSlashesAndNestsPretty) {
    nlohmann::json document = {
        {"title", "a/b \\/ c"},
        {"files", nlohmann::json::array()},
        {"nested", {{"list", {1, 2.5, "x"}}, {"empty", nlohmann::json::object()}}}};
    VRNAPI::addScreenshotURL("https://cdn.example.test/a/b.jpg", document);
    const std::string body = text(VRNAPI::bodyDataFromDictionary(document));
    EXPECT_EQ(body,
              "{\n"
              "  \"files\" : [],\n"
              "  \"nested\" : {\n"
              "    \"empty\" : {},\n"
              "    \"list\" : [\n"
              "      1,\n"
              "      2.5,\n"
              "      \"x\"\n"
              "    ]\n"
              "  },\n"
              "  \"screenshot_url\" : \"https://cdn.example.test/a/b.jpg\",\n"
              "  \"title\" : \"a/b \\\\/ c\"\n"
              "}");
    // The text round-trips, backslash included.
    EXPECT_EQ(nlohmann::json::parse(body)["title"], "a/b \\/ c");
}

TEST(APIBodyTests, UrlsAreMergedAsTheBackendExpects) {
    nlohmann::json document = {{"title", "t"}, {"screenshot_url", "old"}};
    VRNAPI::addFileUrls({}, document);
    EXPECT_FALSE(document.contains("files"));
    VRNAPI::addFileUrls({"https://h/1", "https://h/2"}, document);
    EXPECT_EQ(document["files"],
              nlohmann::json::parse(R"([{"url":"https://h/1"},{"url":"https://h/2"}])"));
    VRNAPI::addScreenshotURL(std::nullopt, document);
    EXPECT_FALSE(document.contains("screenshot_url"));
}

TEST(APIBodyTests, TextThatIsNotUtf8StillMakesABody) {
    const nlohmann::json document = {{"description", std::string("bad \xC3\x28 byte")}};
    const std::string body = text(VRNAPI::bodyDataFromDictionary(document));
    EXPECT_EQ(nlohmann::json::parse(body)["description"], "bad \xEF\xBF\xBD( byte");
}

}  // namespace
}  // namespace vorna
