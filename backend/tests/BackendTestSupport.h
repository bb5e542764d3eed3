#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "BackendProcess.h"

namespace vorna::backend::test {

using vorna::test::BackendFault;
using vorna::test::BackendProcess;
using vorna::test::HttpAnswer;
using Headers = std::vector<std::pair<std::string, std::string>>;

inline constexpr const char* kClientId = "test-client";
inline constexpr const char* kClientSecret = "test-secret";
inline constexpr const char* kBundleId = "com.example.tester";

// A backend of its own for every test, and a token of the test client.
class BackendTest : public ::testing::Test {
public:
    // A clean stop: SIGTERM ends it with status 0, and a sanitizer build of the backend found
    // nothing to complain about.
    static void expectCleanStop(BackendProcess& process) {
        const int status = process.stop();
        const std::string log = process.log();
        EXPECT_TRUE(status == 0 || status == -1) << "exit status " << status << "\n" << log;
        EXPECT_EQ(log.find("Sanitizer"), std::string::npos) << log;
        EXPECT_EQ(log.find("runtime error"), std::string::npos) << log;
    }

protected:
    void SetUp() override {
        backend_ =
            std::make_unique<BackendProcess>(VORNA_BACKEND_EXECUTABLE, kClientId, kClientSecret);
        token_ = backend_->accessToken(kClientId, kClientSecret);
    }

    void TearDown() override { expectCleanStop(*backend_); }

    BackendProcess& backend() { return *backend_; }

    // The headers the kit sends with its JSON requests, in its order.
    Headers jsonHeaders() const {
        return {{"Authorization", "Bearer " + token_},
                {"Accept", "application/json"},
                {"Content-Type", "application/json"}};
    }

    HttpAnswer postJson(const std::string& path, const std::string& body) {
        return backend_->request("POST", path, body, jsonHeaders());
    }

    HttpAnswer registerApp(const std::string& bundleId, bool checkArchived = false) {
        std::string body = R"({"bundle_id":")" + bundleId + R"(","os":"iOS","platform":"iOS")";
        body += checkArchived ? R"(,"check_archived":true})" : "}";
        return postJson("/api/1.0/issue_tracking/apps", body);
    }

    // A multipart body laid out as the kit lays it out: one file part, no parameters.
    static std::string kitMultipart(const std::string& boundary, const std::string& fileName,
                                    const std::string& mimeType, const std::string& bytes) {
        return "--" + boundary + "\r\n" +
               "Content-Disposition: form-data; name=\"file\"; filename=\"" + fileName + "\"\r\n" +
               "Content-Type: " + mimeType + "\r\n\r\n" + bytes + "\r\n--" + boundary + "--\r\n";
    }

    // Uploads as the kit does, with "application/json" joined to the multipart Content-Type.
    HttpAnswer uploadFile(const std::string& fileName, const std::string& mimeType,
                          const std::string& bytes, const std::string& token) {
        const std::string boundary = "Boundary-6F1C2A7E-3B0D-4E59-9A41-C5D2E8F70B13";
        return backend_->request(
            "POST", "/api/1.0/files", kitMultipart(boundary, fileName, mimeType, bytes),
            {{"Content-Type", "multipart/form-data; boundary=" + boundary + ", application/json"},
             {"Authorization", "Bearer " + token}});
    }
    HttpAnswer uploadFile(const std::string& fileName, const std::string& mimeType,
                          const std::string& bytes) {
        return uploadFile(fileName, mimeType, bytes, token_);
    }

    // The path part of an absolute URL that the backend handed out.
    static std::string pathOf(const std::string& url) {
        const std::size_t scheme = url.find("://");
        const std::size_t slash = url.find('/', scheme == std::string::npos ? 0 : scheme + 3);
        return slash == std::string::npos ? "/" : url.substr(slash);
    }

    std::unique_ptr<BackendProcess> backend_;
    std::string token_;
};

}  // namespace vorna::backend::test
