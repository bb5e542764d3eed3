#include <chrono>

#include "BackendTestSupport.h"

namespace vorna::backend::test {
namespace {

using nlohmann::json;
using std::chrono::steady_clock;

TEST_F(BackendTest, StatusFaultAffectsExactlyTheNextNRequestsOfItsPath) {
    backend().injectFault("api/1.0/files", 2, BackendFault::withStatus(500));
    ASSERT_EQ(registerApp(kBundleId).status, 200) << "other paths are not affected";
    EXPECT_EQ(uploadFile("a.txt", "text/plain", "1").status, 500);
    EXPECT_EQ(uploadFile("a.txt", "text/plain", "2").status, 500);
    EXPECT_EQ(uploadFile("a.txt", "text/plain", "3").status, 200);

    // A status with a chosen body, e.g. an archived answer that still names a URL.
    backend().injectFault("/api/1.0/files", 1,
                          BackendFault::withStatus(403, R"({"url":"http://x/y.jpg"})"));
    const HttpAnswer forged = uploadFile("a.txt", "text/plain", "4");
    EXPECT_EQ(forged.status, 403);
    EXPECT_EQ(forged.body, R"({"url":"http://x/y.jpg"})");
}

TEST_F(BackendTest, DelayFaultAnswersLateThenNormally) {
    backend().injectFault("api/1.0/white-labeling", 1, BackendFault::withDelay(300));
    const Headers auth = {{"Authorization", "Bearer " + token_}};
    const auto start = steady_clock::now();
    EXPECT_EQ(backend().request("GET", "/api/1.0/white-labeling", "", auth).status, 404);
    EXPECT_GE(steady_clock::now() - start, std::chrono::milliseconds(300));
    EXPECT_EQ(backend().request("GET", "/admin/faults").json().at("pending"), json::array())
        << "the fault was used up by the one request";
}

TEST_F(BackendTest, DropFaultClosesConnectionWithoutAnswer) {
    backend().injectFault("auth/oauth2/token", 1, BackendFault::dropped());
    EXPECT_THROW(backend().accessToken(kClientId, kClientSecret), std::runtime_error);
    EXPECT_NO_THROW(backend().accessToken(kClientId, kClientSecret));

    // A dropped upload is read to its end first, so the client sees no answer at all
    // rather than a failed send.
    backend().injectFault("api/1.0/files", 1, BackendFault::dropped());
    const HttpAnswer dropped =
        uploadFile("big.bin", "application/octet-stream", std::string(2 * 1024 * 1024, 'z'));
    EXPECT_EQ(dropped.status, 0);
    EXPECT_TRUE(dropped.body.empty());
}

TEST_F(BackendTest, FaultsOfOnePathQueueInOrderAndPrefixesMatch) {
    const std::string report = std::string("/api/1.0/issue_tracking/apps/") + kBundleId;
    backend().injectFault("api/1.0/issue_tracking/apps/*", 1, BackendFault::withStatus(503));
    backend().injectFault("api/1.0/issue_tracking/apps/*", 1, BackendFault::dropped());
    EXPECT_EQ(postJson(report, "{}").status, 503);
    EXPECT_EQ(postJson(report, "{}").status, 0);
    EXPECT_EQ(postJson(report, "{}").status, 200);

    backend().injectFault("api/1.0/issue_tracking/apps/*", 5, BackendFault::withStatus(500));
    backend().clearFaults();
    EXPECT_EQ(postJson(report, "{}").status, 200);

    const HttpAnswer invalid =
        backend().request("POST", "/admin/faults", R"({"path":"api/1.0/files","count":1})",
                          {{"Content-Type", "application/json"}});
    EXPECT_EQ(invalid.status, 400) << "a fault must do something";
}

TEST_F(BackendTest, RequestJournalShowsKitRequestsAsSentOnTheWire) {
    backend().clearRequests();
    const std::string body = "{\n  \"bundle_id\" : \"com.example.tester\",\n  \"os\" : \"iOS\"\n}";
    // Header names keep their case and order, a repeated header both of its lines.
    const HttpAnswer answer =
        backend().request("POST", "/api/1.0/issue_tracking/apps", body,
                          {{"authorization", "Bearer " + token_},
                           {"Accept", "application/json"},
                           {"Content-Type", "application/x-www-form-urlencoded"},
                           {"Content-Type", "application/json"}});
    ASSERT_EQ(answer.status, 200) << answer.body;
    uploadFile("shot.jpg", "image/jpeg", std::string("\xFF\xD8\xFF\xE0", 4));
    backend().injectFault("api/1.0/white-labeling", 1, BackendFault::dropped());
    backend().request("GET", "/api/1.0/white-labeling");
    backend().reports();  // neither this nor the admin calls are the kit's traffic

    const json requests = backend().requests();
    ASSERT_EQ(requests.size(), 3u) << requests.dump(2);
    const json& apps = requests[0];
    EXPECT_EQ(apps.at("method"), "POST");
    EXPECT_EQ(apps.at("path"), "/api/1.0/issue_tracking/apps");
    EXPECT_EQ(apps.at("body"), body);
    EXPECT_EQ(apps.at("status"), 200);
    std::vector<std::string> names;
    for (const auto& header : apps.at("headers")) {
        names.push_back(header.at(0));
    }
    EXPECT_EQ(names, (std::vector<std::string>{"Host", "Connection", "authorization", "Accept",
                                               "Content-Type", "Content-Type", "Content-Length"}));
    EXPECT_EQ(apps.at("headers")[5].at(1), "application/json");

    const json& upload = requests[1];
    EXPECT_EQ(upload.at("path"), "/api/1.0/files");
    const std::string multipart = kitMultipart("Boundary-6F1C2A7E-3B0D-4E59-9A41-C5D2E8F70B13",
                                               "shot.jpg", "image/jpeg", "\xFF\xD8\xFF\xE0");
    EXPECT_EQ(upload.at("body_size"), multipart.size());
    EXPECT_FALSE(upload.contains("body")) << "JPEG bytes are not text";
    EXPECT_FALSE(upload.at("body_base64").get<std::string>().empty());

    EXPECT_EQ(requests[2].at("dropped"), true);
    EXPECT_TRUE(requests[2].at("status").is_null());
}

}  // namespace
}  // namespace vorna::backend::test

namespace vorna::backend::test {
namespace {

// Reads one answer with a Content-Length body from a kept-alive connection.
int readAnswer(int fd, std::string& pending, std::string& body) {
    char buffer[4096];
    std::size_t headEnd;
    while ((headEnd = pending.find("\r\n\r\n")) == std::string::npos) {
        const ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
        if (n <= 0) {
            return 0;
        }
        pending.append(buffer, static_cast<std::size_t>(n));
    }
    const std::string head = pending.substr(0, headEnd);
    const std::size_t lengthAt = head.find("Content-Length: ");
    const std::size_t length =
        lengthAt == std::string::npos ? 0 : std::stoul(head.substr(lengthAt + 16));
    while (pending.size() < headEnd + 4 + length) {
        const ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
        if (n <= 0) {
            return 0;
        }
        pending.append(buffer, static_cast<std::size_t>(n));
    }
    body = pending.substr(headEnd + 4, length);
    pending.erase(0, headEnd + 4 + length);
    return std::stoi(head.substr(9, 3));
}

TEST_F(BackendTest, OneKeptAliveConnectionCarriesManyRequests) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    ASSERT_GE(fd, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(static_cast<uint16_t>(backend().port()));
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(::connect(fd, reinterpret_cast<const sockaddr*>(&addr), sizeof addr), 0);
    timeval timeout{10, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);

    // More than httplib's default of five requests per connection, and each body read
    // exactly, so that no byte of one request leaks into the next.
    std::string pending;
    for (int i = 0; i < 40; ++i) {
        const std::string body = R"({"bundle_id":"com.example.k)" + std::to_string(i) + R"("})";
        const std::string request =
            "POST /api/1.0/issue_tracking/apps HTTP/1.1\r\nHost: x\r\n"
            "Authorization: Bearer " +
            token_ + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
        ASSERT_EQ(::send(fd, request.data(), request.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(request.size()));
        std::string answer;
        ASSERT_EQ(readAnswer(fd, pending, answer), 200) << "request " << i;
        EXPECT_EQ(json::parse(answer).at("bundle_id"), "com.example.k" + std::to_string(i));
    }
    ::close(fd);
}

}  // namespace
}  // namespace vorna::backend::test
