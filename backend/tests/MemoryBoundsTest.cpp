// What the backend's memory does under floods meant to grow it: its peak resident size
// (VmHWM) after each, beside its peak when idle. The figures are printed for the record; the
// bounds asserted are loose multiples of what the backend is meant to hold.

#include <iostream>
#include <string>

#include "BackendTestSupport.h"
#include "RawClient.h"

namespace vorna::backend::test {
namespace {

using nlohmann::json;

constexpr long kMiB = 1024;  // in KiB

// A backend of its own for one flood, with bodies of up to 1 MiB.
class MemoryBounds : public ::testing::Test {
protected:
    void SetUp() override {
        BackendProcess::Options options;
        options.executable = VORNA_BACKEND_EXECUTABLE;
        options.clients = {{kClientId, kClientSecret}};
        options.extraArguments = {"--max-body-mb", "1"};
        backend_ = std::make_unique<BackendProcess>(options);
        // One ordinary request, so that what every request costs is in the idle figure.
        backend_->accessToken(kClientId, kClientSecret);
        idleKiB_ = peakResidentKiB(backend_->pid());
    }
    void TearDown() override { BackendTest::expectCleanStop(*backend_); }

    // The growth of the peak since idle, printed with its name.
    long growthKiB(const std::string& flood) {
        const long peak = peakResidentKiB(backend_->pid());
        std::cout << "[ memory ] " << flood << ": idle peak " << idleKiB_ << " KiB, after " << peak
                  << " KiB\n";
        return peak - idleKiB_;
    }

    void expectGrowthBelow(const std::string& flood, long boundKiB) {
        const long growth = growthKiB(flood);
#ifndef VORNA_BACKEND_SANITIZED
        EXPECT_LT(growth, boundKiB) << flood;
#else
        (void)growth;
        (void)boundKiB;  // sanitizer runtimes keep freed memory in quarantine
#endif
    }

    int port() const {
        return backend_->port();
    }

    std::unique_ptr<BackendProcess> backend_;
    long idleKiB_ = 0;
};

TEST_F(MemoryBounds, AHugeHeadCostsNoMoreThanItsLimit) {
    for (int i = 0; i < 8; ++i) {
        RawClient client(port());
        client.send("GET / HTTP/1.1\r\n");
        client.sendUntilAnswered("X-Filler: " + std::string(4000, 'h') + "\r\n", 16 * 1024 * 1024);
        EXPECT_EQ(client.answer().status, 431);
    }
    expectGrowthBelow("8 heads of up to 16 MiB", 4 * kMiB);
}

TEST_F(MemoryBounds, TensOfThousandsOfHeaderLinesCostNoMoreThanTheLimit) {
    RawClient client(port());
    client.send("GET / HTTP/1.1\r\n");
    client.sendUntilAnswered("A:\r\n", 4 * 1024 * 1024);
    EXPECT_EQ(client.answer().status, 431);
    expectGrowthBelow("a head of a million header lines", 4 * kMiB);
}

TEST_F(MemoryBounds, AChunkedFloodCostsNoMoreThanTheBodyLimit) {
    for (int i = 0; i < 4; ++i) {
        RawClient client(port());
        client.send(
            head("POST /auth/oauth2/token HTTP/1.1", port(), "Transfer-Encoding: chunked\r\n"));
        client.sendUntilAnswered("10000\r\n" + std::string(0x10000, '&') + "\r\n",
                                 256 * 1024 * 1024);
        EXPECT_EQ(client.answer().status, 413);
    }
    expectGrowthBelow("4 chunked bodies of up to 256 MiB, limit 1 MiB", 8 * kMiB);
}

TEST_F(MemoryBounds, TheJournalKeepsTheNewestRequestsWithinItsBytes) {
    const std::string token = backend_->accessToken(kClientId, kClientSecret);
    // 200 requests of nearly 512 KiB each: whole bodies in the journal, 100 MiB in all.
    const std::string body(500 * 1024, 'j');
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(backend_
                      ->request("POST", "/api/1.0/journal-flood/" + std::to_string(i), body,
                                {{"Content-Type", "text/plain"}})
                      .status,
                  404);
    }
    expectGrowthBelow("200 requests of 500 KiB, journal bound 16 MiB", 48 * kMiB);

    const json requests = backend_->requests();
    ASSERT_FALSE(requests.empty());
    EXPECT_LT(requests.size(), 40u) << "the oldest went first";
    EXPECT_EQ(requests.back().at("path"), "/api/1.0/journal-flood/199");
    EXPECT_EQ(requests.back().at("body").get<std::string>().size(), body.size());

    // A body over the journal's whole-body size leaves its size and its first bytes.
    const std::string large = "{\"é\":\"" + std::string(600 * 1024, 'x') + "\"}";
    backend_->request("POST", "/api/1.0/journal-flood/large", large);
    const json last = backend_->requests().back();
    EXPECT_EQ(last.at("body_size"), large.size());
    EXPECT_EQ(last.at("body_omitted"), true);
    EXPECT_EQ(last.at("body_head"), large.substr(0, 4096));
}

}  // namespace
}  // namespace vorna::backend::test
