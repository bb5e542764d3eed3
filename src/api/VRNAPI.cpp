#include "api/VRNAPI.h"

#include <cassert>

#include "api/VRNAPIAuthResponse.h"
#include "api/VRNMultiPartForm.h"
#include "api/VRNURLError.h"
#include "platform/loop/VRNDispatchQueue.h"
#include "report/VRNAPIReport.h"
#include "report/VRNAPIReportFile.h"
#include "state/VRNConstants.h"
#include "state/VRNInfoPlist.h"
#include "theme/VRNAPIBrandingResponse.h"
#include "vorna/VRNLog.h"

namespace vorna {
namespace {

const char* describeError(const VRNErrorPtr& error) {
    return error ? error->localizedDescription.c_str() : "(null)";
}

}  // namespace

VRNAPI::VRNAPI() : VRNAPI(VRNInfoPlist().apiUrl()) {}

VRNAPI::VRNAPI(std::optional<std::string> baseUrl, std::shared_ptr<VRNRunLoop> mainLoop,
               VRNURLSessionConfiguration configuration)
    : baseUrl_(std::move(baseUrl)),
      mainLoop_(std::move(mainLoop)),
      session_(std::make_unique<VRNURLSession>(std::move(configuration))) {}

VRNAPI::~VRNAPI() = default;

VRNURLSessionConfiguration VRNAPI::defaultSessionConfiguration() {
    VRNURLSessionConfiguration configuration =
        VRNURLSessionConfiguration::defaultSessionConfiguration();
    configuration.HTTPAdditionalHeaders.emplace_back("Content-Type",
                                                     "application/x-www-form-urlencoded");
    return configuration;
}

std::optional<std::string> VRNAPI::accessToken() const {
    std::lock_guard lock(tokenMutex_);
    return accessToken_;
}

void VRNAPI::setAccessToken(std::optional<std::string> accessToken) {
    std::lock_guard lock(tokenMutex_);
    accessToken_ = std::move(accessToken);
}

const VRNURLSessionConfiguration& VRNAPI::sessionConfiguration() const {
    return session_->configuration();
}

VRNAPIRequests VRNAPI::requests() const {
    return VRNAPIRequests{baseUrl_, accessToken()};
}

std::shared_ptr<VRNRunLoop> VRNAPI::mainLoop() const {
    return mainLoop_ ? mainLoop_ : VRNRunLoop::main();
}

void VRNAPI::authenticateWith(const std::optional<std::string>& clientId,
                              const std::optional<std::string>& secret,
                              AuthCompletion onCompletion) {
    session_->dataTask(
        requests().token(clientId, secret),
        [this, onCompletion = std::move(onCompletion)](VRNURLTaskResult result) {
            if (!result.data) {
                if (onCompletion) {
                    onCompletion(nullptr, result.error);
                }
                return;
            }
            // Whatever the status: an answer without a token replaces the one
            // held before, so a rejected secret leaves no stale token behind.
            auto response = VRNAPIAuthResponse::initWithData(*result.data);
            setAccessToken(response ? std::optional(response->accessToken()) : std::nullopt);
            if (onCompletion) {
                onCompletion(response, nullptr);
            }
        });
}

void VRNAPI::getApplicationEnabled(const std::optional<std::string>& bundleId,
                                   const std::string& operatingSystem, const std::string& platform,
                                   EnabledCompletion completion) {
    session_->dataTask(
        requests().applicationEnabled(bundleId, operatingSystem, platform),
        [loop = mainLoop(), completion = std::move(completion)](VRNURLTaskResult result) {
            std::optional<bool> enabled;
            if (!result.statusCode) {
                enabled = std::nullopt;
            } else if (*result.statusCode == 404) {
                // The backend's way of saying that the application is archived.
                VRNLog("VRNAPI - Application enabled request returned status code 404");
                enabled = false;
            } else if (result.error) {
                VRNLog("VRNAPI - Application enabled request returned error -> %s",
                       result.error->localizedDescription.c_str());
                enabled = std::nullopt;
            } else {
                // Any other status, 401 and 500 included, counts as enabled: only an explicit
                // archive answer may switch reporting off.
                VRNLog("VRNAPI - Application enabled request returned success, status code(%ld)",
                       *result.statusCode);
                enabled = true;
            }
            if (completion) {
                loop->post([completion, enabled] { completion(enabled); });
            }
        });
}

void VRNAPI::registerApplication(const std::optional<std::string>& bundleId,
                                 const std::string& operatingSystem, const std::string& platform) {
    session_->dataTask(requests().registerApplication(bundleId, operatingSystem, platform),
                       [](VRNURLTaskResult result) {
                           const long status = result.statusCode.value_or(0);
                           if (status != 200) {
                               VRNLog("VRNAPI - creating application, status code %ld (not 200)",
                                      status);
                           } else if (result.error) {
                               VRNLog("VRNAPI - error creating application, error: %s",
                                      result.error->localizedDescription.c_str());
                           } else {
                               VRNLog("VRNAPI - Success creating application");
                           }
                       });
}

void VRNAPI::getBrandingOnCompletion(BrandingCompletion onCompletion) {
    session_->dataTask(
        requests().branding(), [onCompletion = std::move(onCompletion)](VRNURLTaskResult result) {
            if (!onCompletion) {
                return;
            }
            if (result.statusCode == 404) {
                // No branding configured: the caller keeps its defaults.
                onCompletion(nullptr, nullptr);
            } else if (result.error || !result.data) {
                onCompletion(nullptr, result.error);
            } else {
                VRNErrorPtr error;
                auto response = VRNAPIBrandingResponse::initWithData(*result.data, &error);
                onCompletion(response, error);
            }
        });
}

void VRNAPI::uploadFile(std::shared_ptr<VRNAPIReportFileProtocol> file,
                        UploadCompletion onCompletion) {
    VRNURLRequest request = requests().uploadFile(file.get(), VRNMultiPartForm::newBoundary());
    session_->dataTask(
        std::move(request), [onCompletion = std::move(onCompletion)](VRNURLTaskResult result) {
            if (!result.data) {
                if (result.error) {
                    VRNLog("VRNAPI: Error uploading file with error %s",
                           result.error->localizedDescription.c_str());
                }
                if (onCompletion) {
                    onCompletion(std::nullopt, result.error);
                }
                return;
            }
            std::optional<std::string> url;
            try {
                const auto json = nlohmann::json::parse(result.data->begin(), result.data->end());
                if (json.is_object()) {
                    const auto found = json.find("url");
                    if (found != json.end() && found->is_string() &&
                        !found->get_ref<const std::string&>().empty()) {
                        url = found->get<std::string>();
                    }
                }
            } catch (const nlohmann::json::exception&) {
                // An answer that is not JSON carries no address; the status decides below.
            }
            if (result.statusCode == 403) {
                VRNLog("VRNAPI: Failed to upload file, application archived, status code 403");
                if (onCompletion) {
                    onCompletion(std::nullopt, VRNErrorWithoutDescription(
                                                   VRNErrorDomainAPI, VRNErrorApplicationArchived));
                }
            } else if (url) {
                VRNLog("VRNAPI: Uploaded file to %s", url->c_str());
                if (onCompletion) {
                    onCompletion(url, nullptr);
                }
            } else {
                VRNLog("VRNAPI: Error uploading file, no error reported");
                if (onCompletion) {
                    onCompletion(std::nullopt, nullptr);
                }
            }
        });
}

void VRNAPI::sendReport(std::shared_ptr<VRNAPIReport> report, ReportCompletion onCompletion) {
    // Waiting here on the session's own thread would wait for answers that thread must deliver.
    assert(!session_->isDelegateQueue());

    // Written only by the upload completions, which run one at a time on the session's thread;
    // the group's wait orders those writes before the reads below.
    struct Answers {
        std::vector<std::string> fileUrls;
        std::optional<std::string> screenshotUrl;
        VRNErrorPtr lastError;
    };
    auto answers = std::make_shared<Answers>();
    auto group = std::make_shared<VRNDispatchGroup>();
    const VRNAPIReport::Files files = report ? report->files() : VRNAPIReport::Files{};

    group->enter();
    uploadFile(report ? report->screenshotFile() : nullptr,
               [answers, group](std::optional<std::string> url, VRNErrorPtr error) {
                   answers->lastError = std::move(error);
                   answers->screenshotUrl = std::move(url);
                   group->leave();
               });
    for (const auto& file : files) {
        group->enter();
        uploadFile(file, [answers, group](std::optional<std::string> url, VRNErrorPtr error) {
            answers->lastError = std::move(error);
            if (url) {
                answers->fileUrls.push_back(std::move(*url));
            }
            group->leave();
        });
    }
    group->wait();

    if (answers->screenshotUrl && answers->fileUrls.size() == files.size()) {
        sendReportPrivate(report, answers->screenshotUrl, answers->fileUrls,
                          std::move(onCompletion));
    } else {
        // The error of whichever upload answered last, even when that one succeeded: the
        // report was not posted either way, and the report says so for the caller.
        if (report) {
            report->setNotPosted(true);
        }
        if (onCompletion) {
            onCompletion(answers->lastError);
        }
    }
}

void VRNAPI::sendReportPrivate(const std::shared_ptr<VRNAPIReport>& report,
                               const std::optional<std::string>& screenshotUrl,
                               const std::vector<std::string>& files,
                               ReportCompletion onCompletion) {
    nlohmann::json dictionary = report ? report->dictValues() : nlohmann::json::object();
    addScreenshotURL(screenshotUrl, dictionary);
    addFileUrls(files, dictionary);
    VRNURLRequest request = requests().report(VRNInfoPlist().hostApplicationBundleId(),
                                              bodyDataFromDictionary(dictionary));
    session_->dataTask(std::move(request), [onCompletion =
                                                std::move(onCompletion)](VRNURLTaskResult result) {
        const long status = result.statusCode.value_or(0);
        if (status == 403) {
            VRNLog(
                "VRNAPI - error uploading report, status code %ld (not 200), application "
                "archived",
                status);
            if (onCompletion) {
                onCompletion(
                    VRNErrorWithoutDescription(VRNErrorDomainAPI, VRNErrorApplicationArchived));
            }
        } else if (status == 200) {
            if (result.error) {
                VRNLog("VRNAPI - error uploading report, error: %s", describeError(result.error));
            } else {
                VRNLog("VRNAPI - Success uploading report");
            }
            if (onCompletion) {
                onCompletion(result.error);
            }
        } else {
            if (onCompletion) {
                onCompletion(VRNErrorWithoutDescription(VRNErrorDomainAPI, VRNErrorAPICode));
            }
            VRNLog("VRNAPI - error uploading report, status code %ld (not 200)", status);
        }
    });
}

VRNData VRNAPI::bodyDataFromDictionary(const nlohmann::json& dictionary) {
    return VRNAPIRequests::jsonBody(dictionary);
}

void VRNAPI::addScreenshotURL(const std::optional<std::string>& url, nlohmann::json& dictionary) {
    if (!dictionary.is_object()) {
        return;
    }
    if (url) {
        dictionary["screenshot_url"] = *url;
    } else {
        dictionary.erase("screenshot_url");
    }
}

void VRNAPI::addFileUrls(const std::vector<std::string>& urls, nlohmann::json& dictionary) {
    if (urls.empty() || !dictionary.is_object()) {
        return;
    }
    nlohmann::json files = nlohmann::json::array();
    for (const auto& url : urls) {
        files.push_back(nlohmann::json::object({{"url", url}}));
    }
    dictionary["files"] = std::move(files);
}

}  // namespace vorna
