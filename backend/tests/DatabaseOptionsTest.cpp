#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Options.h"
#include "PostgresConnection.h"

namespace vorna::backend {
namespace {

std::optional<Options> parse(std::vector<std::string> args, std::string& error) {
    return Options::parse(args, error);
}

TEST(DatabaseOptions, DatabaseIsAServerUrlOrAFileAndFilesGoWhereTheyAreSent) {
    std::string error;
    const auto defaults = parse({"--data-dir", "/srv/data"}, error);
    ASSERT_TRUE(defaults) << error;
    EXPECT_EQ(defaults->databaseOrDefault(), "/srv/data/vorna-backend.sqlite3");
    EXPECT_EQ(defaults->filesDirOrDefault(), "/srv/data/files");

    const auto server =
        parse({"--database", "postgres://vorna@db/vorna", "--files-dir=/nfs/f"}, error);
    ASSERT_TRUE(server) << error;
    EXPECT_EQ(server->databaseOrDefault(), "postgres://vorna@db/vorna");
    EXPECT_EQ(server->filesDirOrDefault(), "/nfs/f");

    const auto file = parse({"--database", "reports.sqlite3"}, error);
    ASSERT_TRUE(file) << error;
    EXPECT_EQ(file->databaseOrDefault(), "reports.sqlite3");

    // Another kind of server would otherwise become the name of a SQLite file.
    EXPECT_FALSE(parse({"--database", "mysql://vorna@db/vorna"}, error));
    EXPECT_EQ(error, "--database takes a postgresql:// URL or the path of a SQLite file");
    EXPECT_FALSE(parse({"--database", ""}, error));
    EXPECT_FALSE(parse({"--files-dir", ""}, error));
    EXPECT_EQ(error, "--files-dir needs a directory");
}

TEST(DatabaseOptions, PasswordsNeverShowInTheUrlAsPrinted) {
    using pg::withoutPassword;
    EXPECT_EQ(withoutPassword("postgresql://vorna:s3cret@db:5432/vorna"),
              "postgresql://vorna:***@db:5432/vorna");
    EXPECT_EQ(withoutPassword("postgresql://vorna:p%40ss@[::1]:5432/vorna?sslmode=require"),
              "postgresql://vorna:***@[::1]:5432/vorna?sslmode=require");
    EXPECT_EQ(withoutPassword("postgresql://vorna@db/vorna?sslmode=require&password=s3cret&x=1"),
              "postgresql://vorna@db/vorna?sslmode=require&password=***&x=1");
    // Nothing to hide: unchanged, the colon of an IPv6 address or a port included.
    EXPECT_EQ(withoutPassword("postgresql://vorna@[::1]:5432/vorna"),
              "postgresql://vorna@[::1]:5432/vorna");
    EXPECT_EQ(withoutPassword("postgresql://db:5432"), "postgresql://db:5432");
}

TEST(DatabaseOptions, ServerMessagesBecomeOneLine) {
    EXPECT_EQ(pg::oneLine("connection to server at \"db\" (10.0.0.5), port 5432 failed: "
                          "Connection refused\n\tIs the server running on that host and "
                          "accepting TCP/IP connections?\n"),
              "connection to server at \"db\" (10.0.0.5), port 5432 failed: Connection refused; "
              "Is the server running on that host and accepting TCP/IP connections?");
    EXPECT_EQ(pg::oneLine(""), "unknown PostgreSQL error");
}

}  // namespace
}  // namespace vorna::backend
