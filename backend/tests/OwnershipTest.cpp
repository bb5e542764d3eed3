#include "BackendTestSupport.h"

namespace vorna::backend::test {
namespace {

using nlohmann::json;

// Two clients of one backend: "owner" registers applications first, "intruder" then tries to
// speak for them.
class OwnershipTest : public ::testing::Test {
protected:
    void SetUp() override {
        BackendProcess::Options options;
        options.executable = VORNA_BACKEND_EXECUTABLE;
        options.clients = {{"owner", "owner-secret"}, {"intruder", "intruder-secret"}};
        backend_ = std::make_unique<BackendProcess>(options);
        owner_ = backend_->accessToken("owner", "owner-secret");
        intruder_ = backend_->accessToken("intruder", "intruder-secret");
    }
    void TearDown() override { BackendTest::expectCleanStop(*backend_); }

    HttpAnswer post(const std::string& token, const std::string& path, const json& body) {
        return backend_->request("POST", path, body.dump(),
                                 {{"Authorization", "Bearer " + token},
                                  {"Accept", "application/json"},
                                  {"Content-Type", "application/json"}});
    }
    HttpAnswer registerApp(const std::string& token, const std::string& bundleId,
                           const std::string& os, bool checkArchived = false) {
        json body = {{"bundle_id", bundleId}, {"os", os}, {"platform", "iOS"}};
        if (checkArchived) {
            body["check_archived"] = true;
        }
        return post(token, "/api/1.0/issue_tracking/apps", body);
    }
    HttpAnswer report(const std::string& token, const std::string& bundleId) {
        return post(token, "/api/1.0/issue_tracking/apps/" + bundleId,
                    {{"report_type", "bug"}, {"description", "from a test"}, {"os", "iOS"}});
    }
    HttpAnswer upload(const std::string& token) {
        const std::string boundary = "Boundary-1";
        return backend_->request(
            "POST", "/api/1.0/files",
            "--Boundary-1\r\nContent-Disposition: form-data; name=\"file\"; "
            "filename=\"a.txt\"\r\nContent-Type: text/plain\r\n\r\nbytes\r\n--Boundary-1--\r\n",
            {{"Content-Type", "multipart/form-data; boundary=" + boundary + ", application/json"},
             {"Authorization", "Bearer " + token}});
    }
    static void expectForeign(const HttpAnswer& answer, const std::string& what) {
        EXPECT_EQ(answer.status, 403) << what << ": " << answer.body;
        EXPECT_EQ(answer.json().at("error"), "application registered by another client") << what;
    }

    std::unique_ptr<BackendProcess> backend_;
    std::string owner_;
    std::string intruder_;
};

TEST_F(OwnershipTest, AnotherClientCannotRegisterCheckReportOrUploadIntoAnApplication) {
    ASSERT_EQ(registerApp(owner_, kBundleId, "iOS").status, 200);
    ASSERT_EQ(report(owner_, kBundleId).status, 200);

    expectForeign(registerApp(intruder_, kBundleId, "Android"), "registration");
    expectForeign(registerApp(intruder_, kBundleId, "iOS", true), "enabled check");
    expectForeign(report(intruder_, kBundleId), "report");
    backend_->archive(kBundleId);
    expectForeign(report(intruder_, kBundleId), "report into an archived application");
    backend_->unarchive(kBundleId);

    // The owner's view is as before: its registration, its check, its one report.
    const HttpAnswer again = registerApp(owner_, kBundleId, "iOS");
    EXPECT_EQ(again.status, 200);
    EXPECT_EQ(again.json().at("os"), "iOS") << "the intruder changed nothing";
    EXPECT_FALSE(again.json().at("created").get<bool>());
    EXPECT_EQ(registerApp(owner_, kBundleId, "iOS", true).status, 200);
    const json reports = backend_->reports();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].at("bundle_id"), kBundleId);

    // The intruder keeps its own applications.
    EXPECT_EQ(registerApp(intruder_, "com.example.intruder", "Android").status, 200);
    EXPECT_EQ(report(intruder_, "com.example.intruder").status, 200);
    expectForeign(report(owner_, "com.example.intruder"), "the other way round");
}

TEST_F(OwnershipTest, UploadsCountForTheApplicationTheTokenSpokeForLast) {
    // The intruder's token checked the application while nobody owned it; the owner registers
    // it afterwards, and from then on the intruder's uploads land in nobody's application.
    ASSERT_EQ(registerApp(intruder_, kBundleId, "iOS", true).status, 200);
    ASSERT_EQ(registerApp(owner_, kBundleId, "iOS").status, 200);
    expectForeign(upload(intruder_), "upload");
    EXPECT_EQ(upload(owner_).status, 200);
}

TEST_F(OwnershipTest, AnApplicationTheAdminArchivedIsClaimedByItsFirstClient) {
    backend_->archive("com.example.early");
    EXPECT_EQ(registerApp(intruder_, "com.example.early", "iOS", true).status, 404)
        << "nobody owns it yet: every client hears it is archived";
    EXPECT_EQ(registerApp(owner_, "com.example.early", "iOS").status, 200);
    EXPECT_EQ(registerApp(owner_, "com.example.early", "iOS", true).status, 404);
    expectForeign(registerApp(intruder_, "com.example.early", "iOS"), "claimed");

    // A report is a claim too, once the application is no longer archived.
    backend_->archive("com.example.reported");
    backend_->unarchive("com.example.reported");
    EXPECT_EQ(report(intruder_, "com.example.reported").status, 200);
    expectForeign(registerApp(owner_, "com.example.reported", "iOS"), "claimed by a report");
}

}  // namespace
}  // namespace vorna::backend::test
