#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/loop/VRNDispatchQueue.h"

namespace vorna {

class VRNAPIProtocol;
class VRNVornaReportData;

// Sends one report: builds its document, hands it to the backend client and waits until the
// client has answered, so that the queue it runs on sends one report at a time.
class VRNVornaUploadOperation {
public:
    // initWithFile:andApi:
    VRNVornaUploadOperation(std::shared_ptr<VRNVornaReportData> reportData,
                            std::shared_ptr<VRNAPIProtocol> api);

    void main();

    bool isUploadedSuccessfully() const { return uploadedSuccessfully_; }
    int64_t uploadErrorCode() const { return uploadErrorCode_; }
    const std::shared_ptr<VRNVornaReportData>& reportData() const { return reportData_; }
    const std::shared_ptr<VRNAPIProtocol>& api() const { return api_; }
    // "<VRNVornaUploadOperation: 0x…>", as the log shows it.
    std::string description() const;

    // Runs after main() has finished.
    std::function<void()> completionBlock;

private:
    std::atomic<bool> uploadedSuccessfully_{false};
    std::atomic<int64_t> uploadErrorCode_{0};
    std::shared_ptr<VRNSemaphore> semaphore_ = std::make_shared<VRNSemaphore>(0);
    std::shared_ptr<VRNVornaReportData> reportData_;
    std::shared_ptr<VRNAPIProtocol> api_;
};

}  // namespace vorna
