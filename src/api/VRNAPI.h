#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "api/VRNAPIProtocol.h"
#include "api/VRNAPIRequests.h"
#include "api/VRNURLSession.h"
#include "platform/loop/VRNRunLoop.h"

namespace vorna {

// The kit's client of the reporting backend: token, registration, enabled check, branding,
// file upload and report post, over one shared HTTP session. Completions run on the session's
// thread, one after another, except the enabled check's, which runs on the main run loop.
class VRNAPI : public VRNAPIProtocol {
public:
    // The backend of the kit's configuration; the enabled check answers on VRNRunLoop::main().
    VRNAPI();
    // `baseUrl` ends with a slash (none makes every request fail); `mainLoop` receives the
    // enabled check's answers (none: VRNRunLoop::main() as it is when the check is sent).
    explicit VRNAPI(std::optional<std::string> baseUrl,
                    std::shared_ptr<VRNRunLoop> mainLoop = nullptr,
                    VRNURLSessionConfiguration configuration = defaultSessionConfiguration());
    ~VRNAPI() override;
    VRNAPI(const VRNAPI&) = delete;
    VRNAPI& operator=(const VRNAPI&) = delete;

    // The platform defaults plus "Content-Type: application/x-www-form-urlencoded" on every
    // request that does not set its own.
    static VRNURLSessionConfiguration defaultSessionConfiguration();

    void authenticateWith(const std::optional<std::string>& clientId,
                          const std::optional<std::string>& secret,
                          AuthCompletion onCompletion) override;
    void getApplicationEnabled(const std::optional<std::string>& bundleId,
                               const std::string& operatingSystem, const std::string& platform,
                               EnabledCompletion completion) override;
    void registerApplication(const std::optional<std::string>& bundleId,
                             const std::string& operatingSystem,
                             const std::string& platform) override;
    void getBrandingOnCompletion(BrandingCompletion onCompletion) override;
    void uploadFile(std::shared_ptr<VRNAPIReportFileProtocol> file,
                    UploadCompletion onCompletion) override;
    // Uploads the screenshot and every attachment at once, waits for all the answers, then
    // posts the report when each upload gave an address; otherwise completes with the error of
    // whichever upload answered last (which may be none). Must not be called on the session's
    // thread, and is meant for a background queue, never the main run loop.
    void sendReport(std::shared_ptr<VRNAPIReport> report, ReportCompletion onCompletion) override;

    // Posts the report document with the uploaded addresses merged in.
    void sendReportPrivate(const std::shared_ptr<VRNAPIReport>& report,
                           const std::optional<std::string>& screenshotUrl,
                           const std::vector<std::string>& files, ReportCompletion onCompletion);

    static VRNData bodyDataFromDictionary(const nlohmann::json& dictionary);
    // Sets "screenshot_url"; no address removes the key.
    static void addScreenshotURL(const std::optional<std::string>& url, nlohmann::json& dictionary);
    // Sets "files" to [{"url": …}, …] in list order; an empty list leaves the document as is.
    static void addFileUrls(const std::vector<std::string>& urls, nlohmann::json& dictionary);

    const std::optional<std::string>& baseUrl() const { return baseUrl_; }
    std::optional<std::string> accessToken() const;
    void setAccessToken(std::optional<std::string> accessToken);
    const VRNURLSessionConfiguration& sessionConfiguration() const;
    VRNURLSession& session() { return *session_; }
    // The request builders with the base URL and the token held now.
    VRNAPIRequests requests() const;

private:
    std::shared_ptr<VRNRunLoop> mainLoop() const;

    const std::optional<std::string> baseUrl_;
    const std::shared_ptr<VRNRunLoop> mainLoop_;
    mutable std::mutex tokenMutex_;
    std::optional<std::string> accessToken_;  // guarded by tokenMutex_
    // Last, so that it goes first: cancelled requests still complete into a whole object.
    std::unique_ptr<VRNURLSession> session_;
};

}  // namespace vorna
