// vorna-backend: the reporting backend that the kit talks to, for trying the kit end to end,
// for its integration tests, and for testers who keep their reports on their own machine.

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "Backend.h"
#include "HttpServer.h"
#include "Options.h"
#include "Store.h"
#include "platform/VRNHandles.h"

namespace {

using vorna::VRNFileDescriptor;
using vorna::backend::Backend;
using vorna::backend::BackendSettings;
using vorna::backend::ClientCredentials;
using vorna::backend::HttpServer;
using vorna::backend::Options;
using vorna::backend::ReaderAccess;
using vorna::backend::Store;
using vorna::backend::StoreError;

// Each idle keep-alive connection holds one worker, so there are more workers than a client
// keeps connections open.
constexpr std::size_t kWorkerThreads = 32;
// httplib closes a connection after 5 requests by default, which costs clients a new
// connection (and a Nagle-delayed first segment) every few calls.
constexpr std::size_t kKeepAliveRequests = 100000;
constexpr time_t kKeepAliveSeconds = 30;
constexpr time_t kIoTimeoutSeconds = 30;

int fail(const std::string& message) {
    std::fprintf(stderr, "vorna-backend: %s\n", message.c_str());
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    std::string error;
    const auto options = Options::parse(std::vector<std::string>(argv + 1, argv + argc), error);
    if (!options) {
        std::fprintf(stderr, "vorna-backend: %s\n%s", error.c_str(), Options::usage());
        return 2;
    }
    if (options->help) {
        std::fputs(Options::usage(), stdout);
        return 0;
    }

    const std::filesystem::path dataDir = options->dataDir;
    std::error_code ec;
    std::filesystem::create_directories(dataDir / "files", ec);
    if (ec) {
        return fail("cannot create the data directory " + dataDir.string() + ": " + ec.message());
    }
    // Two backends on one data directory would hand out each other's files.
    const VRNFileDescriptor lock(
        ::open((dataDir / "vorna-backend.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
    if (!lock || ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
        return fail("another vorna-backend is using " + dataDir.string());
    }

    std::vector<ClientCredentials> clients = options->clients;
    const auto clientsFile = dataDir / "clients.txt";
    if (std::filesystem::exists(clientsFile) &&
        !Options::readClientsFile(clientsFile, clients, error)) {
        return fail(error);
    }
    if (clients.empty()) {
        clients.push_back({"demo-client", "demo-secret"});
        std::fputs("vorna-backend: no client configured; accepting demo-client:demo-secret\n",
                   stderr);
    }

    const auto databaseFile = dataDir / "vorna-backend.sqlite3";
    std::unique_ptr<Store> store;
    try {
        store = Store::open(databaseFile.string());
    } catch (const StoreError& e) {
        return fail("cannot use the database " + databaseFile.string() + ": " + e.what() +
                    "\nMove the file away to start with an empty one.");
    }

    // Termination signals are taken by one thread with sigwait, so the server stops from an
    // ordinary thread rather than from a signal handler.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    HttpServer server;
    server.new_task_queue = [] { return new httplib::ThreadPool(kWorkerThreads); };
    server.set_tcp_nodelay(true);
    server.set_keep_alive_max_count(kKeepAliveRequests);
    server.set_keep_alive_timeout(kKeepAliveSeconds);
    server.set_read_timeout(kIoTimeoutSeconds);
    server.set_write_timeout(kIoTimeoutSeconds);
    server.set_payload_max_length(options->maxBodyBytes);

    BackendSettings settings;
    settings.dataDir = dataDir;
    settings.clients = clients;
    settings.expireTokens = options->expireTokens;
    settings.readersMustAuthenticate = !ReaderAccess::isLoopbackHost(options->host);
    Backend backend(settings, *store);
    backend.install(server);

    int port = options->port;
    if (port == 0) {
        port = server.bind_to_any_port(options->host);
    } else if (!server.bind_to_port(options->host, port)) {
        port = -1;
    }
    const std::string host =
        options->host.find(':') != std::string::npos ? "[" + options->host + "]" : options->host;
    if (port < 0) {
        return fail("cannot listen on " + host + ":" + std::to_string(options->port) +
                    " (the port is in use, or the address is not one of this machine)");
    }
    backend.setFallbackHost(host + ":" + std::to_string(port));

    std::printf("vorna-backend listening on http://%s:%d/\n", host.c_str(), port);
    std::fflush(stdout);

    std::atomic<bool> finished{false};
    std::thread signalWaiter([&] {
        int signal = 0;
        sigwait(&stopSignals, &signal);
        if (finished) {
            return;
        }
        std::fprintf(stderr, "vorna-backend: stopping on %s\n",
                     signal == SIGINT ? "SIGINT" : "SIGTERM");
        // stop() does nothing until the accept loop runs.
        while (!server.is_running() && !finished) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        server.stop();
    });
    const bool served = server.listen_after_bind();
    finished = true;
    pthread_kill(signalWaiter.native_handle(), SIGTERM);
    signalWaiter.join();
    std::fputs("vorna-backend: stopped\n", stderr);
    return served ? 0 : 1;
}
