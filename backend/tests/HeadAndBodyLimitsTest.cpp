// Requests that try to make the backend hold more than it should: heads without end, too
// many header lines, bodies that do not say how long they are or say it falsely.

#include <filesystem>
#include <string>
#include <vector>

#include "BackendTestSupport.h"
#include "RawClient.h"

namespace vorna::backend::test {
namespace {

// A backend that takes bodies of up to 1 MiB.
class LimitsTest : public BackendTest {
protected:
    void SetUp() override {
        BackendProcess::Options options;
        options.executable = VORNA_BACKEND_EXECUTABLE;
        options.clients = {{kClientId, kClientSecret}};
        options.extraArguments = {"--max-body-mb", "1"};
        backend_ = std::make_unique<BackendProcess>(options);
        token_ = backend_->accessToken(kClientId, kClientSecret);
    }

    int port() { return backend().port(); }

    std::string headerLines(int count) {
        std::string lines;
        for (int i = 0; i < count; ++i) {
            lines += "X-Line-" + std::to_string(i) + ": value\r\n";
        }
        return lines;
    }

    // The head of a chunked upload as the kit would send it if it streamed.
    std::string chunkedUploadHead() {
        return head("POST /api/1.0/files HTTP/1.1", port(),
                    "Authorization: Bearer " + token_ +
                        "\r\nContent-Type: multipart/form-data; boundary=B\r\n"
                        "Transfer-Encoding: chunked\r\n");
    }

    static std::string chunk(const std::string& bytes) {
        char size[32];
        std::snprintf(size, sizeof size, "%zx\r\n", bytes.size());
        return size + bytes + "\r\n";
    }
};

TEST_F(LimitsTest, AHeadOfMoreThanAHundredHeaderLinesIsRefusedWith431AndClosed) {
    RawClient hundred(port());
    ASSERT_TRUE(
        hundred.send(head("GET /api/1.0/white-labeling HTTP/1.1", port(), headerLines(99))));
    EXPECT_EQ(hundred.answer().status, 401) << "Host and 99 more lines are within the limit";

    RawClient tooMany(port());
    tooMany.send(head("GET /api/1.0/white-labeling HTTP/1.1", port(), headerLines(100)));
    const HttpAnswer refused = tooMany.answer();
    EXPECT_EQ(refused.status, 431);
    EXPECT_EQ(refused.header("Connection"), "close");
    EXPECT_NE(refused.json().at("error").get<std::string>().find("100 header lines"),
              std::string::npos);
    EXPECT_TRUE(tooMany.closedWithin(10s));
}

TEST_F(LimitsTest, AHeadThatNeverEndsIsRefusedOnceItPasses64KiB) {
    RawClient client(port());
    const std::string start = head("POST /auth/oauth2/token HTTP/1.1", port());
    client.send(start.substr(0, start.size() - 2));  // without the blank line
    client.sendUntilAnswered("X-Filler: " + std::string(8000, 'f') + "\r\n", 32 * 1024 * 1024);
    const HttpAnswer refused = client.answer();
    EXPECT_EQ(refused.status, 431);
    EXPECT_TRUE(client.closedWithin(10s));

    RawClient longLine(port());
    longLine.send(head("GET / HTTP/1.1", port(), "X-Long: " + std::string(9000, 'l') + "\r\n"));
    EXPECT_EQ(longLine.answer().status, 431);

    RawClient longTarget(port());
    longTarget.send(head("GET /" + std::string(9000, 't') + " HTTP/1.1", port()));
    EXPECT_EQ(longTarget.answer().status, 414);
    EXPECT_NE(backend().log().find("431 closed: the request head is larger than 65536 bytes"),
              std::string::npos)
        << backend().log();
}

TEST_F(LimitsTest, ABodyWithoutLengthIsAnswered411AtOnce) {
    for (const std::string& path :
         std::vector<std::string>{"/auth/oauth2/token", "/api/1.0/files"}) {
        RawClient client(port());
        // The body's first bytes come, the rest never does, and the connection stays open.
        client.send(
            head("POST " + path + " HTTP/1.1", port(), "Authorization: Bearer " + token_ + "\r\n") +
            "grant_type=client_credentials");
        const HttpAnswer answer = client.answer();
        EXPECT_EQ(answer.status, 411) << path;
        EXPECT_EQ(answer.header("Connection"), "close") << path;
    }
}

TEST_F(LimitsTest, ALengthOverTheLimitIsRefusedBeforeTheBodyComes) {
    RawClient client(port());
    client.send(head("POST /api/1.0/files HTTP/1.1", port(),
                     "Authorization: Bearer " + token_ +
                         "\r\nContent-Type: multipart/form-data; boundary=B\r\n"
                         "Content-Length: 1048577\r\n"));
    EXPECT_EQ(client.answer().status, 413);
    EXPECT_TRUE(std::filesystem::is_empty(backend().dataDir() / "files"));
}

TEST_F(LimitsTest, AChunkedBodyIsRefusedAsSoonAsItPassesTheLimit) {
    const std::string piece(64 * 1024, 'c');
    for (const bool upload : {false, true}) {
        RawClient client(port());
        client.send(upload ? chunkedUploadHead()
                           : head("POST /auth/oauth2/token HTTP/1.1", port(),
                                  "Transfer-Encoding: chunked\r\n"));
        // Past the limit the answer comes at once, though the body has not ended.
        client.sendUntilAnswered(chunk(piece), 64 * 1024 * 1024);
        const HttpAnswer answer = client.answer();
        EXPECT_EQ(answer.status, 413) << (upload ? "upload" : "token") << answer.body;
        EXPECT_EQ(answer.header("Connection"), "close");
        EXPECT_TRUE(client.closedWithin(10s));
    }
    EXPECT_TRUE(std::filesystem::is_empty(backend().dataDir() / "files"));

    // Within the limit a chunked upload is taken like any other.
    RawClient client(port());
    const std::string multipart =
        kitMultipart("B", "log.txt", "text/plain", std::string(300 * 1024, 'l'));
    client.send(chunkedUploadHead() + chunk(multipart.substr(0, 1000)) +
                chunk(multipart.substr(1000)) + "0\r\n\r\n");
    const HttpAnswer stored = client.answer();
    ASSERT_EQ(stored.status, 200) << stored.body;
    EXPECT_EQ(stored.json().at("size"), 300 * 1024);
}

TEST_F(LimitsTest, BodiesThatAreCompressedOrFramedAmbiguouslyAreRefused) {
    struct Case {
        std::string headers;
        std::string body;
        int status;
    };
    const std::vector<Case> cases = {
        {"Content-Encoding: gzip\r\nContent-Length: 4\r\n", "\x1f\x8b\x08\x00", 415},
        {"Transfer-Encoding: gzip, chunked\r\n", "0\r\n\r\n", 501},
        {"Transfer-Encoding: chunked\r\nContent-Length: 5\r\n", "0\r\n\r\n", 400},
        {"Content-Length: 5\r\nContent-Length: 50\r\n", "abcde", 400},
        {"Content-Length: +5\r\n", "abcde", 400},
        {"Transfer-Encoding: chunked\r\n", "0x5\r\nabcde\r\n0\r\n\r\n", 400},
        {"Transfer-Encoding: chunked\r\n", "5\r\nabcdeXY0\r\n\r\n", 400},
    };
    for (const auto& c : cases) {
        RawClient client(port());
        client.send(head("POST /auth/oauth2/token HTTP/1.1", port(), c.headers) + c.body);
        const HttpAnswer answer = client.answer();
        EXPECT_EQ(answer.status, c.status) << c.headers << answer.body;
        EXPECT_EQ(answer.header("Connection"), "close") << c.headers;
    }
}

}  // namespace
}  // namespace vorna::backend::test
