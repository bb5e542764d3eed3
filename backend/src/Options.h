#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vorna::backend {

struct ClientCredentials {
    std::string id;
    std::string secret;
};

// The command line of vorna-backend.
struct Options {
    std::string host = "127.0.0.1";
    int port = 8642;
    std::filesystem::path dataDir = "vorna-backend-data";
    // A "postgresql://" URL or the path of a SQLite file; empty: the SQLite file in dataDir.
    std::string database;
    // Where uploaded files go; empty: dataDir/files. Backends that share a database share
    // this directory too.
    std::filesystem::path filesDir;
    std::vector<ClientCredentials> clients;
    bool expireTokens = false;
    std::size_t maxBodyBytes = std::size_t{256} * 1024 * 1024;
    std::chrono::milliseconds headTimeout{10'000};
    std::chrono::milliseconds idleTimeout{30'000};
    std::chrono::milliseconds keepAliveTimeout{30'000};
    std::size_t maxConnections = 512;
    std::size_t workers = 32;
    bool help = false;

    static const char* usage();
    // Answers the options, or nullopt with the reason in error.
    static std::optional<Options> parse(const std::vector<std::string>& args, std::string& error);
    // Reads "id:secret" lines (blank lines and lines starting with '#' are skipped).
    static bool readClientsFile(const std::filesystem::path& file,
                                std::vector<ClientCredentials>& clients, std::string& error);
    static std::optional<ClientCredentials> parseClient(const std::string& text);
    // "1500ms", "10s" or "10" (seconds), from 1 ms to a day.
    static std::optional<std::chrono::milliseconds> parseDuration(const std::string& text);

    // What --database and --files-dir come to, with their defaults in dataDir.
    std::string databaseOrDefault() const;
    std::filesystem::path filesDirOrDefault() const;
};

}  // namespace vorna::backend
