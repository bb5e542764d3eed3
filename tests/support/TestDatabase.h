#pragma once

// The PostgreSQL server that a test run of the backend keeps its data in, when it runs against
// PostgreSQL rather than the SQLite file: VORNA_TEST_DATABASE names it, either as the server's
// URL ("postgresql://postgres@127.0.0.1:5432", no database) or as the file that the fixture
// backend/tests/postgres-fixture.sh writes (url=..., psql=..., or skip=REASON where no server
// could be started). Each backend a test starts gets a schema of its own in the server's
// database "postgres", named by its URL's search_path, so tests that run at once do not see each
// other's reports (a schema costs a fraction of what a database costs to create).
//
// Header-only, POSIX only; SQL goes through the server's own client program, psql.

#include <fcntl.h>
#include <spawn.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

extern char** environ;

namespace vorna::test {

class TestDatabaseServer {
public:
    // The server VORNA_TEST_DATABASE names; nullopt when it names none (the tests use SQLite).
    static std::optional<TestDatabaseServer> fromEnvironment() {
        const char* value = std::getenv("VORNA_TEST_DATABASE");
        if (value == nullptr || *value == '\0') {
            return std::nullopt;
        }
        const std::string text = value;
        if (text.starts_with("postgresql://") || text.starts_with("postgres://")) {
            TestDatabaseServer server;
            server.url_ = text;
            return server;
        }
        return fromFile(text);
    }

    // A server file as the fixture writes it.
    static TestDatabaseServer fromFile(const std::filesystem::path& file) {
        TestDatabaseServer server;
        std::ifstream in(file);
        if (!in) {
            server.skipReason_ = "no PostgreSQL server: " + file.string() +
                                 " is missing (did the fixture that starts it run?)";
            return server;
        }
        std::string line;
        while (std::getline(in, line)) {
            const std::size_t equals = line.find('=');
            const std::string key = line.substr(0, equals);
            const std::string value = equals == std::string::npos ? "" : line.substr(equals + 1);
            if (key == "url") {
                server.url_ = value;
            } else if (key == "psql") {
                server.psql_ = value;
            } else if (key == "skip") {
                server.skipReason_ = "no PostgreSQL server: " + value;
            }
        }
        if (server.url_.empty() && server.skipReason_.empty()) {
            server.skipReason_ = "no PostgreSQL server: " + file.string() + " names none";
        }
        return server;
    }

    // Empty when the server is there; else why the tests that need it are skipped.
    const std::string& skipReason() const { return skipReason_; }
    // The URL of one database of the server.
    std::string urlOf(const std::string& database) const { return url_ + "/" + database; }
    // The URL that keeps a backend's tables in one schema of the database "postgres".
    std::string urlOfSchema(const std::string& schema) const {
        return urlOf("postgres") + "?options=-csearch_path%3D" + schema;
    }

    // Runs SQL in a schema (or, with "", the database "postgres" as it is) and answers what it
    // printed: rows one a line, columns separated by '|'. Throws with psql's message when the
    // SQL fails.
    std::string query(const std::string& schema, const std::string& sql) const {
        return run({psql_, "-X", "-q", "-A", "-t", "-v", "ON_ERROR_STOP=1", "-d",
                    schema.empty() ? urlOf("postgres") : urlOfSchema(schema), "-c", sql});
    }

    // A new, empty schema with a name no other test uses.
    std::string createSchema() const {
        static std::atomic<unsigned> counter{0};
        std::random_device random;
        const std::string name = "vorna_test_" + std::to_string(::getpid()) + "_" +
                                 std::to_string(counter++) + "_" +
                                 std::to_string(random() % 100000);
        query("", "CREATE SCHEMA " + name);
        return name;
    }
    void dropSchema(const std::string& name) const {
        query("", "DROP SCHEMA IF EXISTS " + name + " CASCADE");
    }

private:
    std::string run(std::vector<std::string> args) const {
        if (!skipReason_.empty()) {
            throw std::runtime_error(skipReason_);
        }
        int out[2];
        if (::pipe2(out, O_CLOEXEC) != 0) {
            throw std::runtime_error("TestDatabaseServer: no pipe: " +
                                     std::string(std::strerror(errno)));
        }
        std::vector<char*> argv;
        for (auto& arg : args) {
            argv.push_back(arg.data());
        }
        argv.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&actions, out[1], 1);
        posix_spawn_file_actions_adddup2(&actions, out[1], 2);
        pid_t child = -1;
        const int rc = ::posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        ::close(out[1]);
        std::string output;
        if (rc == 0) {
            char buffer[4096];
            ssize_t n = 0;
            while ((n = ::read(out[0], buffer, sizeof buffer)) != 0) {
                if (n < 0 && errno == EINTR) {
                    continue;
                }
                if (n < 0) {
                    break;
                }
                output.append(buffer, static_cast<std::size_t>(n));
            }
        }
        ::close(out[0]);
        if (rc != 0) {
            throw std::runtime_error("TestDatabaseServer: cannot run " + args[0] + ": " +
                                     std::strerror(rc));
        }
        int status = 0;
        while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            throw std::runtime_error("TestDatabaseServer: psql failed on \"" + args.back() +
                                     "\": " + output);
        }
        while (!output.empty() && output.back() == '\n') {
            output.pop_back();
        }
        return output;
    }

    std::string url_;
    std::string psql_ = "psql";
    std::string skipReason_;
};

}  // namespace vorna::test
