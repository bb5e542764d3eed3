#include "storage/VRNUploader.h"

#include <future>

#include "api/VRNAPIProtocol.h"
#include "platform/loop/VRNRunLoop.h"
#include "state/VRNAppRepository.h"
#include "state/VRNConstants.h"
#include "storage/VRNDeliveryLedger.h"
#include "storage/VRNVornaUploadOperation.h"
#include "vorna/VRNLog.h"

namespace vorna {

std::shared_ptr<VRNUploader> VRNUploader::initWithFileManager(
    std::shared_ptr<VRNFileManagerProtocol> fileManager, std::shared_ptr<VRNAPIProtocol> api,
    Dependencies dependencies) {
    auto uploader = std::make_shared<VRNUploader>(std::move(fileManager), std::move(api),
                                                  std::move(dependencies));
    uploader->startUnsentJobs();
    uploader->addApplicationStateObservers();
    return uploader;
}

VRNUploader::VRNUploader(std::shared_ptr<VRNFileManagerProtocol> fileManager,
                         std::shared_ptr<VRNAPIProtocol> api, Dependencies dependencies)
    : fileManager_(std::move(fileManager)),
      api_(std::move(api)),
      runLoop_(dependencies.runLoop ? std::move(dependencies.runLoop) : VRNRunLoop::main()),
      center_(dependencies.notificationCenter ? *dependencies.notificationCenter
                                              : VRNNotificationCenter::defaultCenter()),
      appRepository_(dependencies.appRepository ? std::move(dependencies.appRepository)
                                                : VRNAppRepository::sharedInstance()),
      ledger_(dependencies.ledger ? std::move(dependencies.ledger) : VRNDeliveryLedger::shared()) {}

VRNUploader::~VRNUploader() {
    cancelTimer();
}

void VRNUploader::uploadData(std::shared_ptr<VRNVornaReportData> reportData) {
    VRNLog("VRNUploader: Got request to upload data");
    std::weak_ptr<VRNUploader> weak = weak_from_this();
    workingQueue_.async([weak, reportData] {
        auto self = weak.lock();
        if (!self) {
            return;
        }
        // Sent even when it could not be saved: the report is still in memory.
        const auto jobId = self->fileManager_
                               ? self->fileManager_->saveDataForReportData(reportData)
                               : std::nullopt;
        self->startUploadOperationWithReportData(reportData, jobId);
    });
}

void VRNUploader::startUnsentJobs() {
    retryUploadNeeded = false;
    std::weak_ptr<VRNUploader> weak = weak_from_this();
    workingQueue_.async([weak] {
        auto self = weak.lock();
        if (!self || !self->fileManager_) {
            return;
        }
        const auto jobs = self->fileManager_->savedReports();
        if (jobs.empty()) {
            VRNLog("VRNUploader: No saved offline jobs");
            return;
        }
        VRNLog("VRNUploader: Got %lu offline jobs to process",
               static_cast<unsigned long>(jobs.size()));
        for (const auto& jobId : jobs) {
            auto reportData = self->fileManager_->loadReportDataForIdentifier(jobId);
            if (!reportData) {
                VRNLog("VRNUploader: Failed to fetch data for %s", jobId.c_str());
                std::lock_guard lock(self->mutex_);
                self->unreadable_.insert(jobId);
                continue;
            }
            self->startUploadOperationWithReportData(std::move(reportData), jobId);
        }
    });
}

void VRNUploader::startUploadOperationWithReportData(std::shared_ptr<VRNVornaReportData> reportData,
                                                     const std::optional<std::string>& jobId) {
    if (!appRepository_->clientAuthorized()) {
        VRNLog("VRNUploader - Will not start upload, client is not authorized");
        return;
    }
    auto operation = std::make_shared<VRNVornaUploadOperation>(std::move(reportData), api_);
    std::weak_ptr<VRNUploader> weakSelf = weak_from_this();
    std::weak_ptr<VRNVornaUploadOperation> weakOperation = operation;
    operation->completionBlock = [weakSelf, weakOperation, jobId] {
        auto self = weakSelf.lock();
        auto finished = weakOperation.lock();
        if (self && finished) {
            self->operationFinished(*finished, jobId);
        }
    };
    VRNLog("VRNUploader: Adding operation to queue for job id %s",
           jobId ? jobId->c_str() : "(null)");
    ++operationCount_;
    // The operations run on the working queue itself, one at a time, after what it already holds.
    workingQueue_.async([weakSelf, operation] {
        operation->main();
        if (auto self = weakSelf.lock()) {
            --self->operationCount_;
        }
        if (operation->completionBlock) {
            operation->completionBlock();
        }
    });
}

void VRNUploader::operationFinished(VRNVornaUploadOperation& operation,
                                    const std::optional<std::string>& jobId) {
    const std::string job = jobId.value_or("(null)");
    if (operation.isUploadedSuccessfully()) {
        VRNLog("VRNUploader: Uploaded succesfully, removing job id %s", job.c_str());
        if (fileManager_) {
            fileManager_->deleteReportDataForIdentifier(job);
        }
        ledger_->reportAccepted(jobId.value_or(std::string()));
    } else if (operation.uploadErrorCode() == VRNErrorApplicationArchived) {
        VRNLog("VRNUploader: Upload failed, application archived, error code -> %ld",
               static_cast<long>(operation.uploadErrorCode()));
        appRepository_->setApplicationActive(false);
        dropAllSavedReports(jobId ? std::nullopt : std::optional<std::string>(std::string()));
    } else {
        VRNLog("VRNUploader: Upload failed, not removing job id %s", job.c_str());
        retryUploadNeeded = true;
    }

    if (operationCount_ != 0) {
        ledger_->changed();
        return;  // the last operation of the round decides
    }
    if (retryUploadNeeded) {
        if (!timerRunning) {
            retryUploadOperations();
        }
    } else {
        VRNLog("VRNUploader: All upload operations completed succesfully");
        cancelTimer();
        delayInterval = initialDelayInterval;
    }
    ledger_->changed();
}

void VRNUploader::dropAllSavedReports(const std::optional<std::string>& unsavedInFlight) {
    if (!fileManager_) {
        return;
    }
    ledger_->dropAllSaved(*fileManager_);
    {
        std::lock_guard lock(mutex_);
        unreadable_.clear();
    }
    if (unsavedInFlight) {
        ledger_->reportDropped(*unsavedInFlight);
    }
}

bool VRNUploader::takeUpQueuedWork(std::chrono::steady_clock::time_point deadline) {
    if (workingQueue_.isCurrent()) {
        return true;
    }
    // Not waitUntilIdle: an upload holds the queue until the backend answers, and the caller
    // has a deadline. The marker only has to pass the saves queued before it.
    auto reached = std::make_shared<std::promise<void>>();
    auto future = reached->get_future();
    workingQueue_.async([reached] { reached->set_value(); });
    return future.wait_until(deadline) == std::future_status::ready;
}

void VRNUploader::startRoundIfIdle() {
    std::weak_ptr<VRNUploader> weak = weak_from_this();
    // Judged on the working queue, where rounds end, so that it never sees a round between its
    // last operation and the decision about a retry.
    workingQueue_.async([weak] {
        auto self = weak.lock();
        if (self && self->operationCount_ == 0 && !timerRunning) {
            self->startUnsentJobs();
        }
    });
}

bool VRNUploader::hasUndeliveredReports() {
    if (operationCount_ != 0) {
        return true;
    }
    if (!fileManager_) {
        return false;
    }
    const auto saved = fileManager_->savedReports();
    std::lock_guard lock(mutex_);
    for (const auto& id : saved) {
        if (unreadable_.count(id) == 0) {
            return true;
        }
    }
    return false;
}

void VRNUploader::retryUploadOperations() {
    cancelTimer();
    timerRunning = true;
    delayInterval = delayInterval * 2;
    VRNLog("VRNUploader - Will retry upload operation after %ld",
           static_cast<long>(delayInterval.load()));
    std::weak_ptr<VRNUploader> weak = weak_from_this();
    runLoop_->runSync([this, weak] {
        auto timer =
            runLoop_->scheduleTimer(static_cast<double>(delayInterval.load()), false, [weak] {
                auto self = weak.lock();
                if (!self) {
                    return;
                }
                VRNLog("VRNUploader - Retrying upload operation");
                timerRunning = false;
                self->startUnsentJobs();
            });
        std::lock_guard lock(mutex_);
        timer_ = std::move(timer);
    });
}

void VRNUploader::addApplicationStateObservers() {
    const std::weak_ptr<VRNUploader> weak = weak_from_this();
    auto foreground = center_.subscribe(VRNApplicationWillEnterForegroundNotification, weak,
                                        &VRNUploader::appWillEnterForeground);
    auto background = center_.subscribe(VRNApplicationDidEnterBackgroundNotification, weak,
                                        &VRNUploader::appDidEnterBackground);
    std::lock_guard lock(mutex_);
    observers_.push_back(std::move(foreground));
    observers_.push_back(std::move(background));
}

void VRNUploader::appWillEnterForeground() {
    VRNLog("VRNUploader - Starting offline jobs after application entered foreground");
    startUnsentJobs();
}

void VRNUploader::appDidEnterBackground() {
    VRNLog(
        "VRNUploader - Application entered background, invalidating timer and reseting delay "
        "times");
    cancelTimer();
    delayInterval = initialDelayInterval;
    timerRunning = false;
}

std::shared_ptr<VRNTimer> VRNUploader::timer() const {
    std::lock_guard lock(mutex_);
    return timer_;
}

void VRNUploader::cancelTimer() {
    std::shared_ptr<VRNTimer> old;
    {
        std::lock_guard lock(mutex_);
        old = std::move(timer_);
    }
    if (old) {
        old->invalidate();
    }
}

}  // namespace vorna
