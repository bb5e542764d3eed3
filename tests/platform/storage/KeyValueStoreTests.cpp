#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <thread>

#include "platform/storage/VRNKeyValueStore.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

namespace vorna {
namespace {

TEST(KeyValueStore, EveryKindReadsBackUnchangedAfterReopening) {
    test::TempDir dir;
    const auto path = dir / "defaults.sqlite";
    const VRNData bytes{0x00, 0xff, 0x10, 0x00};
    {
        VRNKeyValueStore store(path);
        ASSERT_TRUE(store.isPersistent());
        store.setValue("bool", true);
        store.setValue("int", int64_t{-9007199254740993});
        store.setValue("double", 0.1);
        store.setValue("text", std::string("grüße\0x", 8));
        store.setValue("data", bytes);
        store.setValue("object", VRNArchivedObject{bytes});
        store.setValue("gone", std::string("soon"));
        store.removeValue("gone");
        store.setValue("replaced", int64_t{1});
        store.setValue("replaced", std::string("now text"));
    }
    VRNKeyValueStore reopened(path);
    EXPECT_EQ(reopened.value("bool"), VRNDefaultsValue(true));
    EXPECT_EQ(reopened.value("int"), VRNDefaultsValue(int64_t{-9007199254740993}));
    EXPECT_EQ(reopened.value("double"), VRNDefaultsValue(0.1));
    EXPECT_EQ(reopened.value("text"), VRNDefaultsValue(std::string("grüße\0x", 8)));
    EXPECT_EQ(reopened.value("data"), VRNDefaultsValue(bytes));
    EXPECT_EQ(reopened.value("object"), VRNDefaultsValue(VRNArchivedObject{bytes}));
    EXPECT_FALSE(reopened.value("gone").has_value());
    EXPECT_EQ(reopened.value("replaced"), VRNDefaultsValue(std::string("now text")));
}

TEST(KeyValueStore, AValueWrittenSurvivesSigkillRightAfterTheWrite) {
    test::TempDir dir;
    const auto path = dir / "defaults.sqlite";
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        VRNKeyValueStore store(path);
        store.setValue("ketrano.floatingButtonFrameX", 100.5);
        store.setValue("payload", VRNData(12 * 1024, 0x5a));
        ::kill(::getpid(), SIGKILL);
        _exit(1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    VRNKeyValueStore reopened(path);
    EXPECT_EQ(reopened.value("ketrano.floatingButtonFrameX"), VRNDefaultsValue(100.5));
    EXPECT_EQ(reopened.value("payload"), VRNDefaultsValue(VRNData(12 * 1024, 0x5a)));
}

TEST(KeyValueStore, CorruptDatabaseIsMovedAsideWithOneLineAndAFreshStoreWorks) {
    test::TempDir dir;
    const auto path = dir / "defaults.sqlite";
    {
        std::ofstream garbage(path, std::ios::binary);
        garbage << std::string(8192, '\x7f') << "this is not a database";
    }
    test::LogCapture log;
    VRNKeyValueStore store(path);
    EXPECT_TRUE(store.isPersistent());
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_NE(log.lines()[0].find("VRNKeyValueStore - Defaults database " + path.string() +
                                  " is unreadable"),
              std::string::npos);
    // The unreadable file is kept beside, not deleted: nothing is lost for a later look.
    int kept = 0;
    for (const auto& entry : std::filesystem::directory_iterator(dir.path())) {
        kept += entry.path().filename().string().find(".corrupt-") != std::string::npos;
    }
    EXPECT_EQ(kept, 1);
    store.setValue("k", int64_t{7});
    EXPECT_EQ(VRNKeyValueStore(path).value("k"), VRNDefaultsValue(int64_t{7}));
}

TEST(KeyValueStore, UnwritablePlaceKeepsValuesInMemoryWithOneLine) {
    test::TempDir dir;
    // A regular file where the directory should be: nothing can be created under it, root or not.
    { std::ofstream blocker(dir / "blocker"); }
    test::LogCapture log;
    VRNKeyValueStore store(dir / "blocker" / "defaults.sqlite");
    EXPECT_FALSE(store.isPersistent());
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_NE(log.lines()[0].find("keeping values in memory for this run"), std::string::npos);
    store.setValue("k", std::string("v"));
    EXPECT_EQ(store.value("k"), VRNDefaultsValue(std::string("v")));
}

TEST(KeyValueStore, ConcurrentWritersAndReadersLoseNothing) {
    test::TempDir dir;
    const auto path = dir / "defaults.sqlite";
    {
        VRNKeyValueStore store(path);
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&store, t] {
                for (int i = 0; i < 200; ++i) {
                    const auto key = "t" + std::to_string(t) + "-" + std::to_string(i);
                    store.setValue(key, int64_t{i});
                    EXPECT_EQ(store.value(key), VRNDefaultsValue(int64_t{i}));
                }
            });
        }
        for (auto& thread : threads) {
            thread.join();
        }
    }
    VRNKeyValueStore reopened(path);
    for (int t = 0; t < 4; ++t) {
        EXPECT_EQ(reopened.value("t" + std::to_string(t) + "-199"), VRNDefaultsValue(int64_t{199}));
    }
}

}  // namespace
}  // namespace vorna
