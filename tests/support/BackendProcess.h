#pragma once

// Runs the real vorna-backend as a child process for a test: on an ephemeral loopback port,
// with a fresh data directory, and with small blocking helpers for its admin calls. Its data
// is in the SQLite file of that directory, or, when VORNA_TEST_DATABASE names a PostgreSQL
// server (TestDatabase.h), in a fresh schema of that server, dropped at the end.
//
//     vorna::test::BackendProcess backend(VORNA_BACKEND_BINARY, "client", "secret");
//     backend.archive("com.example.app");
//     backend.injectFault("api/1.0/files", 2, vorna::test::BackendFault::withStatus(500));
//     ... point the kit at backend.baseUrl() ...
//     EXPECT_EQ(backend.reports().size(), 1u);
//
// Header-only, and it needs nothing but POSIX and nlohmann/json. The const methods (the HTTP
// and admin helpers) keep no state and may be called from any thread at once; stop() and
// restart() belong to the thread that owns the object.

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "TestDatabase.h"

extern char** environ;

namespace vorna::test {

// One answer of the backend. status 0: the connection closed without any answer.
struct HttpAnswer {
    int status = 0;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;

    // The first header of that name (any case), or "".
    std::string header(std::string_view name) const {
        for (const auto& [key, value] : headers) {
            if (key.size() == name.size() &&
                std::equal(key.begin(), key.end(), name.begin(), [](char a, char b) {
                    return std::tolower(static_cast<unsigned char>(a)) ==
                           std::tolower(static_cast<unsigned char>(b));
                })) {
                return value;
            }
        }
        return {};
    }
    nlohmann::json json() const { return nlohmann::json::parse(body); }
};

// What the backend does to the next requests of a path instead of, or before, answering.
struct BackendFault {
    int status = 0;
    int delayMs = 0;
    bool drop = false;
    std::optional<std::string> body;  // the answer's body with a status

    static BackendFault withStatus(int status, std::optional<std::string> body = std::nullopt) {
        BackendFault fault;
        fault.status = status;
        fault.body = std::move(body);
        return fault;
    }
    static BackendFault withDelay(int milliseconds) {
        BackendFault fault;
        fault.delayMs = milliseconds;
        return fault;
    }
    static BackendFault dropped() {
        BackendFault fault;
        fault.drop = true;
        return fault;
    }
};

class BackendProcess {
public:
    struct Options {
        std::string executable;
        std::vector<std::pair<std::string, std::string>> clients;  // id, secret
        int port = 0;                                              // 0: any free port
        std::filesystem::path dataDir;  // empty: a fresh directory, removed at the end
        std::vector<std::string> extraArguments;
        std::chrono::milliseconds startTimeout{60000};
        // nullopt: a fresh schema on the server VORNA_TEST_DATABASE names, else the SQLite
        // file. "": the SQLite file whatever the environment says. Else the --database value.
        std::optional<std::string> database;
    };

    BackendProcess(std::string executable, std::string clientId, std::string clientSecret)
        : BackendProcess(Options{std::move(executable),
                                 {{std::move(clientId), std::move(clientSecret)}},
                                 0,
                                 {},
                                 {},
                                 std::chrono::milliseconds(60000),
                                 std::nullopt}) {}

    explicit BackendProcess(Options options) : options_(std::move(options)) {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "vorna-backend-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("BackendProcess: cannot create a temporary directory: " +
                                     std::string(std::strerror(errno)));
        }
        root_ = pattern;
        dataDir_ = options_.dataDir.empty() ? root_ / "data" : options_.dataDir;
        port_ = options_.port;
        try {
            chooseDatabase();
            start();
        } catch (...) {
            try {
                dropSchema();
            } catch (...) {
            }
            removeRoot();
            throw;
        }
    }

    ~BackendProcess() {
        try {
            stop();
            dropSchema();
        } catch (...) {
        }
        removeRoot();
    }

    BackendProcess(const BackendProcess&) = delete;
    BackendProcess& operator=(const BackendProcess&) = delete;

    // "http://127.0.0.1:PORT/", the backend base URL for the kit.
    const std::string& baseUrl() const { return baseUrl_; }
    int port() const { return port_; }
    pid_t pid() const { return pid_; }
    const std::filesystem::path& dataDir() const { return dataDir_; }
    // The --database value it runs with; empty for the SQLite file in the data directory.
    const std::string& database() const { return database_; }

    // Everything the backend wrote to its standard error so far (one line per request).
    std::string log() const {
        std::ifstream in(root_ / "backend.log", std::ios::binary);
        std::ostringstream text;
        text << in.rdbuf();
        return text.str();
    }

    // Stops the backend with SIGTERM and answers its exit status (128 + signal number when
    // a signal ended it); -1 when it was not running.
    int stop() {
        if (pid_ <= 0) {
            return -1;
        }
        ::kill(pid_, SIGTERM);
        int status = 0;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        pid_t reaped = 0;
        while ((reaped = ::waitpid(pid_, &status, WNOHANG)) == 0 &&
               std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        if (reaped == 0) {
            ::kill(pid_, SIGKILL);
            while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
            }
        }
        pid_ = -1;
        if (WIFEXITED(status)) {
            return WEXITSTATUS(status);
        }
        return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : -1;
    }

    // Stops the backend and starts it again on the same port with the same data.
    void restart() {
        stop();
        start();
    }

    // One blocking HTTP/1.1 request on its own connection. path starts with '/' or is taken
    // relative to the base URL.
    HttpAnswer request(const std::string& method, const std::string& path,
                       const std::string& body = {},
                       const std::vector<std::pair<std::string, std::string>>& headers = {},
                       std::chrono::milliseconds timeout = std::chrono::milliseconds(60000)) const {
        const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (fd < 0) {
            throw std::runtime_error("BackendProcess: no socket: " +
                                     std::string(std::strerror(errno)));
        }
        struct Closer {
            int fd;
            ~Closer() { ::close(fd); }
        } closer{fd};
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_port = htons(static_cast<uint16_t>(port_));
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::connect(fd, reinterpret_cast<const sockaddr*>(&addr), sizeof addr) != 0) {
            throw std::runtime_error("BackendProcess: cannot connect to " + baseUrl_ + ": " +
                                     std::strerror(errno));
        }
        const int on = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);

        std::string head = method + " " + (path.starts_with("/") ? path : "/" + path) +
                           " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port_) +
                           "\r\nConnection: close\r\n";
        for (const auto& [name, value] : headers) {
            head += name + ": " + value + "\r\n";
        }
        if (!body.empty() || method == "POST" || method == "PUT") {
            head += "Content-Length: " + std::to_string(body.size()) + "\r\n";
        }
        head += "\r\n";
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        sendAll(fd, head, deadline);
        sendAll(fd, body, deadline);

        std::string received;
        char buffer[64 * 1024];
        for (;;) {
            if (!waitFor(fd, POLLIN, deadline)) {
                throw std::runtime_error("BackendProcess: no answer within the time-out for " +
                                         method + " " + path);
            }
            const ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
            if (n < 0 && errno == EINTR) {
                continue;
            }
            if (n < 0 && errno == ECONNRESET && received.empty()) {
                break;  // closed without an answer
            }
            if (n < 0) {
                throw std::runtime_error("BackendProcess: reading the answer failed: " +
                                         std::string(std::strerror(errno)));
            }
            if (n == 0) {
                break;
            }
            received.append(buffer, static_cast<std::size_t>(n));
        }
        return parseAnswer(received);
    }

    // A token of the client, through the token endpoint.
    std::string accessToken(const std::string& clientId, const std::string& clientSecret) const {
        const HttpAnswer answer = request("POST", "/auth/oauth2/token",
                                          "grant_type=client_credentials&client_id=" + clientId +
                                              "&client_secret=" + clientSecret,
                                          {{"Content-Type", "application/x-www-form-urlencoded"}});
        if (answer.status != 200) {
            throw std::runtime_error("BackendProcess: token request answered " +
                                     std::to_string(answer.status) + ": " + answer.body);
        }
        return answer.json().at("access_token").get<std::string>();
    }

    void archive(const std::string& bundleId) const {
        admin("POST", "/admin/apps/" + encode(bundleId) + "/archive");
    }
    void unarchive(const std::string& bundleId) const {
        admin("POST", "/admin/apps/" + encode(bundleId) + "/unarchive");
    }
    // The next count requests to path ("api/1.0/files"; a trailing '*' matches a prefix) meet
    // the fault. Faults for one path apply in the order they were injected.
    void injectFault(const std::string& path, int count, const BackendFault& fault) const {
        nlohmann::json json = {{"path", path}, {"count", count}};
        if (fault.status != 0) {
            json["status"] = fault.status;
        }
        if (fault.delayMs != 0) {
            json["delay_ms"] = fault.delayMs;
        }
        if (fault.drop) {
            json["drop"] = true;
        }
        if (fault.body) {
            json["body"] = *fault.body;
        }
        admin("POST", "/admin/faults", json.dump());
    }
    void clearFaults() const { admin("DELETE", "/admin/faults"); }
    // The white-labeling endpoint answers these bytes from now on.
    void setBranding(const nlohmann::json& branding) const { setBrandingBytes(branding.dump()); }
    void setBrandingBytes(const std::string& json) const { admin("PUT", "/admin/branding", json); }
    void clearBranding() const { admin("DELETE", "/admin/branding"); }

    // Received reports, newest first: id, bundle_id, received_at, report_type, description,
    // tester_email, and "document", the posted JSON.
    nlohmann::json reports() const { return admin("GET", "/api/reports").json(); }
    // A report exactly as it was posted.
    std::string reportBytes(long long id) const {
        return admin("GET", "/api/reports/" + std::to_string(id)).body;
    }
    // The last requests the backend received from clients, oldest first: method, target,
    // path, headers as [name, value] pairs in the order sent, body_size, body (or
    // body_base64 for bytes that are not UTF-8), status (null when dropped), note.
    nlohmann::json requests() const { return admin("GET", "/admin/requests").json(); }
    void clearRequests() const { admin("DELETE", "/admin/requests"); }

private:
    void start() {
        int out[2];
        if (::pipe2(out, O_CLOEXEC) != 0) {
            throw std::runtime_error("BackendProcess: no pipe: " +
                                     std::string(std::strerror(errno)));
        }
        const bool verbose = std::getenv("VORNA_BACKEND_VERBOSE") != nullptr;
        const int logFd = ::open((root_ / "backend.log").c_str(),
                                 O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);

        std::vector<std::string> args = {
            options_.executable,   "--host",     "127.0.0.1",      "--port",
            std::to_string(port_), "--data-dir", dataDir_.string()};
        for (const auto& [id, secret] : options_.clients) {
            args.push_back("--client");
            args.push_back(id + ":" + secret);
        }
        if (!database_.empty()) {
            args.push_back("--database");
            args.push_back(database_);
        }
        args.insert(args.end(), options_.extraArguments.begin(), options_.extraArguments.end());
        std::vector<char*> argv;
        for (auto& arg : args) {
            argv.push_back(arg.data());
        }
        argv.push_back(nullptr);

        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&actions, out[1], 1);
        if (!verbose && logFd >= 0) {
            posix_spawn_file_actions_adddup2(&actions, logFd, 2);
        }
        pid_t child = -1;
        const int rc = ::posix_spawn(&child, options_.executable.c_str(), &actions, nullptr,
                                     argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        ::close(out[1]);
        if (logFd >= 0) {
            ::close(logFd);
        }
        if (rc != 0) {
            ::close(out[0]);
            throw std::runtime_error("BackendProcess: cannot start " + options_.executable + ": " +
                                     std::strerror(rc));
        }
        pid_ = child;

        // The first line of its standard output names the address it listens on.
        std::string line;
        const auto deadline = std::chrono::steady_clock::now() + options_.startTimeout;
        bool complete = false;
        while (!complete) {
            if (!waitFor(out[0], POLLIN, deadline)) {
                break;
            }
            char c;
            const ssize_t n = ::read(out[0], &c, 1);
            if (n < 0 && errno == EINTR) {
                continue;
            }
            if (n <= 0) {
                break;
            }
            if (c == '\n') {
                complete = true;
            } else {
                line.push_back(c);
            }
        }
        ::close(out[0]);
        static constexpr std::string_view kPrefix = "vorna-backend listening on ";
        if (!complete || !line.starts_with(kPrefix)) {
            const int status = stop();
            throw std::runtime_error("BackendProcess: vorna-backend did not start (exit status " +
                                     std::to_string(status) + "); its log:\n" + log());
        }
        baseUrl_ = line.substr(kPrefix.size());
        const std::size_t colon = baseUrl_.rfind(':');
        port_ = std::atoi(baseUrl_.c_str() + colon + 1);
    }

    HttpAnswer admin(const std::string& method, const std::string& path,
                     const std::string& body = {}) const {
        HttpAnswer answer =
            request(method, path, body,
                    body.empty() ? std::vector<std::pair<std::string, std::string>>{}
                                 : std::vector<std::pair<std::string, std::string>>{
                                       {"Content-Type", "application/json"}});
        if (answer.status < 200 || answer.status > 299) {
            throw std::runtime_error("BackendProcess: " + method + " " + path + " answered " +
                                     std::to_string(answer.status) + ": " + answer.body);
        }
        return answer;
    }

    void chooseDatabase() {
        if (options_.database) {
            database_ = *options_.database;
            return;
        }
        server_ = TestDatabaseServer::fromEnvironment();
        if (server_) {
            ownSchema_ = server_->createSchema();
            database_ = server_->urlOfSchema(ownSchema_);
        }
    }

    void dropSchema() {
        if (server_ && !ownSchema_.empty()) {
            server_->dropSchema(std::exchange(ownSchema_, std::string()));
        }
    }

    void removeRoot() {
        std::error_code ignored;
        std::filesystem::remove_all(root_, ignored);
    }

    static std::string encode(const std::string& text) {
        static constexpr char kHex[] = "0123456789ABCDEF";
        std::string out;
        for (const char c : text) {
            const auto u = static_cast<unsigned char>(c);
            if (std::isalnum(u) || c == '-' || c == '.' || c == '_' || c == '~') {
                out.push_back(c);
            } else {
                out += {'%', kHex[u >> 4], kHex[u & 15]};
            }
        }
        return out;
    }

    static bool waitFor(int fd, short events, std::chrono::steady_clock::time_point deadline) {
        for (;;) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0) {
                return false;
            }
            pollfd pfd{fd, events, 0};
            const int rc =
                ::poll(&pfd, 1, static_cast<int>(std::min<long long>(left.count(), 1000)));
            if (rc > 0) {
                return true;
            }
            if (rc < 0 && errno != EINTR) {
                return false;
            }
        }
    }

    static void sendAll(int fd, std::string_view bytes,
                        std::chrono::steady_clock::time_point deadline) {
        while (!bytes.empty()) {
            if (!waitFor(fd, POLLOUT, deadline)) {
                throw std::runtime_error("BackendProcess: sending the request timed out");
            }
            const ssize_t n = ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (n < 0 && errno == EINTR) {
                continue;
            }
            if (n < 0) {
                // The backend may answer and close before it read everything (413, a drop).
                return;
            }
            bytes.remove_prefix(static_cast<std::size_t>(n));
        }
    }

    static HttpAnswer parseAnswer(const std::string& received) {
        HttpAnswer answer;
        const std::size_t headEnd = received.find("\r\n\r\n");
        if (received.empty() || headEnd == std::string::npos) {
            return answer;  // no (complete) answer
        }
        std::istringstream head(received.substr(0, headEnd));
        std::string line;
        std::getline(head, line);
        const std::size_t space = line.find(' ');
        answer.status = space == std::string::npos ? 0 : std::atoi(line.c_str() + space + 1);
        while (std::getline(head, line)) {
            if (!line.empty() && line.back() == '\r') {
                line.pop_back();
            }
            const std::size_t colon = line.find(':');
            if (colon == std::string::npos) {
                continue;
            }
            std::size_t valueStart = colon + 1;
            while (valueStart < line.size() && line[valueStart] == ' ') {
                ++valueStart;
            }
            answer.headers.emplace_back(line.substr(0, colon), line.substr(valueStart));
        }
        std::string body = received.substr(headEnd + 4);
        if (answer.header("Transfer-Encoding") == "chunked") {
            std::string decoded;
            std::size_t pos = 0;
            while (pos < body.size()) {
                const std::size_t lineEnd = body.find("\r\n", pos);
                if (lineEnd == std::string::npos) {
                    break;
                }
                const std::size_t size = std::strtoul(body.c_str() + pos, nullptr, 16);
                if (size == 0) {
                    break;
                }
                decoded.append(body, lineEnd + 2, size);
                pos = lineEnd + 2 + size + 2;
            }
            body = std::move(decoded);
        } else if (const std::string length = answer.header("Content-Length"); !length.empty()) {
            body.resize(
                std::min<std::size_t>(body.size(), std::strtoull(length.c_str(), nullptr, 10)));
        }
        answer.body = std::move(body);
        return answer;
    }

    Options options_;
    std::optional<TestDatabaseServer> server_;
    std::string ownSchema_;  // created for this backend, dropped at the end
    std::string database_;
    std::filesystem::path root_;
    std::filesystem::path dataDir_;
    int port_ = 0;
    std::string baseUrl_;
    pid_t pid_ = -1;
};

}  // namespace vorna::test
