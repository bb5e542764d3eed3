// A run against a PostgreSQL server that could not be started skips every test with the
// reason, rather than failing them, or passing them on SQLite unseen.

#include <gtest/gtest.h>

#include <cstdio>

#include "TestDatabase.h"

namespace {

class TestDatabaseEnvironment : public ::testing::Environment {
public:
    void SetUp() override {
        const auto server = vorna::test::TestDatabaseServer::fromEnvironment();
        if (server && !server->skipReason().empty()) {
            // gtest marks no test skipped when the environment skips them all; CTest knows a
            // skipped test by this mark.
            std::printf("[  SKIPPED ] %s\n", server->skipReason().c_str());
            GTEST_SKIP() << server->skipReason();
        }
    }
};

[[maybe_unused]] ::testing::Environment* const kEnvironment =
    ::testing::AddGlobalTestEnvironment(new TestDatabaseEnvironment);

}  // namespace
