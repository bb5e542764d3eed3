#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/loop/VRNDispatchQueue.h"
#include "platform/loop/VRNNotificationCenter.h"
#include "storage/VRNFileManagerProtocol.h"
#include "storage/VRNUploaderProtocol.h"

namespace vorna {

class VRNAPIProtocol;
class VRNAppRepository;
class VRNDeliveryLedger;
class VRNRunLoop;
class VRNTimer;
class VRNVornaUploadOperation;

// Makes each finished report durable in the report store, then sends the saved reports one at
// a time. A report leaves the disk only once the backend has accepted it (or has archived the
// application). Reports that could not be sent are tried again at the next start, when the
// application returns to the foreground, and on a retry timer whose delay doubles after every
// failed round: 10, 20, 40 … seconds.
//
// Threads: saving, listing, loading and the upload operations all run on the serial queue
// "VRNUploader-working-queue", one operation at a time, each blocking the queue until the
// backend has answered; the retry timer lives on the main run loop.
class VRNUploader : public VRNUploaderProtocol, public std::enable_shared_from_this<VRNUploader> {
public:
    struct Dependencies {
        std::shared_ptr<VRNRunLoop> runLoop;                  // none: the main run loop
        VRNNotificationCenter* notificationCenter = nullptr;  // none: the default centre
        std::shared_ptr<VRNAppRepository> appRepository;      // none: the shared repository
        std::shared_ptr<VRNDeliveryLedger> ledger;            // none: the shared ledger
    };

    // initWithFileManager:andApi: — makes the uploader, starts the saved jobs and observes the
    // application's foreground and background.
    static std::shared_ptr<VRNUploader> initWithFileManager(
        std::shared_ptr<VRNFileManagerProtocol> fileManager, std::shared_ptr<VRNAPIProtocol> api,
        Dependencies dependencies);
    static std::shared_ptr<VRNUploader> initWithFileManager(
        std::shared_ptr<VRNFileManagerProtocol> fileManager, std::shared_ptr<VRNAPIProtocol> api) {
        return initWithFileManager(std::move(fileManager), std::move(api), Dependencies());
    }

    VRNUploader(std::shared_ptr<VRNFileManagerProtocol> fileManager,
                std::shared_ptr<VRNAPIProtocol> api, Dependencies dependencies);
    ~VRNUploader() override;
    VRNUploader(const VRNUploader&) = delete;
    VRNUploader& operator=(const VRNUploader&) = delete;

    void uploadData(std::shared_ptr<VRNVornaReportData> reportData) override;
    bool takeUpQueuedWork(std::chrono::steady_clock::time_point deadline) override;
    void startRoundIfIdle() override;
    bool hasUndeliveredReports() override;
    void startUnsentJobs();
    void startUploadOperationWithReportData(std::shared_ptr<VRNVornaReportData> reportData,
                                            const std::optional<std::string>& jobId);
    void addApplicationStateObservers();
    void appWillEnterForeground();
    void appDidEnterBackground();
    void retryUploadOperations();

    // Operations added and not yet finished.
    size_t operationCount() const { return operationCount_; }
    std::shared_ptr<VRNTimer> timer() const;
    const std::shared_ptr<VRNFileManagerProtocol>& fileManager() const { return fileManager_; }
    // Waits until the working queue has run what was handed to it before the call.
    void waitUntilIdle() { workingQueue_.waitUntilIdle(); }

private:
    void operationFinished(VRNVornaUploadOperation& operation,
                           const std::optional<std::string>& jobId);
    void cancelTimer();
    void dropAllSavedReports(const std::optional<std::string>& unsavedInFlight);

    std::shared_ptr<VRNFileManagerProtocol> fileManager_;
    std::shared_ptr<VRNAPIProtocol> api_;
    std::shared_ptr<VRNRunLoop> runLoop_;
    VRNNotificationCenter& center_;
    std::shared_ptr<VRNAppRepository> appRepository_;
    std::shared_ptr<VRNDeliveryLedger> ledger_;
    std::atomic<size_t> operationCount_{0};
    mutable std::mutex mutex_;
    std::shared_ptr<VRNTimer> timer_;
    // Saved reports that could not be read back: they stay on disk, but nobody waits for them.
    std::set<std::string> unreadable_;
    // Their observers hold the uploader weakly: nothing they reach goes before them.
    std::vector<VRNNotificationCenter::Subscription> observers_;
    // Last, so that it is joined first: no queued work outlives the members above.
    VRNDispatchQueue workingQueue_{"VRNUploader-working-queue"};
};

}  // namespace vorna
