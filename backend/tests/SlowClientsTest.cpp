// Clients that take their time: trickled heads, bodies that stop, connections left open.
// Each gets its deadline, and none keeps the backend from answering others.

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "BackendTestSupport.h"
#include "RawClient.h"

namespace vorna::backend::test {
namespace {

BackendProcess::Options withArguments(std::vector<std::string> arguments) {
    BackendProcess::Options options;
    options.executable = VORNA_BACKEND_EXECUTABLE;
    options.clients = {{kClientId, kClientSecret}};
    options.extraArguments = std::move(arguments);
    return options;
}

std::size_t count(const std::string& text, const std::string& needle) {
    std::size_t found = 0;
    for (std::size_t at = text.find(needle); at != std::string::npos;
         at = text.find(needle, at + 1)) {
        ++found;
    }
    return found;
}

TEST(SlowClients, TrickledHeadsHoldNoWorkerAndAreClosedAtTheirDeadline) {
    BackendProcess backend(withArguments({"--workers", "2", "--head-timeout", "1s"}));
    const std::string request = head("GET /api/1.0/white-labeling HTTP/1.1", backend.port());

    // Four times as many slow clients as workers, each sending a byte at a time and never
    // reaching the end of its head.
    std::vector<std::unique_ptr<RawClient>> slow;
    for (int i = 0; i < 8; ++i) {
        slow.push_back(std::make_unique<RawClient>(backend.port()));
        slow.back()->send(request.substr(0, 3));
    }
    std::atomic<bool> dripping{true};
    std::thread drip([&] {
        for (std::size_t at = 3; dripping && at + 4 < request.size(); ++at) {
            for (auto& client : slow) {
                client->send(request.substr(at, 1), 100ms);
            }
            std::this_thread::sleep_for(100ms);
        }
    });

    // While they trickle, an ordinary client is answered.
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(backend.request("GET", "/api/1.0/white-labeling", {}, {}, 5s).status, 401);
    }
    for (auto& client : slow) {
        EXPECT_TRUE(client->closedWithin(30s));
    }
    dripping = false;
    drip.join();
    EXPECT_EQ(count(backend.log(), "closed: no complete request head within 1 s"), 8u)
        << backend.log();
    BackendTest::expectCleanStop(backend);
}

TEST(SlowClients, ABodyThatStopsArrivingIsAnswered408AndClosed) {
    BackendProcess backend(withArguments({"--idle-timeout", "500ms"}));
    RawClient client(backend.port());
    client.send(
        head("POST /auth/oauth2/token HTTP/1.1", backend.port(), "Content-Length: 100\r\n") +
        "grant_type=client_credentials");
    const HttpAnswer answer = client.answer(30s);
    EXPECT_EQ(answer.status, 408) << answer.body;
    EXPECT_EQ(answer.header("Connection"), "close");
    EXPECT_TRUE(client.closedWithin(30s));
    EXPECT_NE(backend.log().find("\"POST /auth/oauth2/token\" 408"), std::string::npos)
        << backend.log();
    BackendTest::expectCleanStop(backend);
}

TEST(SlowClients, AKeptAliveConnectionIsClosedWhenItIdlesTooLong) {
    BackendProcess backend(withArguments({"--keep-alive-timeout", "500ms"}));
    RawClient client(backend.port());
    const std::string request = head("GET /api/1.0/white-labeling HTTP/1.1", backend.port());
    client.send(request + request);  // two at once: the second waits in the buffer
    EXPECT_EQ(client.answer().status, 401);
    EXPECT_EQ(client.answer().status, 401);
    EXPECT_TRUE(client.closedWithin(30s));
    BackendTest::expectCleanStop(backend);
}

TEST(SlowClients, PastTheConnectionLimitTheOneWaitingLongestIsClosed) {
    BackendProcess backend(withArguments({"--max-connections", "4"}));
    std::vector<std::unique_ptr<RawClient>> idle;
    for (int i = 0; i < 4; ++i) {
        idle.push_back(std::make_unique<RawClient>(backend.port()));
        idle.back()->send("GET");
        // Each is taken in before the next, so their order is known.
        std::this_thread::sleep_for(50ms);
    }
    EXPECT_EQ(backend.request("GET", "/api/1.0/white-labeling", {}, {}, 5s).status, 401);
    const HttpAnswer refused = idle.front()->answer();
    EXPECT_EQ(refused.status, 503);
    EXPECT_TRUE(idle.front()->closedWithin(10s));
    EXPECT_NE(backend.log().find("waited longest for its request"), std::string::npos);
    BackendTest::expectCleanStop(backend);
}

}  // namespace
}  // namespace vorna::backend::test
