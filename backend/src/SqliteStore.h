#pragma once

#include <filesystem>
#include <memory>
#include <mutex>

#include "Store.h"
#include "platform/VRNHandles.h"

namespace vorna::backend {

// The embedded store: one SQLite file in the data directory. One connection serves all
// request threads, one at a time.
class SqliteStore final : public Store {
public:
    // Opens or creates the database; throws StoreError with a readable reason when the file
    // is not a usable database of this program.
    static std::unique_ptr<SqliteStore> open(const std::filesystem::path& file);

    void addToken(const std::string& token, const std::string& clientId, std::int64_t createdAt,
                  std::int64_t expiresAt) override;
    std::optional<Token> findToken(const std::string& token) override;
    void setTokenApplication(const std::string& token, const std::string& bundleId) override;

    Registration registerApplication(const std::string& bundleId, const std::string& os,
                                     const std::string& platform,
                                     const std::string& clientId) override;
    std::optional<Application> findApplication(const std::string& bundleId) override;
    void setArchived(const std::string& bundleId, bool archived) override;
    std::vector<Application> applications() override;

    std::optional<std::string> branding() override;
    void setBranding(const std::string& json) override;
    void clearBranding() override;

    void addFile(const File& file) override;
    std::optional<File> findFile(const std::string& id) override;

    std::int64_t addReport(const Report& report) override;
    std::vector<Report> reports(const ReportQuery& query) override;
    std::size_t countReports(const ReportQuery& query) override;
    std::optional<Report> report(std::int64_t id) override;

private:
    explicit SqliteStore(VRNDatabase db) : db_(std::move(db)) {}
    void exec(const char* sql);
    void upgrade(int fromVersion);

    std::mutex mutex_;
    VRNDatabase db_;
};

}  // namespace vorna::backend
