#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "api/VRNAPIProtocol.h"

namespace vorna::test {

// A backend client that records each request and lets the test answer it when it chooses,
// on the thread it chooses.
class FakeAPI : public VRNAPIProtocol {
public:
    struct EnabledCall {
        std::optional<std::string> bundleId;
        std::string operatingSystem;
        std::string platform;
        EnabledCompletion completion;
    };
    struct RegisterCall {
        std::optional<std::string> bundleId;
        std::string operatingSystem;
        std::string platform;
    };

    void authenticateWith(const std::optional<std::string>& clientId,
                          const std::optional<std::string>& secret,
                          AuthCompletion onCompletion) override {
        std::lock_guard lock(mutex);
        authCredentials.emplace_back(clientId, secret);
        authCompletions.push_back(std::move(onCompletion));
        calls.push_back("authenticate");
    }
    void getApplicationEnabled(const std::optional<std::string>& bundleId,
                               const std::string& operatingSystem, const std::string& platform,
                               EnabledCompletion completion) override {
        std::lock_guard lock(mutex);
        enabledCalls.push_back({bundleId, operatingSystem, platform, std::move(completion)});
        calls.push_back("enabled");
    }
    void registerApplication(const std::optional<std::string>& bundleId,
                             const std::string& operatingSystem,
                             const std::string& platform) override {
        std::lock_guard lock(mutex);
        registerCalls.push_back({bundleId, operatingSystem, platform});
        calls.push_back("register");
    }
    void getBrandingOnCompletion(BrandingCompletion onCompletion) override {
        std::lock_guard lock(mutex);
        calls.push_back("branding");
        onCompletion(nullptr, nullptr);
    }
    void uploadFile(std::shared_ptr<VRNAPIReportFileProtocol>,
                    UploadCompletion onCompletion) override {
        std::lock_guard lock(mutex);
        calls.push_back("upload");
        onCompletion(std::nullopt, nullptr);
    }
    void sendReport(std::shared_ptr<VRNAPIReport> report, ReportCompletion onCompletion) override {
        VRNErrorPtr error;
        {
            std::lock_guard lock(mutex);
            calls.push_back("report");
            sentReports.push_back(report);
            if (answerReport) {
                error = answerReport(*report);
            }
        }
        onCompletion(std::move(error));
    }

    size_t authCount() {
        std::lock_guard lock(mutex);
        return authCompletions.size();
    }
    // Answers the oldest unanswered token request.
    void answerAuth(std::shared_ptr<VRNAPIAuthResponse> response, VRNErrorPtr error = nullptr) {
        AuthCompletion completion;
        {
            std::lock_guard lock(mutex);
            completion = authCompletions.at(answeredAuth++);
        }
        completion(std::move(response), std::move(error));
    }
    void failAuth() {
        answerAuth(nullptr,
                   VRNError::make("NSURLErrorDomain", -1004, "Could not connect to the server."));
    }

    size_t reportCount() {
        std::lock_guard lock(mutex);
        return sentReports.size();
    }

    // How each report is answered; none: every report is accepted.
    std::function<VRNErrorPtr(const VRNAPIReport&)> answerReport;

    std::mutex mutex;
    std::vector<std::string> calls;
    std::vector<std::shared_ptr<VRNAPIReport>> sentReports;
    std::vector<std::pair<std::optional<std::string>, std::optional<std::string>>> authCredentials;
    std::vector<AuthCompletion> authCompletions;
    size_t answeredAuth = 0;
    std::vector<EnabledCall> enabledCalls;
    std::vector<RegisterCall> registerCalls;
};

}  // namespace vorna::test
