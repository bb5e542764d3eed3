// What a backend that testers can reach must not give away: admin calls to pages of other
// sites, answers without their security headers, a log that a request can write into, and a
// data directory that other users can read.

#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "BackendTestSupport.h"
#include "RawClient.h"

namespace vorna::backend::test {
namespace {

using nlohmann::json;

// GET /admin/faults with exactly these header lines, Host among them.
int adminStatus(int port, const std::string& lines, const std::string& method = "GET",
                const std::string& body = {}) {
    RawClient client(port);
    client.send(method + " /admin/faults HTTP/1.1\r\n" + lines +
                "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    return client.answer().status;
}

TEST_F(BackendTest, AdminCallsNeedThisMachineAsHostNoOtherOriginAndJsonBodies) {
    const std::string port = std::to_string(backend().port());
    for (const std::string& host : std::vector<std::string>{
             "127.0.0.1:" + port, "localhost:" + port, "LocalHost", "[::1]:" + port, "127.0.0.1"}) {
        EXPECT_EQ(adminStatus(backend().port(), "Host: " + host + "\r\n"), 200) << host;
    }
    // A name that was made to point here (DNS rebinding), and requests without one name.
    for (const std::string& lines : std::vector<std::string>{
             "Host: rebind.example:" + port + "\r\n", "Host: 127.0.0.1.rebind.example\r\n", "",
             "Host: 127.0.0.1\r\nHost: evil.example\r\n", "Host: [::1]:" + port + "x\r\n"}) {
        EXPECT_EQ(adminStatus(backend().port(), lines), 403) << lines;
    }

    const std::string host = "Host: 127.0.0.1:" + port + "\r\n";
    EXPECT_EQ(adminStatus(backend().port(), host + "Origin: http://127.0.0.1:" + port + "\r\n"),
              200);
    EXPECT_EQ(adminStatus(backend().port(), host + "Sec-Fetch-Site: same-origin\r\n"), 200);
    for (const std::string& origin :
         std::vector<std::string>{"https://evil.example", "null", "http://localhost:1",
                                  "http://127.0.0.1:" + port + "/x"}) {
        EXPECT_EQ(adminStatus(backend().port(), host + "Origin: " + origin + "\r\n"), 403)
            << origin;
    }
    EXPECT_EQ(adminStatus(backend().port(), host + "Sec-Fetch-Site: cross-site\r\n"), 403);

    // A form of another site can post only these types; a JSON body is a CORS request.
    const std::string fault = R"({"path":"api/1.0/files","count":1,"status":500})";
    for (const std::string& type :
         std::vector<std::string>{"text/plain", "application/x-www-form-urlencoded",
                                  "multipart/form-data; boundary=x"}) {
        EXPECT_EQ(
            adminStatus(backend().port(), host + "Content-Type: " + type + "\r\n", "POST", fault),
            403)
            << type;
    }
    EXPECT_EQ(backend().request("GET", "/admin/faults").json().at("pending"), json::array());
    EXPECT_EQ(
        adminStatus(backend().port(), host + "Content-Type: application/json; charset=utf-8\r\n",
                    "POST", fault),
        200);
    backend().archive(kBundleId);  // a POST without a body needs no type

    const HttpAnswer refused =
        backend().request("GET", "/admin/requests", {}, {{"Origin", "https://evil.example"}});
    EXPECT_EQ(refused.status, 403);
    EXPECT_EQ(refused.json().at("error"),
              "admin calls are not answered for pages of another origin");
}

TEST_F(BackendTest, EveryAnswerCarriesTheSecurityHeaders) {
    const auto expectHeaders = [](const HttpAnswer& answer, const std::string& what) {
        EXPECT_EQ(answer.header("X-Content-Type-Options"), "nosniff") << what;
        EXPECT_EQ(answer.header("X-Frame-Options"), "DENY") << what;
        EXPECT_EQ(answer.header("Referrer-Policy"), "no-referrer") << what;
        // An uploaded file is also sandboxed, should a browser ever render it.
        const std::string policy =
            "default-src 'none'; img-src 'self' data:; style-src 'unsafe-inline'; "
            "form-action 'self'; frame-ancestors 'none'; base-uri 'none'";
        EXPECT_EQ(answer.header("Content-Security-Policy"),
                  what.find("/files/") != std::string::npos ? "sandbox; " + policy : policy)
            << what;
    };
    const HttpAnswer uploaded = uploadFile("page.html", "text/html", "<script>alert(1)</script>");
    ASSERT_EQ(uploaded.status, 200);
    const std::vector<std::pair<std::string, std::string>> gets = {
        {"GET", "/"},
        {"GET", "/help"},
        {"GET", "/api/1.0/white-labeling"},
        {"GET", "/no/such/page"},
        {"GET", pathOf(uploaded.json().at("url"))},
        {"DELETE", "/admin/requests"},
        {"POST", "/auth/oauth2/token"}};
    for (const auto& [method, path] : gets) {
        expectHeaders(backend().request(method, path), method + " " + path);
    }
    expectHeaders(registerApp("com.example.headers"), "registration");

    // Answers made before a request is whole: a bad request line, a head too large, a body
    // without a length.
    for (const std::string& request : std::vector<std::string>{
             std::string("NOT-HTTP\r\n\r\n"),
             head("GET / HTTP/1.1", backend().port(), "X-Big: " + std::string(9000, 'b') + "\r\n"),
             head("POST /auth/oauth2/token HTTP/1.1", backend().port())}) {
        RawClient client(backend().port());
        client.send(request);
        const HttpAnswer answer = client.answer();
        EXPECT_GE(answer.status, 400) << request.substr(0, 40);
        expectHeaders(answer, request.substr(0, 40));
    }
}

TEST_F(BackendTest, ControlCharactersOfARequestReachTheLogEscaped) {
    // Clears the terminal and colours it, then a carriage return that would let the rest of
    // the line write over its start; a raw line feed ends the request line early, so the text
    // after it must not become a log line of its own.
    const std::vector<std::string> requests = {
        "GET /x\x1b[2J\x1b[31mred\rFAKE\x7f\"q\\ HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n",
        "GET /y\n2024-01-01T00:00:00.000Z 10.0.0.1:1 \"GET /forged\" 200 0B 0.1ms HTTP/1.1\r\n"
        "Host: a\r\nConnection: close\r\n\r\n"};
    for (const auto& request : requests) {
        RawClient client(backend().port());
        client.send(request);
        EXPECT_GT(client.answer().status, 0);
    }
    const std::string log = backend().log();
    EXPECT_NE(log.find("\"GET /x\\x1b[2J\\x1b[31mred\\x0dFAKE\\x7f\\x22q\\x5c\""),
              std::string::npos)
        << log;
    EXPECT_EQ(log.find('\x1b'), std::string::npos);
    EXPECT_EQ(log.find('\r'), std::string::npos);
    EXPECT_EQ(log.find("\n2024-01-01T00:00:00.000Z"), std::string::npos) << log;
}

TEST(DataDirectory, IsOnlyTheBackendUsersAndAnOpenOneIsNarrowed) {
    const auto modeOf = [](const std::filesystem::path& path) {
        struct stat info {};
        EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
        return info.st_mode & 0777;
    };
    BackendProcess::Options options;
    options.executable = VORNA_BACKEND_EXECUTABLE;
    options.clients = {{kClientId, kClientSecret}};
    options.database = "";  // the file modes of the SQLite file are part of what is checked
    {
        BackendProcess fresh(options);
        EXPECT_EQ(modeOf(fresh.dataDir()), 0700u);
        EXPECT_EQ(modeOf(fresh.dataDir() / "files"), 0700u);
        EXPECT_EQ(modeOf(fresh.dataDir() / "vorna-backend.sqlite3"), 0600u);
        BackendTest::expectCleanStop(fresh);

        // Made open by hand, or by a backend of before: narrowed at the start, and said so.
        std::filesystem::permissions(fresh.dataDir(), std::filesystem::perms(0755));
        std::filesystem::permissions(fresh.dataDir() / "vorna-backend.sqlite3",
                                     std::filesystem::perms(0644));
        fresh.restart();
        EXPECT_EQ(modeOf(fresh.dataDir()), 0700u);
        EXPECT_EQ(modeOf(fresh.dataDir() / "vorna-backend.sqlite3"), 0600u);
        EXPECT_NE(fresh.log().find("was open to other users (mode 0755); now 0700"),
                  std::string::npos)
            << fresh.log();
        BackendTest::expectCleanStop(fresh);
    }
}

}  // namespace
}  // namespace vorna::backend::test
