#include "SqliteStore.h"

#include <cstring>
#include <utility>

#include "Text.h"

namespace vorna::backend {

namespace {

constexpr int kSchemaVersion = 2;

constexpr const char* kSchema = R"sql(
CREATE TABLE IF NOT EXISTS tokens(
    token TEXT PRIMARY KEY,
    client_id TEXT NOT NULL,
    bundle_id TEXT,
    created_at INTEGER NOT NULL,
    expires_at INTEGER NOT NULL);
CREATE TABLE IF NOT EXISTS apps(
    bundle_id TEXT PRIMARY KEY,
    os TEXT NOT NULL DEFAULT '',
    platform TEXT NOT NULL DEFAULT '',
    archived INTEGER NOT NULL DEFAULT 0,
    registered INTEGER NOT NULL DEFAULT 0,
    created_at TEXT NOT NULL,
    owner_client_id TEXT);
CREATE TABLE IF NOT EXISTS branding(
    id INTEGER PRIMARY KEY CHECK (id = 1),
    body TEXT NOT NULL,
    updated_at TEXT NOT NULL);
CREATE TABLE IF NOT EXISTS files(
    id TEXT PRIMARY KEY,
    file_name TEXT NOT NULL,
    mime_type TEXT NOT NULL,
    size INTEGER NOT NULL,
    client_id TEXT NOT NULL,
    uploaded_at TEXT NOT NULL);
CREATE TABLE IF NOT EXISTS reports(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    bundle_id TEXT NOT NULL,
    received_at TEXT NOT NULL,
    report_type TEXT NOT NULL,
    description TEXT NOT NULL,
    tester_email TEXT NOT NULL,
    client_id TEXT NOT NULL,
    body BLOB NOT NULL);
CREATE INDEX IF NOT EXISTS reports_by_bundle ON reports(bundle_id, id);
)sql";

// One prepared statement, finalised when it goes out of scope.
class Statement {
public:
    Statement(sqlite3* db, const char* sql) : db_(db), stmt_(VRNPrepare(db, sql)) {
        if (!stmt_) {
            throw StoreError(std::string("cannot prepare a query: ") + sqlite3_errmsg(db));
        }
    }

    Statement& bind(int index, const std::string& text) {
        check(sqlite3_bind_text(stmt_.get(), index, text.data(), static_cast<int>(text.size()),
                                SQLITE_TRANSIENT));
        return *this;
    }
    Statement& bind(int index, const std::optional<std::string>& text) {
        if (!text) {
            check(sqlite3_bind_null(stmt_.get(), index));
            return *this;
        }
        return bind(index, *text);
    }
    Statement& bind(int index, std::int64_t value) {
        check(sqlite3_bind_int64(stmt_.get(), index, value));
        return *this;
    }
    Statement& bindBlob(int index, const std::string& bytes) {
        check(
            sqlite3_bind_blob64(stmt_.get(), index, bytes.data(), bytes.size(), SQLITE_TRANSIENT));
        return *this;
    }
    // True while there is a row.
    bool step() {
        const int rc = sqlite3_step(stmt_.get());
        if (rc == SQLITE_ROW) {
            return true;
        }
        if (rc == SQLITE_DONE) {
            return false;
        }
        throw StoreError(std::string("database error: ") + sqlite3_errmsg(db_));
    }
    std::string text(int column) const {
        const auto* data = sqlite3_column_blob(stmt_.get(), column);
        const int size = sqlite3_column_bytes(stmt_.get(), column);
        return data == nullptr
                   ? std::string()
                   : std::string(static_cast<const char*>(data), static_cast<std::size_t>(size));
    }
    bool isNull(int column) const {
        return sqlite3_column_type(stmt_.get(), column) == SQLITE_NULL;
    }
    std::int64_t integer(int column) const { return sqlite3_column_int64(stmt_.get(), column); }

private:
    void check(int rc) const {
        if (rc != SQLITE_OK) {
            throw StoreError(std::string("cannot bind a query value: ") + sqlite3_errmsg(db_));
        }
    }

    sqlite3* db_;
    VRNStatement stmt_;
};

Store::Application applicationFrom(const Statement& row) {
    Store::Application app;
    app.bundleId = row.text(0);
    app.os = row.text(1);
    app.platform = row.text(2);
    app.archived = row.integer(3) != 0;
    app.registered = row.integer(4) != 0;
    app.createdAt = row.text(5);
    app.ownerClientId = row.text(6);
    return app;
}

Store::Report reportFrom(const Statement& row) {
    Store::Report report;
    report.id = row.integer(0);
    report.bundleId = row.text(1);
    report.receivedAt = row.text(2);
    report.reportType = row.text(3);
    report.description = row.text(4);
    report.testerEmail = row.text(5);
    report.clientId = row.text(6);
    report.body = row.text(7);
    return report;
}

}  // namespace

std::unique_ptr<SqliteStore> SqliteStore::open(const std::filesystem::path& file) {
    sqlite3* opened = nullptr;
    const int rc = sqlite3_open_v2(
        file.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX,
        nullptr);
    // SQLite hands out a handle even when opening fails, for its error message.
    VRNDatabase owned(opened);
    if (rc != SQLITE_OK) {
        throw StoreError(opened != nullptr ? sqlite3_errmsg(opened) : sqlite3_errstr(rc));
    }
    sqlite3* const db = owned.get();
    std::unique_ptr<SqliteStore> store(new SqliteStore(std::move(owned)));
    sqlite3_busy_timeout(db, 5000);
    // Reading the header is the first thing that touches the file, so a file that is not a
    // database fails here rather than on the first request.
    store->exec("PRAGMA journal_mode=WAL");
    {
        Statement check(db, "PRAGMA quick_check");
        while (check.step()) {
            const std::string verdict = check.text(0);
            if (verdict != "ok") {
                throw StoreError("the database is damaged: " + verdict);
            }
        }
    }
    int version = 0;
    {
        Statement query(db, "PRAGMA user_version");
        if (query.step()) {
            version = static_cast<int>(query.integer(0));
        }
    }
    if (version > kSchemaVersion) {
        throw StoreError("the database was written by a newer vorna-backend (schema " +
                         std::to_string(version) + ")");
    }
    store->exec("PRAGMA synchronous=NORMAL");
    if (version > 0) {
        store->upgrade(version);
    }
    store->exec(kSchema);
    store->exec(("PRAGMA user_version=" + std::to_string(kSchemaVersion)).c_str());
    return store;
}

// Brings a database written by an older backend to this schema. The tables that are missing
// altogether are created by the schema itself afterwards.
void SqliteStore::upgrade(int fromVersion) {
    if (fromVersion < 2) {
        // Applications now belong to the client that registered them. An existing one is
        // given to the client that sent its first report; one without reports stays nobody's
        // until a client registers it.
        exec("BEGIN");
        exec("ALTER TABLE apps ADD COLUMN owner_client_id TEXT");
        exec("UPDATE apps SET owner_client_id = (SELECT client_id FROM reports "
             "WHERE reports.bundle_id = apps.bundle_id ORDER BY id LIMIT 1)");
        exec("COMMIT");
    }
}

void SqliteStore::exec(const char* sql) {
    char* message = nullptr;
    if (sqlite3_exec(db_.get(), sql, nullptr, nullptr, &message) != SQLITE_OK) {
        std::string reason = message != nullptr ? message : sqlite3_errmsg(db_.get());
        sqlite3_free(message);
        throw StoreError(reason);
    }
}

void SqliteStore::addToken(const std::string& token, const std::string& clientId, std::int64_t createdAt,
                     std::int64_t expiresAt) {
    std::lock_guard lock(mutex_);
    Statement insert(db_.get(),
                     "INSERT INTO tokens(token, client_id, created_at, expires_at) "
                     "VALUES(?1, ?2, ?3, ?4)");
    insert.bind(1, token).bind(2, clientId).bind(3, createdAt).bind(4, expiresAt).step();
}

std::optional<Store::Token> SqliteStore::findToken(const std::string& token) {
    std::lock_guard lock(mutex_);
    Statement query(db_.get(),
                    "SELECT client_id, bundle_id, expires_at FROM tokens WHERE token = ?1");
    query.bind(1, token);
    if (!query.step()) {
        return std::nullopt;
    }
    Token found;
    found.clientId = query.text(0);
    if (!query.isNull(1)) {
        found.bundleId = query.text(1);
    }
    found.expiresAt = query.integer(2);
    return found;
}

void SqliteStore::setTokenApplication(const std::string& token, const std::string& bundleId) {
    std::lock_guard lock(mutex_);
    Statement update(db_.get(), "UPDATE tokens SET bundle_id = ?2 WHERE token = ?1");
    update.bind(1, token).bind(2, bundleId).step();
}

Store::Registration SqliteStore::registerApplication(const std::string& bundleId,
                                                     const std::string& os,
                                                     const std::string& platform,
                                                     const std::string& clientId) {
    std::lock_guard lock(mutex_);
    Statement insert(db_.get(),
                     "INSERT INTO apps(bundle_id, os, platform, registered, created_at, "
                     "owner_client_id) VALUES(?1, ?2, ?3, 1, ?4, ?5) "
                     "ON CONFLICT(bundle_id) DO NOTHING");
    insert.bind(1, bundleId)
        .bind(2, os)
        .bind(3, platform)
        .bind(4, Text::nowIso8601())
        .bind(5, clientId)
        .step();
    if (sqlite3_changes(db_.get()) > 0) {
        return Registration::Created;
    }
    // Known already, perhaps only because it was archived before it ever registered: then
    // the first client to register it becomes its owner.
    Statement update(db_.get(),
                     "UPDATE apps SET os = ?2, platform = ?3, registered = 1, "
                     "owner_client_id = ?4 WHERE bundle_id = ?1 AND "
                     "(owner_client_id IS NULL OR owner_client_id = '' OR owner_client_id = ?4)");
    update.bind(1, bundleId).bind(2, os).bind(3, platform).bind(4, clientId).step();
    return sqlite3_changes(db_.get()) > 0 ? Registration::Updated : Registration::OwnedByAnother;
}

std::optional<Store::Application> SqliteStore::findApplication(const std::string& bundleId) {
    std::lock_guard lock(mutex_);
    Statement query(db_.get(),
                    "SELECT bundle_id, os, platform, archived, registered, created_at, owner_client_id "
                    "FROM apps WHERE bundle_id = ?1");
    query.bind(1, bundleId);
    if (!query.step()) {
        return std::nullopt;
    }
    return applicationFrom(query);
}

void SqliteStore::setArchived(const std::string& bundleId, bool archived) {
    std::lock_guard lock(mutex_);
    Statement upsert(db_.get(),
                     "INSERT INTO apps(bundle_id, archived, created_at) VALUES(?1, ?2, ?3) "
                     "ON CONFLICT(bundle_id) DO UPDATE SET archived = excluded.archived");
    upsert.bind(1, bundleId)
        .bind(2, std::int64_t{archived ? 1 : 0})
        .bind(3, Text::nowIso8601())
        .step();
}

std::vector<Store::Application> SqliteStore::applications() {
    std::lock_guard lock(mutex_);
    Statement query(db_.get(),
                    "SELECT bundle_id, os, platform, archived, registered, created_at, owner_client_id "
                    "FROM apps ORDER BY bundle_id");
    std::vector<Application> apps;
    while (query.step()) {
        apps.push_back(applicationFrom(query));
    }
    return apps;
}

std::optional<std::string> SqliteStore::branding() {
    std::lock_guard lock(mutex_);
    Statement query(db_.get(), "SELECT body FROM branding WHERE id = 1");
    if (!query.step()) {
        return std::nullopt;
    }
    return query.text(0);
}

void SqliteStore::setBranding(const std::string& json) {
    std::lock_guard lock(mutex_);
    Statement upsert(db_.get(),
                     "INSERT INTO branding(id, body, updated_at) VALUES(1, ?1, ?2) "
                     "ON CONFLICT(id) DO UPDATE SET body = excluded.body, "
                     "updated_at = excluded.updated_at");
    upsert.bind(1, json).bind(2, Text::nowIso8601()).step();
}

void SqliteStore::clearBranding() {
    std::lock_guard lock(mutex_);
    Statement remove(db_.get(), "DELETE FROM branding");
    remove.step();
}

void SqliteStore::addFile(const File& file) {
    std::lock_guard lock(mutex_);
    Statement insert(db_.get(),
                     "INSERT INTO files(id, file_name, mime_type, size, client_id, uploaded_at) "
                     "VALUES(?1, ?2, ?3, ?4, ?5, ?6)");
    insert.bind(1, file.id)
        .bind(2, file.fileName)
        .bind(3, file.mimeType)
        .bind(4, file.size)
        .bind(5, file.clientId)
        .bind(6, file.uploadedAt)
        .step();
}

std::optional<Store::File> SqliteStore::findFile(const std::string& id) {
    std::lock_guard lock(mutex_);
    Statement query(db_.get(),
                    "SELECT id, file_name, mime_type, size, client_id, uploaded_at "
                    "FROM files WHERE id = ?1");
    query.bind(1, id);
    if (!query.step()) {
        return std::nullopt;
    }
    File file;
    file.id = query.text(0);
    file.fileName = query.text(1);
    file.mimeType = query.text(2);
    file.size = query.integer(3);
    file.clientId = query.text(4);
    file.uploadedAt = query.text(5);
    return file;
}

std::int64_t SqliteStore::addReport(const Report& report) {
    std::lock_guard lock(mutex_);
    Statement insert(db_.get(),
                     "INSERT INTO reports(bundle_id, received_at, report_type, description, "
                     "tester_email, client_id, body) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7)");
    insert.bind(1, report.bundleId)
        .bind(2, report.receivedAt)
        .bind(3, report.reportType)
        .bind(4, report.description)
        .bind(5, report.testerEmail)
        .bind(6, report.clientId)
        .bindBlob(7, report.body)
        .step();
    return sqlite3_last_insert_rowid(db_.get());
}

namespace {

// The WHERE clause of a report list: ?1 the application, ?2 the text as a LIKE pattern.
constexpr const char* kReportFilter =
    " WHERE (?1 = '' OR bundle_id = ?1) AND "
    "(?2 = '' OR description LIKE ?2 ESCAPE '\\' OR tester_email LIKE ?2 ESCAPE '\\')";

}  // namespace

std::vector<Store::Report> SqliteStore::reports(const ReportQuery& query) {
    std::lock_guard lock(mutex_);
    Statement select(db_.get(),
                     (std::string("SELECT id, bundle_id, received_at, report_type, description, "
                                  "tester_email, client_id, body FROM reports") +
                      kReportFilter + " ORDER BY id DESC LIMIT ?3 OFFSET ?4")
                         .c_str());
    select.bind(1, query.bundleId)
        .bind(2, likePattern(query.text))
        .bind(3, static_cast<std::int64_t>(query.limit))
        .bind(4, static_cast<std::int64_t>(query.offset));
    std::vector<Report> list;
    while (select.step()) {
        list.push_back(reportFrom(select));
    }
    return list;
}

std::size_t SqliteStore::countReports(const ReportQuery& query) {
    std::lock_guard lock(mutex_);
    Statement select(db_.get(),
                     (std::string("SELECT count(*) FROM reports") + kReportFilter).c_str());
    select.bind(1, query.bundleId).bind(2, likePattern(query.text));
    return select.step() ? static_cast<std::size_t>(select.integer(0)) : 0;
}

std::optional<Store::Report> SqliteStore::report(std::int64_t id) {
    std::lock_guard lock(mutex_);
    Statement query(db_.get(),
                    "SELECT id, bundle_id, received_at, report_type, description, tester_email, "
                    "client_id, body FROM reports WHERE id = ?1");
    query.bind(1, id);
    if (!query.step()) {
        return std::nullopt;
    }
    return reportFrom(query);
}

}  // namespace vorna::backend
