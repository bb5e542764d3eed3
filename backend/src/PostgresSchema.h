#pragma once

#include "PostgresConnection.h"

namespace vorna::backend::pg {

// The tables of the backend in a PostgreSQL database, and the steps that bring an older
// database to them. The version is kept in the table schema_version.
class Schema {
public:
    // Numbered as the embedded store's schema is: a version means the same tables in either.
    static constexpr int kVersion = 2;

    // Creates the tables in an empty database or upgrades older ones, in one transaction under
    // an advisory lock, so backends that start at once against one database do it once. Throws
    // StoreError for a database of a newer backend.
    static void prepare(Connection& connection);

    // The version a database is at; 0 for one without the backend's tables.
    static int versionOf(Connection& connection);
};

}  // namespace vorna::backend::pg
