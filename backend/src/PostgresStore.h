#pragma once

#include <memory>
#include <string>

#include "PostgresPool.h"
#include "Store.h"

namespace vorna::backend {

// The store for a team: a PostgreSQL database that several backends may share. Request
// threads run their statements at once on a small pool of connections; each method is one
// statement, so each is atomic on its own. Report ids come from a sequence, so backends that
// share the database never hand out the same one.
//
// While the server is away the methods throw StoreUnavailable; connections are opened again
// when it is back, without a restart of the backend.
class PostgresStore final : public Store {
public:
    // Connects to the database a "postgresql://" URL names and creates or upgrades its
    // tables. Throws StoreUnavailable when the server cannot be reached, StoreError when the
    // database cannot be used.
    static std::unique_ptr<PostgresStore> open(const std::string& url);

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
    explicit PostgresStore(const std::string& url);
    pg::Rows run(const char* sql, const pg::Params& params = {});

    pg::Pool pool_;
};

}  // namespace vorna::backend
