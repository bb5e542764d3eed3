#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <fstream>

#include "platform/storage/VRNBundle.h"
#include "state/VRNAppRepository.h"
#include "state/VRNConstants.h"
#include "state/VRNDateProvider.h"
#include "state/VRNInfoPlist.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

namespace vorna {
namespace {

constexpr const char* kHostPlist = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0">
<dict>
    <key>CFBundleIdentifier</key><string>com.example.host</string>
    <key>CFBundleShortVersionString</key><string>2.3</string>
    <key>CFBundleVersion</key><string>45</string>
    <key>DTPlatformBuild</key><string>22A100</string>
    <key>Vorna</key>
    <dict>
        <key>APIClientID</key><string>id&amp;1</string>
        <key>APIClientSecret</key><string>secret=2</string>
    </dict>
</dict>
</plist>
)";

class Configuration : public testing::Test {
protected:
    // The backend URL of the developer's own environment would change what these tests read.
    void SetUp() override {
        if (const char* url = std::getenv("VORNA_API_URL")) {
            savedApiUrl = url;
        }
        unsetenv("VORNA_API_URL");
    }
    void TearDown() override {
        VRNBundle::setMainInfoPlistPath({});
        if (savedApiUrl) {
            setenv("VORNA_API_URL", savedApiUrl->c_str(), 1);
        } else {
            unsetenv("VORNA_API_URL");
        }
    }
    std::filesystem::path write(const std::string& text) {
        const auto path = dir / "Info.plist";
        std::ofstream(path) << text;
        return path;
    }
    test::TempDir dir;
    test::LogCapture log;
    std::optional<std::string> savedApiUrl;
};

TEST_F(Configuration, HostInfoPlistGivesCredentialsAndBundleIdentifier) {
    VRNBundle::setMainInfoPlistPath(write(kHostPlist));
    const VRNInfoPlist info;
    EXPECT_EQ(info.apiClientID(), "id&1");
    EXPECT_EQ(info.apiClientSecret(), "secret=2");
    EXPECT_EQ(info.hostApplicationBundleId(), "com.example.host");
    EXPECT_EQ(VRNBundle::mainBundle()->stringForKey("DTPlatformBuild"), "22A100");
    EXPECT_EQ(info.apiUrl(), "http://127.0.0.1:8642/");
    EXPECT_EQ(info.helpUrl(), "http://127.0.0.1:8642/help");
    EXPECT_TRUE(log.lines().empty());

    std::string withHelp = kHostPlist;
    withHelp.replace(withHelp.find("</dict>\n</dict>"), 7,
                     "<key>HelpURL</key><string>https://help.example.com/bugs</string></dict>");
    VRNBundle::setMainInfoPlistPath(write(withHelp));
    EXPECT_EQ(VRNInfoPlist().helpUrl(), "https://help.example.com/bugs");
}

TEST_F(Configuration, MissingMalformedOrIncompleteInfoPlistLogsOnceAndAnswersNothing) {
    VRNBundle::setMainInfoPlistPath(dir / "absent.plist");
    EXPECT_FALSE(VRNInfoPlist().apiClientID());
    EXPECT_FALSE(VRNInfoPlist().hostApplicationBundleId());
    ASSERT_FALSE(log.lines().empty());
    EXPECT_EQ(
        log.lines()[0].rfind("VRNBundle - No Info.plist at " + (dir / "absent.plist").string(), 0),
        0u);

    log.clear();
    VRNBundle::setMainInfoPlistPath(write("<plist><dict><key>broken"));
    EXPECT_FALSE(VRNInfoPlist().apiClientSecret());
    ASSERT_FALSE(log.lines().empty());
    EXPECT_NE(log.lines()[0].find("is malformed"), std::string::npos);

    log.clear();
    VRNBundle::setMainInfoPlistPath(write(
        "<plist "
        "version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>a.b</string></dict></plist>"));
    EXPECT_FALSE(VRNInfoPlist().apiClientID());
    EXPECT_FALSE(VRNInfoPlist().apiClientSecret());
    EXPECT_EQ(VRNInfoPlist().hostApplicationBundleId(), "a.b");
    // One line for the missing dictionary, not one per lookup.
    EXPECT_EQ(log.lines().size(), 1u);
    EXPECT_NE(log.lines()[0].find("has no \"Vorna\" dictionary"), std::string::npos);
}

TEST_F(Configuration, InfoPlistWithoutAnIdentifierSaysSoOnceForEachFile) {
    std::string anonymous = kHostPlist;
    anonymous.erase(anonymous.find("    <key>CFBundleIdentifier</key>"),
                    std::string("    <key>CFBundleIdentifier</key><string>com.example.host</string>\n")
                        .size());
    const auto path = write(anonymous);
    VRNBundle::setMainInfoPlistPath(path);
    EXPECT_FALSE(VRNInfoPlist().hostApplicationBundleId());
    EXPECT_FALSE(VRNInfoPlist().hostApplicationBundleId());
    EXPECT_EQ(VRNInfoPlist().apiClientID(), "id&1");
    EXPECT_EQ(log.lines(),
              std::vector<std::string>{
                  "VRNInfoPlist - The host's Info.plist (" + path.string() +
                  ") has no \"CFBundleIdentifier\": the backend cannot register the application "
                  "nor take its reports, and the kit's state folder is named after the executable "
                  "until one is added"});
}

TEST_F(Configuration, HostileInfoPlistCostsALogLineNotTheHost) {
    // A raw NUL inside a string ends the string.
    std::string withNul = kHostPlist;
    withNul.replace(withNul.find("secret=2"), 8, std::string("sec\0ret", 7));
    VRNBundle::setMainInfoPlistPath(write(withNul));
    EXPECT_EQ(VRNInfoPlist().apiClientSecret(), "sec");
    EXPECT_EQ(VRNInfoPlist().apiClientID(), "id&1");

    // Twenty thousand nested arrays: refused as a whole, with one line.
    log.clear();
    std::string deep = "<plist version=\"1.0\"><dict><key>Vorna</key>";
    for (int i = 0; i < 20000; ++i) {
        deep += "<array>";
    }
    for (int i = 0; i < 20000; ++i) {
        deep += "</array>";
    }
    deep += "</dict></plist>";
    VRNBundle::setMainInfoPlistPath(write(deep));
    EXPECT_FALSE(VRNInfoPlist().hostApplicationBundleId());
    ASSERT_FALSE(log.lines().empty());
    EXPECT_NE(log.lines()[0].find("is malformed (it nests deeper than 64 levels)"),
              std::string::npos);
}

TEST_F(Configuration, EnvironmentPointsABuiltKitAtAnotherBackend) {
    VRNBundle::setMainInfoPlistPath(write(kHostPlist));
    const auto built = VRNBundle::vornaBundle()->stringForKey("VORNA_API_URL");
    ASSERT_TRUE(built);

    // Without its trailing slash the paths would run into the host name.
    setenv("VORNA_API_URL", "https://staging.example.com/bugs", 1);
    EXPECT_EQ(VRNInfoPlist().apiUrl(), "https://staging.example.com/bugs/");
    EXPECT_EQ(VRNInfoPlist().helpUrl(), "https://staging.example.com/bugs/help");
    setenv("VORNA_API_URL", "https://staging.example.com/bugs/", 1);
    EXPECT_EQ(VRNInfoPlist().apiUrl(), "https://staging.example.com/bugs/");
    // Said once for the value, however often it is read and however it was spelt.
    EXPECT_EQ(log.lines(),
              std::vector<std::string>{"VRNInfoPlist - The backend URL comes from the environment "
                                       "(VORNA_API_URL): https://staging.example.com/bugs/"});

    log.clear();
    setenv("VORNA_API_URL", "http://10.0.0.2:8642/", 1);
    EXPECT_EQ(VRNInfoPlist().apiUrl(), "http://10.0.0.2:8642/");
    EXPECT_EQ(log.lines().size(), 1u);

    // Empty is unset: the URL the kit was built with, and nothing said about it.
    log.clear();
    setenv("VORNA_API_URL", "", 1);
    EXPECT_EQ(VRNInfoPlist().apiUrl(), built);
    unsetenv("VORNA_API_URL");
    EXPECT_EQ(VRNInfoPlist().apiUrl(), built);
    EXPECT_TRUE(log.lines().empty());
}

class Repository : public testing::Test {
protected:
    test::TempDir dir;
    std::shared_ptr<VRNKeyValueStore> store =
        std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite");
    VRNAppRepository repository{store};
    test::LogCapture log;
};

TEST_F(Repository, FreshInstallDefaultsAndLoggedBooleanSetters) {
    EXPECT_TRUE(repository.applicationActive());
    EXPECT_FALSE(repository.clientAuthorized());
    EXPECT_FALSE(repository.emailAddress());
    EXPECT_FALSE(repository.floatingButtonFrameX());
    repository.setApplicationActive(false);
    repository.setClientAuthorized(true);
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{"VRNAppRepository - Setting application active -> False",
                                        "VRNAppRepository - Setting client authorized -> True"}));
    // Stored as booleans under their keys, read back by a new repository over the same file.
    EXPECT_EQ(store->value("ketrano.applicationActiveKey"), VRNDefaultsValue(false));
    VRNAppRepository again{std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite")};
    EXPECT_FALSE(again.applicationActive());
    EXPECT_TRUE(again.clientAuthorized());
}

TEST_F(Repository, TypedAndRawAccessOverTheirKeys) {
    repository.setEmailAddress("tester@example.com");
    repository.setFloatingButtonFrameX(100.5);
    repository.setFloatingButtonFrameY(200.25);
    repository.setLastUsedColor(VRNDefaultsValue(int64_t{2}));
    EXPECT_EQ(store->value("ketrano.emailAddressKey"),
              VRNDefaultsValue(std::string("tester@example.com")));
    EXPECT_EQ(store->value("ketrano.floatingButtonFrameX"), VRNDefaultsValue(100.5));
    EXPECT_EQ(repository.floatingButtonFrameY(), 200.25);
    EXPECT_EQ(repository.lastUsedColor(), VRNDefaultsValue(int64_t{2}));
    // An empty e-mail is a value; no e-mail removes it.
    repository.setEmailAddress(std::string());
    EXPECT_EQ(repository.emailAddress(), std::string());
    repository.setEmailAddress(std::nullopt);
    EXPECT_FALSE(store->value("ketrano.emailAddressKey"));

    repository.setData(VRNData{1, 2}, "cpuHistoryKey");
    EXPECT_EQ(repository.getData("cpuHistoryKey"), (VRNData{1, 2}));
    repository.setObject(VRNDefaultsValue(std::string("text")), "cpuHistoryKey");
    EXPECT_FALSE(repository.getData("cpuHistoryKey")) << "a non-data value must read as nothing";
    EXPECT_EQ(repository.getObjectForKey("cpuHistoryKey"), VRNDefaultsValue(std::string("text")));
    repository.removeObjectForKey("cpuHistoryKey");
    EXPECT_FALSE(repository.getObjectForKey("cpuHistoryKey"));
    EXPECT_TRUE(log.lines().empty()) << "only the two boolean setters log";
}

class ZoneGuard {
public:
    explicit ZoneGuard(const char* zone) {
        if (const char* old = getenv("TZ")) {
            previous_ = old;
        }
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ZoneGuard() {
        if (previous_) {
            setenv("TZ", previous_->c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }

private:
    std::optional<std::string> previous_;
};

TEST(DateProvider, FormatsLocalTimeWithExtendedOffsetAndIgnoresTheFormatArgument) {
    const auto date =
        std::chrono::system_clock::from_time_t(1709644029);  // 2024-03-05 13:07:09 UTC
    const auto provider = VRNDateProvider::sharedInstance();
    {
        ZoneGuard zone("CET-1");
        EXPECT_EQ(provider->stringFromDate(date, DateFormat_toString), "2024-03-05T14:07:09+01:00");
        EXPECT_EQ(provider->stringFromDate(date, "dd.MM.yy"), "2024-03-05T14:07:09+01:00");
    }
    {
        ZoneGuard zone("UTC0");
        EXPECT_EQ(provider->stringFromDate(date, ""), "2024-03-05T13:07:09Z");
    }
    {
        ZoneGuard zone("<-0330>3:30");
        EXPECT_EQ(provider->stringFromDate(date, ""), "2024-03-05T09:37:09-03:30");
    }
    EXPECT_EQ(provider->timestamp().size(), std::string("2024-03-05T14:07:09+01:00").size() -
                                                (provider->timestamp().back() == 'Z' ? 5 : 0));
}

TEST(Constants, KeysKeepTheirExactSpelling) {
    EXPECT_STREQ(kVRNDeviceOrientation, "VRN_DeviceOrientatio");
    EXPECT_STREQ(kNName, "bNameKey");
    EXPECT_STREQ(kVRNSessionHistoryKey, "sessionStateHistoryKey");
    EXPECT_STREQ(kVRNSessionStateHistory, "VRN_SessionStateHistory");
    EXPECT_EQ(HoriziontalSwipeTranslation, 40.0);
}

}  // namespace
}  // namespace vorna
