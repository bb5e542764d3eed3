#include <fstream>

#include "BackendTestSupport.h"

namespace vorna::backend::test {
namespace {

using nlohmann::json;

HttpAnswer tokenRequest(const BackendProcess& backend, const std::string& body) {
    return backend.request("POST", "/auth/oauth2/token", body,
                           {{"Content-Type", "application/x-www-form-urlencoded"}});
}

TEST_F(BackendTest, TokenGrantAnswersBearerTokenOnlyForKnownCredentials) {
    const HttpAnswer granted = tokenRequest(
        backend(), "grant_type=client_credentials&client_id=test-client&client_secret=test-secret");
    ASSERT_EQ(granted.status, 200) << granted.body;
    const json answer = granted.json();
    EXPECT_FALSE(answer.at("access_token").get<std::string>().empty());
    EXPECT_EQ(answer.at("expires_in"), 3600);
    EXPECT_EQ(answer.at("token_type"), "Bearer");
    EXPECT_NE(answer.at("access_token"), token_) << "every grant is a new token";

    for (const char* body :
         {"grant_type=client_credentials&client_id=test-client&client_secret=wrong",
          "grant_type=client_credentials&client_id=nobody&client_secret=test-secret"}) {
        const HttpAnswer refused = tokenRequest(backend(), body);
        EXPECT_EQ(refused.status, 401) << body;
        EXPECT_EQ(refused.json().at("error"), "invalid_client") << body;
    }
    EXPECT_EQ(tokenRequest(backend(),
                           "grant_type=password&client_id=test-client&client_secret=test-secret")
                  .status,
              400);
    EXPECT_EQ(tokenRequest(backend(), "grant_type=client_credentials").status, 400);
}

TEST(BackendClients, CredentialsComeFromCommandLineClientsFileOrDemoDefault) {
    // The kit puts the id and secret into the form as they stand, unencoded.
    BackendProcess::Options options;
    options.executable = VORNA_BACKEND_EXECUTABLE;
    options.clients = {{"raw-client", "s3+cr%t/=x"}};
    BackendProcess raw(options);
    EXPECT_EQ(tokenRequest(raw,
                           "grant_type=client_credentials&client_id=raw-client&"
                           "client_secret=s3+cr%t/=x")
                  .status,
              200);
    EXPECT_EQ(tokenRequest(raw,
                           "grant_type=client_credentials&client_id=raw-client&"
                           "client_secret=s3%2Bcr%25t%2F%3Dx")
                  .status,
              200)
        << "an encoded secret is accepted too";

    BackendProcess::Options demo;
    demo.executable = VORNA_BACKEND_EXECUTABLE;
    BackendProcess withDefault(demo);
    EXPECT_EQ(tokenRequest(withDefault,
                           "grant_type=client_credentials&client_id=demo-client&"
                           "client_secret=demo-secret")
                  .status,
              200);

    // Clients of the data directory's clients.txt join those of the command line, and the
    // demo pair is no longer accepted.
    std::ofstream(withDefault.dataDir() / "clients.txt") << "# testers\nfile-client:file-secret\n";
    withDefault.restart();
    EXPECT_EQ(tokenRequest(withDefault,
                           "grant_type=client_credentials&client_id=file-client&"
                           "client_secret=file-secret")
                  .status,
              200);
    EXPECT_EQ(tokenRequest(withDefault,
                           "grant_type=client_credentials&client_id=demo-client&"
                           "client_secret=demo-secret")
                  .status,
              401);
    BackendTest::expectCleanStop(raw);
    BackendTest::expectCleanStop(withDefault);
}

TEST_F(BackendTest, ApiCallsWithoutValidBearerTokenAnswer401) {
    const std::vector<std::pair<std::string, std::string>> calls = {
        {"POST", "/api/1.0/issue_tracking/apps"},
        {"GET", "/api/1.0/white-labeling"},
        {"POST", "/api/1.0/files"},
        {"POST", std::string("/api/1.0/issue_tracking/apps/") + kBundleId},
    };
    const std::vector<Headers> badHeaders = {
        {},
        {{"Authorization", "Bearer not-a-token"}},
        {{"Authorization", "Basic " + token_}},
    };
    for (const auto& [method, path] : calls) {
        for (const auto& headers : badHeaders) {
            const HttpAnswer answer = backend().request(method, path, "{}", headers);
            EXPECT_EQ(answer.status, 401) << method << " " << path;
            EXPECT_EQ(answer.json().at("error"), "invalid_token");
        }
    }
}

TEST_F(BackendTest, TokensAndDataSurviveRestart) {
    ASSERT_EQ(registerApp(kBundleId).status, 200);
    backend().archive(kBundleId);
    const int port = backend().port();

    backend().restart();

    EXPECT_EQ(backend().port(), port);
    EXPECT_EQ(registerApp(kBundleId, true).status, 404) << "still archived, token still valid";
    EXPECT_EQ(backend().stop(), 0) << "SIGTERM stops it cleanly";
}

TEST_F(BackendTest, RegistrationIsIdempotentAndEnabledCheckFollowsArchiving) {
    const std::string other = "com.example.other";
    const HttpAnswer unknown = registerApp(kBundleId, true);
    EXPECT_EQ(unknown.status, 200) << "an application never seen is not archived";

    const HttpAnswer first = registerApp(kBundleId);
    ASSERT_EQ(first.status, 200);
    EXPECT_TRUE(first.json().at("created").get<bool>());
    EXPECT_FALSE(registerApp(kBundleId).json().at("created").get<bool>());

    backend().archive(kBundleId);
    EXPECT_EQ(registerApp(kBundleId, true).status, 404);
    EXPECT_EQ(registerApp(other, true).status, 200) << "archiving is per application";
    EXPECT_EQ(registerApp(kBundleId).status, 200) << "registration does not unarchive";
    EXPECT_EQ(registerApp(kBundleId, true).status, 404);

    backend().unarchive(kBundleId);
    EXPECT_EQ(registerApp(kBundleId, true).status, 200);

    // Archiving an application before it ever registered holds once it does.
    backend().archive("com.example.later");
    EXPECT_EQ(registerApp("com.example.later").status, 200);
    EXPECT_EQ(registerApp("com.example.later", true).status, 404);
}

TEST_F(BackendTest, JsonCallsAcceptMergedContentTypesAndRefuseBadBodies) {
    const std::string body = R"({"bundle_id":"com.example.merged","os":"iOS","platform":"iOS"})";
    for (const char* contentType : {"application/x-www-form-urlencoded, application/json",
                                    "application/json, application/json", "text/plain"}) {
        const HttpAnswer answer = backend().request(
            "POST", "/api/1.0/issue_tracking/apps", body,
            {{"Authorization", "Bearer " + token_}, {"Content-Type", contentType}});
        EXPECT_EQ(answer.status, 200) << contentType << ": " << answer.body;
    }

    const HttpAnswer notJson = postJson("/api/1.0/issue_tracking/apps", "{\"bundle_id\": ");
    EXPECT_EQ(notJson.status, 400);
    EXPECT_NE(notJson.json().at("error").get<std::string>().find("not JSON"), std::string::npos);
    EXPECT_EQ(postJson("/api/1.0/issue_tracking/apps", R"({"os":"iOS"})").status, 400);
}

TEST_F(BackendTest, WhiteLabelingAnswers404UntilBrandingIsSetThenItsExactBytes) {
    const Headers auth = {{"Authorization", "Bearer " + token_}};
    EXPECT_EQ(backend().request("GET", "/api/1.0/white-labeling", "", auth).status, 404);

    const std::string branding = R"({
  "updated" : "2024-03-01T12:00:00.000+0000",
  "text_color" : "#FFFFFF", "background" : "#1144f1", "placeholder_color" : "#6182f1",
  "highlighted_text_color" : "#fbc01b", "slogan" : "Report it \u279D",
  "logo_url" : "http://127.0.0.1/logo.png"
})";
    backend().setBrandingBytes(branding);
    const HttpAnswer set = backend().request("GET", "/api/1.0/white-labeling", "", auth);
    EXPECT_EQ(set.status, 200);
    EXPECT_EQ(set.body, branding);
    EXPECT_EQ(set.header("Content-Type"), "application/json");

    backend().clearBranding();
    EXPECT_EQ(backend().request("GET", "/api/1.0/white-labeling", "", auth).status, 404);

    // Setting something that is not a JSON object is refused and changes nothing.
    EXPECT_THROW(backend().setBrandingBytes("not json"), std::runtime_error);
    EXPECT_EQ(backend().request("GET", "/api/1.0/white-labeling", "", auth).status, 404);
}

TEST(BackendStart, CorruptDatabaseStopsStartWithClearMessage) {
    BackendProcess::Options options;
    options.executable = VORNA_BACKEND_EXECUTABLE;
    options.clients = {{kClientId, kClientSecret}};
    options.database = "";  // the SQLite file, whichever database the other tests use
    BackendProcess backend(options);
    const auto database = backend.dataDir() / "vorna-backend.sqlite3";
    backend.stop();
    std::filesystem::remove(backend.dataDir() / "vorna-backend.sqlite3-wal");
    std::filesystem::remove(backend.dataDir() / "vorna-backend.sqlite3-shm");
    std::ofstream(database, std::ios::binary | std::ios::trunc)
        << std::string(8192, 'x') << "this is not a database";

    try {
        backend.restart();
        FAIL() << "the backend started on a corrupt database";
    } catch (const std::runtime_error& e) {
        const std::string message = e.what();
        EXPECT_NE(message.find("exit status 1"), std::string::npos) << message;
        EXPECT_NE(message.find("not a database"), std::string::npos) << message;
    }
}

}  // namespace
}  // namespace vorna::backend::test
