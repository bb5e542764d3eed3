#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/VRNHandles.h"

namespace vorna::backend {

class StoreError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Everything the backend keeps between runs, in one SQLite database: access tokens,
// applications, the branding, the index of uploaded files and the received reports.
// One connection serves all request threads, one at a time.
class Store {
public:
    struct Token {
        std::string clientId;
        std::optional<std::string> bundleId;  // the application this token last spoke for
        std::int64_t expiresAt = 0;           // Unix seconds
    };
    struct Application {
        std::string bundleId;
        std::string os;
        std::string platform;
        bool archived = false;
        bool registered = false;
        std::string createdAt;
    };
    struct File {
        std::string id;
        std::string fileName;
        std::string mimeType;
        std::int64_t size = 0;
        std::string clientId;
        std::string uploadedAt;
    };
    struct Report {
        std::int64_t id = 0;
        std::string bundleId;
        std::string receivedAt;
        std::string reportType;
        std::string description;
        std::string testerEmail;
        std::string clientId;
        std::string body;  // the bytes as they were posted
    };

    // Opens or creates the database; throws StoreError with a readable reason when the file
    // is not a usable database of this program.
    static std::unique_ptr<Store> open(const std::filesystem::path& file);
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    void addToken(const std::string& token, const std::string& clientId, std::int64_t createdAt,
                  std::int64_t expiresAt);
    std::optional<Token> findToken(const std::string& token);
    void setTokenApplication(const std::string& token, const std::string& bundleId);

    // Creates the application when it is missing; answers whether it did. Registering never
    // changes whether an application is archived.
    bool registerApplication(const std::string& bundleId, const std::string& os,
                             const std::string& platform);
    std::optional<Application> findApplication(const std::string& bundleId);
    // Creates the application (unregistered) when it is missing.
    void setArchived(const std::string& bundleId, bool archived);
    std::vector<Application> applications();

    std::optional<std::string> branding();
    void setBranding(const std::string& json);
    void clearBranding();

    void addFile(const File& file);
    std::optional<File> findFile(const std::string& id);

    std::int64_t addReport(const Report& report);
    // Newest first; an empty bundle id lists the reports of every application.
    std::vector<Report> reports(std::size_t limit, const std::string& bundleId);
    std::optional<Report> report(std::int64_t id);

private:
    explicit Store(VRNDatabase db) : db_(std::move(db)) {}
    void exec(const char* sql);

    std::mutex mutex_;
    VRNDatabase db_;
};

}  // namespace vorna::backend
