// The instance's side of delivery: waiting until the saved reports are out, and telling the
// host about the reports an archived application drops.
#include <algorithm>
#include <future>

#include "core/VRNVornaInstance.h"
#include "platform/loop/VRNRunLoop.h"
#include "state/VRNAppRepository.h"
#include "storage/VRNDeliveryLedger.h"
#include "storage/VRNFileManagerProtocol.h"
#include "storage/VRNUploaderProtocol.h"

namespace vorna {

bool VRNVornaInstance::performWaitForDelivery(std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + std::max(timeout, {});
    if (timeout <= std::chrono::milliseconds(0)) {
        return !hasUndeliveredReports();
    }
    const uint64_t droppedBefore = ledger_->droppedCount();
    // Reports handed to the kit before the call are first in line on the main loop.
    const auto loop = mainLoop();
    if (!loop->isCurrent()) {
        auto reached = std::make_shared<std::promise<void>>();
        auto future = reached->get_future();
        loop->post([reached] { reached->set_value(); });
        if (future.wait_until(deadline) != std::future_status::ready) {
            return false;
        }
    }
    const auto pipeline = [this] {
        std::lock_guard lock(mutex_);
        return uploader_;
    }();
    if (!pipeline) {
        // Nothing was reported in this process yet: only reports of earlier runs can wait, and
        // they go out with the uploader that the first authorization makes.
        const auto store = fileManager();
        if (!store || store->savedReports().empty()) {
            return true;
        }
    } else if (!pipeline->takeUpQueuedWork(deadline)) {
        return false;
    }
    {
        std::lock_guard lock(mutex_);
        ++waiters_;
    }
    if (pipeline && appRepository_->clientAuthorized()) {
        pipeline->startRoundIfIdle();
    }
    const bool settled = ledger_->waitUntil([this] { return !hasUndeliveredReports(); }, deadline);
    {
        std::lock_guard lock(mutex_);
        --waiters_;
    }
    return settled && ledger_->droppedCount() == droppedBefore;
}

bool VRNVornaInstance::hasUndeliveredReports() {
    std::shared_ptr<VRNUploaderProtocol> current;
    {
        std::lock_guard lock(mutex_);
        current = uploader_;
    }
    if (current) {
        return current->hasUndeliveredReports();
    }
    const auto store = fileManager();
    return store && !store->savedReports().empty();
}

void VRNVornaInstance::dropAllSavedReports() {
    const auto store = fileManager();
    if (!store) {
        return;
    }
    ledger_->dropAllSaved(*store);
    ledger_->changed();
}

}  // namespace vorna
