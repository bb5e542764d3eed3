#include <gtest/gtest.h>

#include <random>
#include <set>
#include <thread>

#include "api/VRNAPI.h"
#include "api/VRNAPIAuthResponse.h"
#include "api/VRNURLError.h"
#include "platform/storage/VRNBundle.h"
#include "platform/loop/VRNDispatchQueue.h"
#include "platform/loop/VRNVirtualRunLoop.h"
#include "report/VRNAPIReport.h"
#include "state/VRNConstants.h"
#include "support/BackendProcess.h"
#include "support/LogCapture.h"
#include "theme/VRNAPIBrandingResponse.h"

namespace vorna {
namespace {

using test::BackendFault;
using Clock = std::chrono::steady_clock;

constexpr const char* kBundleId = "com.example.reporter";
constexpr const char* kFiles = "api/1.0/files";
constexpr const char* kApps = "api/1.0/issue_tracking/apps";
constexpr const char* kReport = "api/1.0/issue_tracking/apps/*";
// A request whose reused connection is dropped without an answer is sent again (a few times at
// most), so a drop meant to reach the caller covers every attempt; the rest is cleared after.
constexpr int kDropsToFail = 8;

std::shared_ptr<VRNAPIReportFile> fileOf(const std::string& name, const std::string& bytes) {
    return std::make_shared<VRNAPIReportFile>(
        name, std::make_shared<const VRNData>(VRNData(bytes.begin(), bytes.end())));
}

// Header names of a recorded request, in the order they were sent.
std::vector<std::string> headerNames(const nlohmann::json& entry) {
    std::vector<std::string> names;
    for (const auto& pair : entry.at("headers")) {
        names.push_back(pair.at(0));
    }
    return names;
}

std::string header(const nlohmann::json& entry, const std::string& name) {
    for (const auto& pair : entry.at("headers")) {
        if (pair.at(0) == name) {
            return pair.at(1);
        }
    }
    return {};
}

size_t positionOf(const std::vector<std::string>& names, const std::string& name) {
    return static_cast<size_t>(std::find(names.begin(), names.end(), name) - names.begin());
}

// The backend records a request once it has answered, which may be just after the client saw
// the answer: waits for the newest record of the path.
nlohmann::json lastRequestTo(const test::BackendProcess& backend, const std::string& path) {
    const auto deadline = Clock::now() + std::chrono::seconds(10);
    do {
        const auto all = backend.requests();
        for (auto it = all.rbegin(); it != all.rend(); ++it) {
            if ((*it).at("path") == "/" + path) {
                return *it;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    } while (Clock::now() < deadline);
    ADD_FAILURE() << "no request to " << path << " was recorded";
    return {{"headers", nlohmann::json::array()}, {"body", ""}};
}

class APIBackendTests : public ::testing::Test {
protected:
    using AuthAnswer = std::pair<std::shared_ptr<VRNAPIAuthResponse>, VRNErrorPtr>;
    using UploadAnswer = std::pair<std::optional<std::string>, VRNErrorPtr>;
    using BrandingAnswer = std::pair<std::shared_ptr<VRNAPIBrandingResponse>, VRNErrorPtr>;

    APIBackendTests() {
        VRNBundle::setMainBundle(
            std::make_shared<VRNBundle>(nlohmann::json{{"CFBundleIdentifier", kBundleId}}));
    }
    ~APIBackendTests() override { VRNBundle::setMainBundle(nullptr); }

    // Starts a call and waits for its answer. The slot is shared with the completion, so a
    // completion that comes after the test gave up still writes into something alive.
    template <typename T>
    T await(const std::function<void(std::function<void(T)>)>& start) {
        struct Slot {
            VRNSemaphore done;
            std::mutex mutex;
            T value{};
        };
        auto slot = std::make_shared<Slot>();
        start([slot](T value) {
            {
                std::lock_guard lock(slot->mutex);
                slot->value = std::move(value);
            }
            slot->done.signal();
        });
        EXPECT_TRUE(slot->done.waitFor(std::chrono::seconds(30)));
        std::lock_guard lock(slot->mutex);
        return slot->value;
    }

    AuthAnswer authenticate(const std::string& secret = "secret") {
        return await<AuthAnswer>([&](auto reply) {
            api->authenticateWith("client", secret, [reply](auto r, auto e) { reply({r, e}); });
        });
    }
    UploadAnswer upload(std::shared_ptr<VRNAPIReportFile> file) {
        return await<UploadAnswer>([&](auto reply) {
            api->uploadFile(file, [reply](auto url, auto error) { reply({url, error}); });
        });
    }
    BrandingAnswer branding() {
        return await<BrandingAnswer>([&](auto reply) {
            api->getBrandingOnCompletion([reply](auto r, auto e) { reply({r, e}); });
        });
    }
    // As the uploader calls it: from a queue of its own, which it blocks.
    VRNErrorPtr sendReport(std::shared_ptr<VRNAPIReport> report) {
        return await<VRNErrorPtr>([&](auto reply) {
            uploader.async([this, report, reply] { api->sendReport(report, reply); });
        });
    }
    // The answer, and whether it came on the run loop.
    std::pair<std::optional<bool>, bool> enabled() {
        auto answer = std::make_shared<std::optional<std::pair<std::optional<bool>, bool>>>();
        api->getApplicationEnabled(kBundleId, "Linux", "Desktop",
                                   [answer, loop = loop](std::optional<bool> e) {
                                       *answer = std::make_pair(e, loop->isCurrent());
                                   });
        EXPECT_TRUE(loop->drainUntil([&] { return answer->has_value(); }));
        return answer->value_or(std::make_pair(std::nullopt, false));
    }
    bool logged(const std::string& line) {
        return loop->drainUntil([&] { return log.contains(line); });
    }

    // Authorized and registered, so that uploads count for the test's application.
    void authorizeAndRegister() {
        ASSERT_TRUE(authenticate().first);
        api->registerApplication(kBundleId, "Linux", "Desktop");
        ASSERT_TRUE(logged("VRNAPI - Success creating application"));
    }

    std::shared_ptr<VRNAPIReport> reportWith(size_t attachments) {
        auto report = std::make_shared<VRNAPIReport>();
        report->setDocument({{"title", "Crash on save"}, {"current_view", "Editor/Main"}});
        report->setScreenshotFile(fileOf("screenshot.jpg", "\xFF\xD8\xFF\xE0 jpeg"));
        VRNAPIReport::Files files;
        for (size_t i = 0; i < attachments; ++i) {
            files.push_back(fileOf("log" + std::to_string(i) + ".txt", "line"));
        }
        report->setFiles(files);
        return report;
    }

    test::LogCapture log;
    test::BackendProcess backend{VORNA_BACKEND_BINARY, "client", "secret"};
    std::shared_ptr<VRNVirtualRunLoop> loop = std::make_shared<VRNVirtualRunLoop>();
    std::unique_ptr<VRNAPI> api = std::make_unique<VRNAPI>(backend.baseUrl(), loop);
    VRNDispatchQueue uploader{"VRNUploader-working-queue"};
};

TEST_F(APIBackendTests, TokenIsHeldUntilAnAnswerWithoutOneReplacesIt) {
    const auto [response, error] = authenticate();
    ASSERT_TRUE(response);
    EXPECT_FALSE(error);
    EXPECT_EQ(api->accessToken(), response->accessToken());
    // 401 with a body: an answer without a token, not a transport failure.
    const auto [rejected, rejectedError] = authenticate("wrong");
    EXPECT_FALSE(rejected);
    EXPECT_FALSE(rejectedError);
    EXPECT_EQ(api->accessToken(), std::nullopt);
}

TEST_F(APIBackendTests, EnabledCheckAnswersOnTheRunLoop) {
    authorizeAndRegister();
    EXPECT_EQ(enabled(), std::make_pair(std::optional(true), true));
    EXPECT_TRUE(
        log.contains("VRNAPI - Application enabled request returned success, status code(200)"));

    backend.injectFault(kApps, 1, BackendFault::withStatus(500));
    EXPECT_EQ(enabled().first, true);
    EXPECT_TRUE(
        log.contains("VRNAPI - Application enabled request returned success, status code(500)"));

    backend.injectFault(kApps, kDropsToFail, BackendFault::dropped());
    EXPECT_EQ(enabled(), std::make_pair(std::optional<bool>(), true));
    backend.clearFaults();

    backend.archive(kBundleId);
    EXPECT_EQ(enabled(), std::make_pair(std::optional(false), true));
    EXPECT_TRUE(log.contains("VRNAPI - Application enabled request returned status code 404"));
}

TEST_F(APIBackendTests, RegistrationOnlyLogs) {
    api->registerApplication(kBundleId, "Linux", "Desktop");
    EXPECT_TRUE(logged("VRNAPI - creating application, status code 401 (not 200)"));
    backend.injectFault(kApps, kDropsToFail, BackendFault::dropped());
    api->registerApplication(kBundleId, "Linux", "Desktop");
    EXPECT_TRUE(logged("VRNAPI - creating application, status code 0 (not 200)"));
    backend.clearFaults();
    authorizeAndRegister();
}

TEST_F(APIBackendTests, UploadedFileIsServedBackByteForByte) {
    authorizeAndRegister();
    std::string bytes(300 * 1024, '\0');
    std::mt19937 random(7);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    const auto [url, error] = upload(fileOf("capture.png", bytes));
    ASSERT_TRUE(url && url->starts_with(backend.baseUrl())) << url.value_or("no address");
    EXPECT_FALSE(error);
    EXPECT_TRUE(log.contains("VRNAPI: Uploaded file to " + *url));
    const auto served = backend.request("GET", url->substr(backend.baseUrl().size() - 1));
    EXPECT_TRUE(served.body == bytes);
    EXPECT_EQ(served.header("Content-Type"), "image/png");

    const auto sent = lastRequestTo(backend, kFiles);
    const std::string type = header(sent, "Content-Type");
    const std::string prefix = "multipart/form-data; boundary=Boundary-";
    EXPECT_TRUE(type.starts_with(prefix) && type.ends_with(", application/json")) << type;
    EXPECT_EQ(type.size(), prefix.size() + 36 + std::string(", application/json").size());
    EXPECT_EQ(header(sent, "Authorization"), "Bearer " + *api->accessToken());
    EXPECT_EQ(header(sent, "Expect"), "");
    const auto names = headerNames(sent);
    EXPECT_LT(positionOf(names, "Content-Type"), positionOf(names, "Authorization"));
}

TEST_F(APIBackendTests, UploadAnswersFollowTheStatusRules) {
    authorizeAndRegister();
    backend.injectFault(kFiles, 1, BackendFault::withStatus(200, R"({"id": 3})"));
    EXPECT_EQ(upload(fileOf("a.txt", "a")), UploadAnswer());
    EXPECT_TRUE(log.contains("VRNAPI: Error uploading file, no error reported"));

    // 403 means archived even when the body holds an address.
    backend.injectFault(kFiles, 1, BackendFault::withStatus(403, R"({"url": "http://x/y.jpg"})"));
    auto [forbidden, forbiddenError] = upload(fileOf("a.txt", "a"));
    EXPECT_FALSE(forbidden);
    ASSERT_TRUE(forbiddenError);
    EXPECT_EQ(forbiddenError->domain, VRNErrorDomainAPI);
    EXPECT_EQ(forbiddenError->code, VRNErrorApplicationArchived);
    EXPECT_TRUE(
        log.contains("VRNAPI: Failed to upload file, application archived, status code 403"));

    backend.injectFault(kFiles, kDropsToFail, BackendFault::dropped());
    auto [dropped, droppedError] = upload(fileOf("a.txt", "a"));
    EXPECT_FALSE(dropped);
    ASSERT_TRUE(droppedError);
    EXPECT_EQ(droppedError->domain, NSURLErrorDomain);
    EXPECT_TRUE(log.contains("VRNAPI: Error uploading file with error " +
                             droppedError->localizedDescription));
    backend.clearFaults();

    backend.archive(kBundleId);
    EXPECT_EQ(upload(fileOf("a.txt", "a")).second->code, VRNErrorApplicationArchived);
}

TEST_F(APIBackendTests, ReportIsPostedWithTheUploadedAddresses) {
    authorizeAndRegister();
    EXPECT_FALSE(sendReport(reportWith(0)));
    EXPECT_TRUE(logged("VRNAPI - Success uploading report"));
    auto reports = backend.reports();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].at("bundle_id"), kBundleId);
    const auto& document = reports[0].at("document");
    EXPECT_EQ(document.at("title"), "Crash on save");
    EXPECT_FALSE(document.contains("files"));
    const std::string screenshotUrl = document.at("screenshot_url");
    EXPECT_TRUE(screenshotUrl.ends_with("/screenshot.jpg")) << screenshotUrl;
    // Addresses and paths keep plain slashes on the wire.
    const std::string bytes = backend.reportBytes(reports[0].at("id").get<long long>());
    EXPECT_EQ(bytes.find("\\/"), std::string::npos);
    EXPECT_NE(bytes.find("\"screenshot_url\" : \"" + screenshotUrl + "\""), std::string::npos);

    EXPECT_FALSE(sendReport(reportWith(3)));
    reports = backend.reports();
    ASSERT_EQ(reports.size(), 2u);
    std::set<std::string> names;
    for (const auto& file : reports[0].at("document").at("files")) {
        EXPECT_EQ(file.size(), 1u);
        const std::string url = file.at("url");
        names.insert(url.substr(url.rfind('/') + 1));
    }
    EXPECT_EQ(names, (std::set<std::string>{"log0.txt", "log1.txt", "log2.txt"}));
}

TEST_F(APIBackendTests, OneFailedUploadStopsThePostAndTheLastAnswerDecidesTheError) {
    authorizeAndRegister();
    // An empty pool: each upload gets a fresh connection, so a dropped one is not sent again.
    const auto token = api->accessToken();
    api = std::make_unique<VRNAPI>(backend.baseUrl(), loop);
    api->setAccessToken(token);
    // The upload that arrives first loses its connection, late: it answers last.
    BackendFault lateDrop = BackendFault::dropped();
    lateDrop.delayMs = 1000;
    backend.injectFault(kFiles, 1, lateDrop);
    const VRNErrorPtr error = sendReport(reportWith(3));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain, NSURLErrorDomain);

    // The first fails at once, the others answer later and well: not posted, and no error.
    log.clear();
    backend.injectFault(kFiles, 1, BackendFault::withStatus(500));
    backend.injectFault(kFiles, 3, BackendFault::withDelay(1000));
    EXPECT_FALSE(sendReport(reportWith(3)));
    EXPECT_EQ(log.count("VRNAPI: Error uploading file, no error reported"), 1u);
    EXPECT_TRUE(backend.reports().empty());
}

TEST_F(APIBackendTests, ReportPostStatusesBecomeAPIErrors) {
    authorizeAndRegister();
    backend.injectFault(kReport, 1, BackendFault::withStatus(500));
    VRNErrorPtr error = sendReport(reportWith(1));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain, VRNErrorDomainAPI);
    EXPECT_EQ(error->code, VRNErrorAPICode);
    EXPECT_TRUE(logged("VRNAPI - error uploading report, status code 500 (not 200)"));

    backend.injectFault(kReport, kDropsToFail, BackendFault::dropped());
    error = sendReport(reportWith(0));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, VRNErrorAPICode);
    EXPECT_TRUE(logged("VRNAPI - error uploading report, status code 0 (not 200)"));
    backend.clearFaults();

    backend.injectFault(kReport, 1, BackendFault::withStatus(403));
    error = sendReport(reportWith(0));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, VRNErrorApplicationArchived);
    EXPECT_TRUE(log.contains(
        "VRNAPI - error uploading report, status code 403 (not 200), application archived"));
    EXPECT_TRUE(backend.reports().empty());
}

TEST_F(APIBackendTests, BrandingAnswers) {
    authorizeAndRegister();
    EXPECT_EQ(branding(), BrandingAnswer());  // none set: 404

    nlohmann::json look = {{"updated", "2024-05-01T10:00:00.000+0000"},
                           {"text_color", "#FFFFFF"},
                           {"background", "#1144f1"},
                           {"placeholder_color", "#6182f1"},
                           {"highlighted_text_color", "#fbc01b"},
                           {"slogan", "Found a bug?"},
                           {"logo_url", "http://127.0.0.1/logo.png"}};
    backend.setBranding(look);
    auto [response, error] = branding();
    ASSERT_TRUE(response);
    EXPECT_FALSE(error);
    EXPECT_EQ(response->slogan(), "Found a bug?");

    backend.injectFault("api/1.0/white-labeling", 1, BackendFault::withStatus(200, "not json"));
    const VRNErrorPtr garbled = branding().second;
    ASSERT_TRUE(garbled);
    EXPECT_EQ(garbled->domain, "NSURLErrorDomain");
    EXPECT_EQ(garbled->code, 100);

    backend.injectFault("api/1.0/white-labeling", kDropsToFail, BackendFault::dropped());
    const VRNErrorPtr dropped = branding().second;
    ASSERT_TRUE(dropped);
    EXPECT_EQ(dropped->code, NSURLErrorNetworkConnectionLost);
}

TEST_F(APIBackendTests, StalledRequestTimesOutAfterTheIdleInterval) {
    VRNURLSessionConfiguration configuration = VRNAPI::defaultSessionConfiguration();
    configuration.timeoutIntervalForRequest = 1;
    api = std::make_unique<VRNAPI>(backend.baseUrl(), loop, configuration);
    backend.injectFault("auth/oauth2/token", 1, BackendFault::withDelay(2500));
    const auto begin = Clock::now();
    const auto [response, error] = authenticate();
    EXPECT_LT(Clock::now() - begin, std::chrono::milliseconds(2200));
    EXPECT_FALSE(response);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, NSURLErrorTimedOut);
}

TEST_F(APIBackendTests, DestroyingTheClientCancelsWhatIsQueuedOrInFlight) {
    backend.injectFault("auth/oauth2/token", 2, BackendFault::withDelay(3000));
    std::mutex mutex;
    std::vector<VRNErrorPtr> errors;
    const auto record = [&](auto, VRNErrorPtr error) {
        std::lock_guard lock(mutex);
        errors.push_back(error);
    };
    api->authenticateWith("client", "secret", record);
    // Long enough for the first request to reach the backend, which holds it.
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    api->authenticateWith("client", "secret", record);
    const auto begin = Clock::now();
    api.reset();
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(2));
    ASSERT_EQ(errors.size(), 2u);
    for (const auto& error : errors) {
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, NSURLErrorCancelled);
    }
}

TEST_F(APIBackendTests, RefusedConnectionIsATransportError) {
    backend.stop();
    const auto [response, error] = authenticate();
    EXPECT_FALSE(response);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain, NSURLErrorDomain);
    EXPECT_EQ(error->code, NSURLErrorCannotConnectToHost);
    EXPECT_FALSE(error->localizedDescription.empty());
}

}  // namespace
}  // namespace vorna
