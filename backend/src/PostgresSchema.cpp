#include "PostgresSchema.h"

#include <string>

#include "Store.h"

namespace vorna::backend::pg {

namespace {

// Taken for the transaction that creates or upgrades the tables; the number only has to be
// one that nothing else in the database locks ("vornaDB" in ASCII).
constexpr const char* kTakeSchemaLock = "SELECT pg_advisory_xact_lock(33336584520680514)";

// Step n brings a database at version n - 1 to version n.
//
// Texts that clients choose freely but that are only ever shown (a branding, a posted
// report, the name and type an upload declared) are kept as bytes, exactly as they came;
// the columns that are searched and filtered are text.
constexpr const char* kSteps[] = {
    // 1: the tables.
    R"sql(
CREATE TABLE tokens(
    token TEXT PRIMARY KEY,
    client_id TEXT NOT NULL,
    bundle_id TEXT,
    created_at BIGINT NOT NULL,
    expires_at BIGINT NOT NULL);
CREATE TABLE apps(
    bundle_id TEXT PRIMARY KEY,
    os TEXT NOT NULL DEFAULT '',
    platform TEXT NOT NULL DEFAULT '',
    archived BOOLEAN NOT NULL DEFAULT false,
    registered BOOLEAN NOT NULL DEFAULT false,
    created_at TEXT NOT NULL);
CREATE TABLE branding(
    id INTEGER PRIMARY KEY CHECK (id = 1),
    body BYTEA NOT NULL,
    updated_at TEXT NOT NULL);
CREATE TABLE files(
    id TEXT PRIMARY KEY,
    file_name BYTEA NOT NULL,
    mime_type BYTEA NOT NULL,
    size BIGINT NOT NULL,
    client_id TEXT NOT NULL,
    uploaded_at TEXT NOT NULL);
CREATE TABLE reports(
    id BIGSERIAL PRIMARY KEY,
    bundle_id TEXT NOT NULL,
    received_at TEXT NOT NULL,
    report_type TEXT NOT NULL,
    description TEXT NOT NULL,
    tester_email TEXT NOT NULL,
    client_id TEXT NOT NULL,
    body BYTEA NOT NULL);
CREATE INDEX reports_by_bundle ON reports(bundle_id, id);
)sql",
    // 2: applications belong to the client that registered them. An existing one is given to
    // the client that sent its first report; one without reports stays nobody's until a
    // client registers it.
    R"sql(
ALTER TABLE apps ADD COLUMN owner_client_id TEXT;
UPDATE apps SET owner_client_id = (SELECT client_id FROM reports
    WHERE reports.bundle_id = apps.bundle_id ORDER BY id LIMIT 1);
)sql",
};
static_assert(std::size(kSteps) == Schema::kVersion);

}  // namespace

int Schema::versionOf(Connection& connection) {
    const Rows exists = connection.run("SELECT to_regclass('schema_version') IS NOT NULL");
    if (!exists.boolean(0, 0)) {
        return 0;
    }
    const Rows version = connection.run("SELECT max(version) FROM schema_version");
    return version.count() == 0 || version.isNull(0, 0) ? 0
                                                        : static_cast<int>(version.integer(0, 0));
}

void Schema::prepare(Connection& connection) {
    // Any failure leaves the transaction open; the caller drops the connection with it.
    connection.execute("BEGIN");
    connection.execute(kTakeSchemaLock);
    const int version = versionOf(connection);
    if (version > kVersion) {
        connection.execute("ROLLBACK");
        throw StoreError("the database was written by a newer vorna-backend (schema " +
                         std::to_string(version) + ")");
    }
    if (version == kVersion) {
        connection.execute("COMMIT");
        return;
    }
    if (version == 0) {
        connection.execute("CREATE TABLE IF NOT EXISTS schema_version(version INTEGER NOT NULL)");
    }
    for (int step = version + 1; step <= kVersion; ++step) {
        connection.execute(kSteps[step - 1]);
    }
    connection.execute("DELETE FROM schema_version");
    connection.run("INSERT INTO schema_version(version) VALUES($1)", Params().integer(kVersion));
    connection.execute("COMMIT");
}

}  // namespace vorna::backend::pg
