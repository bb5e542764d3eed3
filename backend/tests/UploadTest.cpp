#include <fstream>
#include <random>

#include "BackendTestSupport.h"

namespace vorna::backend::test {
namespace {

using nlohmann::json;

// Bytes that hold what a careless multipart parser trips over: CR LF, "--", the start of the
// boundary, NUL bytes.
std::string trickyBytes(std::size_t size) {
    std::string bytes;
    const std::string pieces[] = {"\r\n",     "--", "\r\n--Boundary-6F1C", std::string(1, '\0'),
                                  "\r\n\r\n", "-"};
    std::mt19937 random(42);
    while (bytes.size() < size) {
        if (random() % 4 == 0) {
            bytes += pieces[random() % std::size(pieces)];
        } else {
            bytes.push_back(static_cast<char>(random() & 0xFF));
        }
    }
    bytes.resize(size);
    return bytes;
}

TEST_F(BackendTest, KitUploadIsStoredAndServedBackByteIdentical) {
    ASSERT_EQ(registerApp(kBundleId).status, 200);
    const std::string bytes = trickyBytes(300 * 1024) + "\r\n";  // ends like a delimiter would
    const HttpAnswer uploaded = uploadFile("screenshot.jpg", "image/jpeg", bytes);
    ASSERT_EQ(uploaded.status, 200) << uploaded.body;
    const std::string url = uploaded.json().at("url");
    EXPECT_EQ(url.rfind(backend().baseUrl() + "files/", 0), 0u) << url;
    EXPECT_TRUE(url.ends_with("/screenshot.jpg")) << url;

    const HttpAnswer served = backend().request("GET", pathOf(url));  // no token needed
    ASSERT_EQ(served.status, 200);
    EXPECT_EQ(served.header("Content-Type"), "image/jpeg");
    EXPECT_TRUE(served.body == bytes)
        << "served " << served.body.size() << " bytes of " << bytes.size();

    // A name that is not URL-safe is escaped in the URL and kept in the store.
    const HttpAnswer odd = uploadFile("bug report #1 (ü).txt", "text/plain", "");
    ASSERT_EQ(odd.status, 200) << odd.body;
    const std::string oddUrl = odd.json().at("url");
    EXPECT_TRUE(oddUrl.ends_with("/bug%20report%20%231%20%28%C3%BC%29.txt")) << oddUrl;
    const HttpAnswer empty = backend().request("GET", pathOf(oddUrl));
    EXPECT_EQ(empty.status, 200);
    EXPECT_EQ(empty.body, "");
    EXPECT_EQ(odd.json().at("file_name"), "bug report #1 (ü).txt");
}

TEST_F(BackendTest, UploadIsRefusedForArchivedApplicationOfTheToken) {
    // No application named yet: nothing to be archived.
    EXPECT_EQ(uploadFile("a.txt", "text/plain", "early").status, 200);

    ASSERT_EQ(registerApp(kBundleId).status, 200);
    backend().archive(kBundleId);
    const HttpAnswer refused = uploadFile("a.txt", "text/plain", "late");
    EXPECT_EQ(refused.status, 403);
    EXPECT_FALSE(refused.json().contains("url"));

    // The token follows the application it last checked.
    EXPECT_EQ(registerApp("com.example.active", true).status, 200);
    EXPECT_EQ(uploadFile("a.txt", "text/plain", "other app").status, 200);

    // A fresh token has named no application yet.
    const std::string fresh = backend().accessToken(kClientId, kClientSecret);
    EXPECT_EQ(uploadFile("a.txt", "text/plain", "fresh", fresh).status, 200);
}

TEST_F(BackendTest, MalformedUploadsAnswer400AndStoreNothing) {
    const std::string boundary = "Boundary-1";
    const Headers multipart = {{"Content-Type", "multipart/form-data; boundary=" + boundary},
                               {"Authorization", "Bearer " + token_}};
    const std::string complete = kitMultipart(boundary, "a.txt", "text/plain", "bytes");
    struct Case {
        const char* what;
        std::string body;
        Headers headers;
    };
    const std::vector<Case> cases = {
        {"no boundary",
         complete,
         {{"Content-Type", "multipart/form-data"}, {"Authorization", "Bearer " + token_}}},
        {"cut before the closing boundary", complete.substr(0, complete.size() - 10), multipart},
        {"no part named file",
         "--Boundary-1\r\nContent-Disposition: form-data; name=\"other\"\r\n\r\nx\r\n"
         "--Boundary-1--\r\n",
         multipart},
        {"other boundary", kitMultipart("Boundary-2", "a.txt", "text/plain", "x"), multipart},
    };
    for (const auto& c : cases) {
        const HttpAnswer answer = backend().request("POST", "/api/1.0/files", c.body, c.headers);
        EXPECT_EQ(answer.status, 400) << c.what << ": " << answer.body;
        EXPECT_TRUE(answer.json().contains("error")) << c.what;
    }
    std::size_t stored = 0;
    for (const auto& entry : std::filesystem::directory_iterator(backend().dataDir() / "files")) {
        (void)entry;
        ++stored;
    }
    EXPECT_EQ(stored, 0u) << "no file and no leftover of a refused upload";
}

TEST_F(BackendTest, HundredMegabyteUploadStreamsToDisk) {
    std::string bytes(100 * 1024 * 1024, '\0');
    std::mt19937_64 random(7);
    for (std::size_t i = 0; i + 8 <= bytes.size(); i += 8) {
        const std::uint64_t value = random();
        std::memcpy(bytes.data() + i, &value, 8);
    }
    const HttpAnswer uploaded = uploadFile("recording.mov", "video/quicktime", bytes);
    ASSERT_EQ(uploaded.status, 200) << uploaded.body;
    EXPECT_EQ(uploaded.json().at("size"), bytes.size());

    const HttpAnswer served = backend().request("GET", pathOf(uploaded.json().at("url")));
    ASSERT_EQ(served.status, 200);
    EXPECT_EQ(served.body.size(), bytes.size());
    EXPECT_TRUE(served.body == bytes);

#ifndef VORNA_BACKEND_SANITIZED
    // The upload went to disk as it came: the backend never held the file in memory.
    std::ifstream status("/proc/" + std::to_string(backend().pid()) + "/status");
    std::string line;
    long peakKiB = -1;
    while (std::getline(status, line)) {
        if (line.rfind("VmHWM:", 0) == 0) {
            peakKiB = std::stol(line.substr(6));
        }
    }
    ASSERT_GT(peakKiB, 0);
    EXPECT_LT(peakKiB, 50 * 1024) << "peak resident memory in KiB";
#endif
}

TEST_F(BackendTest, OnlyTheFirstPartNamedFileIsKept) {
    const std::string boundary = "Boundary-7";
    const std::string body =
        "--Boundary-7\r\nContent-Disposition: form-data; name=\"note\"\r\n\r\nnot a file\r\n"
        "--Boundary-7\r\nContent-Disposition: form-data; name=\"file\"; filename=\"first.txt\"\r\n"
        "Content-Type: text/plain\r\n\r\nfirst\r\n"
        "--Boundary-7\r\nContent-Disposition: form-data; name=\"file\"; filename=\"second.txt\"\r\n"
        "Content-Type: text/plain\r\n\r\nsecond\r\n"
        "--Boundary-7--\r\n";
    const HttpAnswer uploaded =
        backend().request("POST", "/api/1.0/files", body,
                          {{"Content-Type", "multipart/form-data; boundary=" + boundary},
                           {"Authorization", "Bearer " + token_}});
    ASSERT_EQ(uploaded.status, 200) << uploaded.body;
    EXPECT_EQ(uploaded.json().at("file_name"), "first.txt");
    EXPECT_EQ(backend().request("GET", pathOf(uploaded.json().at("url"))).body, "first");
}

// A fault or a refusal is answered only once the whole body was read, so the client sees the
// answer rather than a connection reset in the middle of its upload.
TEST_F(BackendTest, UploadFaultsAndRefusalsComeAfterTheBody) {
    backend().clearRequests();
    const std::string bytes(64 * 1024, 'x');
    backend().injectFault("api/1.0/files", 1, BackendFault::dropped());
    EXPECT_EQ(uploadFile("a.txt", "text/plain", bytes).status, 0);

    backend().injectFault("api/1.0/files", 1, BackendFault::withDelay(300));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(uploadFile("a.txt", "text/plain", bytes).status, 200) << "a delay only delays";
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));

    const HttpAnswer unknown = uploadFile("a.txt", "text/plain", bytes, "not-a-token");
    EXPECT_EQ(unknown.status, 401);
    EXPECT_EQ(unknown.header("WWW-Authenticate"), "Bearer error=\"invalid_token\"");

    const json requests = backend().requests();
    ASSERT_EQ(requests.size(), 3u) << requests.dump(2);
    const std::size_t multipartSize =
        kitMultipart("Boundary-6F1C2A7E-3B0D-4E59-9A41-C5D2E8F70B13", "a.txt", "text/plain", bytes)
            .size();
    for (const auto& entry : requests) {
        EXPECT_EQ(entry.at("body_size"), multipartSize) << entry.dump();
    }
    EXPECT_EQ(requests[0].at("dropped"), true);
    EXPECT_TRUE(requests[1].at("note").get<std::string>().starts_with("fault: "));
    EXPECT_EQ(requests[2].at("status"), 401);
}

TEST_F(BackendTest, JournalOmitsTheBodyOfALargeUpload) {
    backend().clearRequests();
    ASSERT_EQ(
        uploadFile("big.bin", "application/octet-stream", std::string(600 * 1024, 'y')).status,
        200);
    const json requests = backend().requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].at("body_omitted"), true);
    EXPECT_FALSE(requests[0].contains("body"));
    EXPECT_GT(requests[0].at("body_size"), 600u * 1024);
}

TEST_F(BackendTest, UploadOverTheBodyLimitAnswers413AndClosesTheConnection) {
    BackendProcess::Options options;
    options.executable = VORNA_BACKEND_EXECUTABLE;
    options.clients = {{kClientId, kClientSecret}};
    options.extraArguments = {"--max-body-mb", "1"};
    BackendProcess backend(options);
    const std::string token = backend.accessToken(kClientId, kClientSecret);
    const std::string boundary = "Boundary-8";
    const HttpAnswer answer =
        backend.request("POST", "/api/1.0/files",
                        kitMultipart(boundary, "big.bin", "application/octet-stream",
                                     std::string(2 * 1024 * 1024, 'z')),
                        {{"Content-Type", "multipart/form-data; boundary=" + boundary},
                         {"Authorization", "Bearer " + token}});
    EXPECT_EQ(answer.status, 413) << answer.body;
    EXPECT_EQ(answer.header("Connection"), "close");
    EXPECT_TRUE(std::filesystem::is_empty(backend.dataDir() / "files"));
    expectCleanStop(backend);
}

}  // namespace
}  // namespace vorna::backend::test
