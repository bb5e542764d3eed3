// vorna-backend: the reporting backend that the kit talks to, for trying the kit end to end,
// for its integration tests, and for testers who keep their reports on their own machine.

#include <fcntl.h>
#include <malloc.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "Backend.h"
#include "ConnectionLimits.h"
#include "HttpServer.h"
#include "Options.h"
#include "PostgresConnection.h"
#include "Store.h"
#include "platform/VRNHandles.h"

namespace {

using vorna::VRNFileDescriptor;
using vorna::backend::Backend;
using vorna::backend::BackendSettings;
using vorna::backend::ClientCredentials;
using vorna::backend::ConnectionLimits;
using vorna::backend::HttpServer;
using vorna::backend::Options;
using vorna::backend::ReaderAccess;
using vorna::backend::Store;
using vorna::backend::StoreError;

// httplib closes a connection after 5 requests by default, which costs clients a new
// connection (and a Nagle-delayed first segment) every few calls.
constexpr std::size_t kKeepAliveRequests = 100000;

int fail(const std::string& message) {
    std::fprintf(stderr, "vorna-backend: %s\n", message.c_str());
    return 1;
}

// The data directory holds client secrets, tokens and testers' reports: only the backend's
// own user may read it. One made by an older backend, or by hand, is narrowed.
void keepPrivate(const std::filesystem::path& path, mode_t mode) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0 || (info.st_mode & 077) == 0) {
        return;
    }
    const mode_t was = info.st_mode & 07777;
    if (::chmod(path.c_str(), mode) == 0) {
        std::fprintf(stderr, "vorna-backend: %s was open to other users (mode %04o); now %04o\n",
                     path.c_str(), static_cast<unsigned>(was), static_cast<unsigned>(mode));
    } else {
        std::fprintf(stderr, "vorna-backend: %s is open to other users (mode %04o): %s\n",
                     path.c_str(), static_cast<unsigned>(was), std::strerror(errno));
    }
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

    // Everything the backend creates (directories, the database, uploaded files) is its
    // user's alone.
    ::umask(077);
    // Request bodies and journal entries of this size or more go back to the system when
    // they are freed. By default glibc raises this threshold after the first such free, and
    // each of the workers' arenas then keeps the large blocks it once held.
    ::mallopt(M_MMAP_THRESHOLD, 256 * 1024);
    const std::filesystem::path dataDir = options->dataDir;
    std::error_code ec;
    std::filesystem::create_directories(dataDir, ec);
    if (ec) {
        return fail("cannot create the data directory " + dataDir.string() + ": " + ec.message());
    }
    keepPrivate(dataDir, 0700);
    const std::filesystem::path filesDir = options->filesDirOrDefault();
    std::filesystem::create_directories(filesDir, ec);
    if (ec) {
        return fail("cannot create the files directory " + filesDir.string() + ": " + ec.message());
    }
    // A data directory, and the SQLite file in it, belongs to one backend. Backends that serve
    // one team share a PostgreSQL database and a files directory instead.
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

    const std::string database = options->databaseOrDefault();
    if (!Store::isServerUrl(database)) {
        for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
            keepPrivate(database + suffix, 0600);
        }
    }
    std::unique_ptr<Store> store;
    try {
        store = Store::open(database);
    } catch (const StoreError& e) {
        if (Store::isServerUrl(database)) {
            return fail("cannot use the database " + vorna::backend::pg::withoutPassword(database) +
                        ": " + e.what());
        }
        return fail("cannot use the database " + database + ": " + e.what() +
                    "\nMove the file away to start with an empty one.");
    }

    if (clients.empty()) {
        clients.push_back({"demo-client", "demo-secret"});
        std::fputs("vorna-backend: no client configured; accepting demo-client:demo-secret\n",
                   stderr);
    }

    // Termination signals are taken by one thread with sigwait, so the server stops from an
    // ordinary thread rather than from a signal handler.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    ConnectionLimits limits;
    limits.headTimeout = options->headTimeout;
    limits.idleTimeout = options->idleTimeout;
    limits.keepAliveTimeout = options->keepAliveTimeout;
    limits.maxConnections = options->maxConnections;
    limits.workers = options->workers;
    HttpServer server(limits);
    server.set_tcp_nodelay(true);
    server.set_keep_alive_max_count(kKeepAliveRequests);
    server.set_payload_max_length(options->maxBodyBytes);

    BackendSettings settings;
    settings.dataDir = dataDir;
    settings.filesDir = filesDir;
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
