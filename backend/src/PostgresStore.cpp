#include "PostgresStore.h"

#include <algorithm>
#include <chrono>
#include <limits>

#include "PostgresSchema.h"
#include "Text.h"

namespace vorna::backend {

namespace {

using pg::Params;
using pg::Rows;

// Fewer connections than request threads: most requests spend their time on the network and
// on files, and each PostgreSQL connection is a process on the server.
constexpr std::size_t kConnections = 16;
// A request that finds every connection busy for this long meets a 503 instead of holding
// its thread, as happens when the server stops answering without closing its connections.
constexpr std::chrono::seconds kBorrowTimeout{10};

constexpr const char* kApplicationColumns =
    "SELECT bundle_id, os, platform, archived, registered, created_at, owner_client_id "
    "FROM apps";
constexpr const char* kReportColumns =
    "SELECT id, bundle_id, received_at, report_type, description, tester_email, client_id, body "
    "FROM reports";
// The WHERE clause of a report list: $1 the application, $2 the text as a LIKE pattern.
// ILIKE, as the embedded store's LIKE ignores the case of letters too.
constexpr const char* kReportFilter =
    " WHERE ($1 = '' OR bundle_id = $1) AND "
    "($2 = '' OR description ILIKE $2 ESCAPE E'\\\\' OR tester_email ILIKE $2 ESCAPE E'\\\\')";

Store::Application applicationFrom(const Rows& rows, int row) {
    Store::Application app;
    app.bundleId = rows.text(row, 0);
    app.os = rows.text(row, 1);
    app.platform = rows.text(row, 2);
    app.archived = rows.boolean(row, 3);
    app.registered = rows.boolean(row, 4);
    app.createdAt = rows.text(row, 5);
    app.ownerClientId = rows.isNull(row, 6) ? std::string() : rows.text(row, 6);
    return app;
}

Store::Report reportFrom(const Rows& rows, int row) {
    Store::Report report;
    report.id = rows.integer(row, 0);
    report.bundleId = rows.text(row, 1);
    report.receivedAt = rows.text(row, 2);
    report.reportType = rows.text(row, 3);
    report.description = rows.text(row, 4);
    report.testerEmail = rows.text(row, 5);
    report.clientId = rows.text(row, 6);
    report.body = rows.text(row, 7);
    return report;
}

// LIMIT and OFFSET take signed numbers; "as many as there are" is the largest one.
std::int64_t bounded(std::size_t count) {
    return static_cast<std::int64_t>(
        std::min<std::size_t>(count, std::numeric_limits<std::int64_t>::max()));
}

}  // namespace

PostgresStore::PostgresStore(const std::string& url)
    : pool_(url, kConnections,
            std::chrono::duration_cast<std::chrono::milliseconds>(kBorrowTimeout)) {}

std::unique_ptr<PostgresStore> PostgresStore::open(const std::string& url) {
    std::unique_ptr<PostgresStore> store(new PostgresStore(url));
    auto connection = store->pool_.borrow();
    try {
        pg::Schema::prepare(*connection);
    } catch (...) {
        // The connection goes back to the pool, so no transaction may stay open on it; if the
        // rollback fails, the connection is broken and is dropped instead.
        try {
            connection->execute("ROLLBACK");
        } catch (const StoreError&) {
        }
        throw;
    }
    return store;
}

Rows PostgresStore::run(const char* sql, const Params& params) {
    auto connection = pool_.borrow();
    return connection->run(sql, params);
}

void PostgresStore::addToken(const std::string& token, const std::string& clientId,
                             std::int64_t createdAt, std::int64_t expiresAt) {
    run("INSERT INTO tokens(token, client_id, created_at, expires_at) VALUES($1, $2, $3, $4)",
        Params().text(token).text(clientId).integer(createdAt).integer(expiresAt));
}

std::optional<Store::Token> PostgresStore::findToken(const std::string& token) {
    const Rows rows = run("SELECT client_id, bundle_id, expires_at FROM tokens WHERE token = $1",
                          Params().text(token));
    if (rows.count() == 0) {
        return std::nullopt;
    }
    Token found;
    found.clientId = rows.text(0, 0);
    if (!rows.isNull(0, 1)) {
        found.bundleId = rows.text(0, 1);
    }
    found.expiresAt = rows.integer(0, 2);
    return found;
}

void PostgresStore::setTokenApplication(const std::string& token, const std::string& bundleId) {
    // Clients name the same application with every call: an unchanged row is not written again,
    // which spares the commit its wait for the disk.
    run("UPDATE tokens SET bundle_id = $2 WHERE token = $1 AND bundle_id IS DISTINCT FROM $2",
        Params().text(token).text(bundleId));
}

Store::Registration PostgresStore::registerApplication(const std::string& bundleId,
                                                       const std::string& os,
                                                       const std::string& platform,
                                                       const std::string& clientId) {
    const std::string now = Text::nowIso8601();
    const Rows created =
        run("INSERT INTO apps(bundle_id, os, platform, registered, created_at, owner_client_id) "
            "VALUES($1, $2, $3, true, $4, $5) ON CONFLICT(bundle_id) DO NOTHING RETURNING 1",
            Params().text(bundleId).text(os).text(platform).text(now).text(clientId));
    if (created.count() > 0) {
        return Registration::Created;
    }
    // Known already, perhaps only because it was archived before it ever registered: then
    // the first client to register it becomes its owner. A row that another backend inserts
    // meanwhile is seen here, as the insert above waited for it.
    const Rows updated =
        run("UPDATE apps SET os = $2, platform = $3, registered = true, owner_client_id = $4 "
            "WHERE bundle_id = $1 AND "
            "(owner_client_id IS NULL OR owner_client_id = '' OR owner_client_id = $4) "
            "RETURNING 1",
            Params().text(bundleId).text(os).text(platform).text(clientId));
    return updated.count() > 0 ? Registration::Updated : Registration::OwnedByAnother;
}

std::optional<Store::Application> PostgresStore::findApplication(const std::string& bundleId) {
    const Rows rows = run((std::string(kApplicationColumns) + " WHERE bundle_id = $1").c_str(),
                          Params().text(bundleId));
    if (rows.count() == 0) {
        return std::nullopt;
    }
    return applicationFrom(rows, 0);
}

void PostgresStore::setArchived(const std::string& bundleId, bool archived) {
    const std::string now = Text::nowIso8601();
    run("INSERT INTO apps(bundle_id, archived, created_at) VALUES($1, $2, $3) "
        "ON CONFLICT(bundle_id) DO UPDATE SET archived = excluded.archived",
        Params().text(bundleId).boolean(archived).text(now));
}

std::vector<Store::Application> PostgresStore::applications() {
    // Byte order, whatever the database's collation: the embedded store sorts so too.
    const Rows rows =
        run((std::string(kApplicationColumns) + " ORDER BY bundle_id COLLATE \"C\"").c_str());
    std::vector<Application> apps;
    apps.reserve(static_cast<std::size_t>(rows.count()));
    for (int row = 0; row < rows.count(); ++row) {
        apps.push_back(applicationFrom(rows, row));
    }
    return apps;
}

std::optional<std::string> PostgresStore::branding() {
    const Rows rows = run("SELECT body FROM branding WHERE id = 1");
    if (rows.count() == 0) {
        return std::nullopt;
    }
    return rows.text(0, 0);
}

void PostgresStore::setBranding(const std::string& json) {
    const std::string now = Text::nowIso8601();
    run("INSERT INTO branding(id, body, updated_at) VALUES(1, $1, $2) "
        "ON CONFLICT(id) DO UPDATE SET body = excluded.body, updated_at = excluded.updated_at",
        Params().bytes(json).text(now));
}

void PostgresStore::clearBranding() {
    run("DELETE FROM branding");
}

void PostgresStore::addFile(const File& file) {
    run("INSERT INTO files(id, file_name, mime_type, size, client_id, uploaded_at) "
        "VALUES($1, $2, $3, $4, $5, $6)",
        Params()
            .text(file.id)
            .bytes(file.fileName)
            .bytes(file.mimeType)
            .integer(file.size)
            .text(file.clientId)
            .text(file.uploadedAt));
}

std::optional<Store::File> PostgresStore::findFile(const std::string& id) {
    const Rows rows = run(
        "SELECT id, file_name, mime_type, size, client_id, uploaded_at FROM files WHERE id = $1",
        Params().text(id));
    if (rows.count() == 0) {
        return std::nullopt;
    }
    File file;
    file.id = rows.text(0, 0);
    file.fileName = rows.text(0, 1);
    file.mimeType = rows.text(0, 2);
    file.size = rows.integer(0, 3);
    file.clientId = rows.text(0, 4);
    file.uploadedAt = rows.text(0, 5);
    return file;
}

std::int64_t PostgresStore::addReport(const Report& report) {
    const Rows rows =
        run("INSERT INTO reports(bundle_id, received_at, report_type, description, tester_email, "
            "client_id, body) VALUES($1, $2, $3, $4, $5, $6, $7) RETURNING id",
            Params()
                .text(report.bundleId)
                .text(report.receivedAt)
                .text(report.reportType)
                .text(report.description)
                .text(report.testerEmail)
                .text(report.clientId)
                .bytes(report.body));
    return rows.integer(0, 0);
}

std::vector<Store::Report> PostgresStore::reports(const ReportQuery& query) {
    const std::string pattern = likePattern(query.text);
    const Rows rows =
        run((std::string(kReportColumns) + kReportFilter + " ORDER BY id DESC LIMIT $3 OFFSET $4")
                .c_str(),
            Params()
                .text(query.bundleId)
                .text(pattern)
                .integer(bounded(query.limit))
                .integer(bounded(query.offset)));
    std::vector<Report> list;
    list.reserve(static_cast<std::size_t>(rows.count()));
    for (int row = 0; row < rows.count(); ++row) {
        list.push_back(reportFrom(rows, row));
    }
    return list;
}

std::size_t PostgresStore::countReports(const ReportQuery& query) {
    const std::string pattern = likePattern(query.text);
    const Rows rows = run((std::string("SELECT count(*) FROM reports") + kReportFilter).c_str(),
                          Params().text(query.bundleId).text(pattern));
    return static_cast<std::size_t>(rows.integer(0, 0));
}

std::optional<Store::Report> PostgresStore::report(std::int64_t id) {
    const Rows rows =
        run((std::string(kReportColumns) + " WHERE id = $1").c_str(), Params().integer(id));
    if (rows.count() == 0) {
        return std::nullopt;
    }
    return reportFrom(rows, 0);
}

}  // namespace vorna::backend
