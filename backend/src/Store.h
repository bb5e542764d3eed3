#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace vorna::backend {

class StoreError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The database cannot be reached just now (its server went away or is restarting). Nothing
// was written; the same request may succeed later, so clients are told 503.
class StoreUnavailable : public StoreError {
public:
    using StoreError::StoreError;
};

// Everything the backend keeps between runs: access tokens, applications, the branding, the
// index of uploaded files and the received reports. Every method may be called from any
// request thread; each is one atomic step in the database.
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
        // The client that registered it; empty while nobody has (an application the admin
        // archived before any client spoke for it).
        std::string ownerClientId;
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
    // Which reports a list shows, newest first.
    struct ReportQuery {
        std::string bundleId;  // empty: every application
        std::string text;      // empty: any; else found in the description or the e-mail
        std::size_t offset = 0;
        std::size_t limit = 50;
    };
    enum class Registration {
        Created,         // a new application, owned by the caller
        Updated,         // the caller's own (or nobody's until now): its os and platform updated
        OwnedByAnother,  // another client registered it; nothing changed
    };

    // Opens the database a `--database` value names: a "postgresql://" (or "postgres://") URL,
    // or else the path of a SQLite file, created when missing. Creates or upgrades the schema;
    // throws StoreError with a readable reason when that cannot be done.
    static std::unique_ptr<Store> open(const std::string& database);
    static bool isServerUrl(const std::string& database);

    Store() = default;
    virtual ~Store() = default;
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    virtual void addToken(const std::string& token, const std::string& clientId,
                          std::int64_t createdAt, std::int64_t expiresAt) = 0;
    virtual std::optional<Token> findToken(const std::string& token) = 0;
    virtual void setTokenApplication(const std::string& token, const std::string& bundleId) = 0;

    // Creates the application for the client when it is missing, or updates its os and
    // platform when the client owns it (or nobody does yet, and the client now does).
    // Registering never changes whether an application is archived.
    virtual Registration registerApplication(const std::string& bundleId, const std::string& os,
                                             const std::string& platform,
                                             const std::string& clientId) = 0;
    virtual std::optional<Application> findApplication(const std::string& bundleId) = 0;
    // Creates the application (unregistered, owned by nobody) when it is missing.
    virtual void setArchived(const std::string& bundleId, bool archived) = 0;
    virtual std::vector<Application> applications() = 0;

    virtual std::optional<std::string> branding() = 0;
    virtual void setBranding(const std::string& json) = 0;
    virtual void clearBranding() = 0;

    virtual void addFile(const File& file) = 0;
    virtual std::optional<File> findFile(const std::string& id) = 0;

    virtual std::int64_t addReport(const Report& report) = 0;
    virtual std::vector<Report> reports(const ReportQuery& query) = 0;
    virtual std::size_t countReports(const ReportQuery& query) = 0;
    virtual std::optional<Report> report(std::int64_t id) = 0;

protected:
    // The text of a ReportQuery as a LIKE pattern with '\' as its escape: "" stays "" (no
    // search); anything else is found anywhere, its '%', '_' and '\' taken literally.
    static std::string likePattern(const std::string& text);
};

}  // namespace vorna::backend
