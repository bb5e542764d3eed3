#pragma once

#include <algorithm>
#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "storage/VRNFileManagerProtocol.h"

namespace vorna::test {

// A report store in memory, safe from the uploader's queue and the test's thread. It keeps the
// order in which reports were saved, hands out the job ids "JOB-1", "JOB-2" …, and can be told
// to refuse saving, as a full or read-only disk would.
class MemoryStore : public VRNFileManagerProtocol {
public:
    std::optional<std::string> saveDataForReportData(
        std::shared_ptr<VRNVornaReportData> reportData) override {
        std::lock_guard lock(mutex_);
        if (refuseSaves) {
            return std::nullopt;
        }
        std::string id = "JOB-" + std::to_string(++saved_);
        everSaved_.push_back(reportData);
        reports_.emplace_back(id, std::move(reportData));
        return id;
    }
    std::shared_ptr<VRNVornaReportData> loadReportDataForIdentifier(
        const std::string& identifier) override {
        std::lock_guard lock(mutex_);
        const auto found = find(identifier);
        return found == reports_.end() ? nullptr : found->second;
    }
    void deleteReportDataForIdentifier(const std::string& identifier) override {
        std::lock_guard lock(mutex_);
        deleteRequests_.push_back(identifier);
        const auto found = find(identifier);
        if (found != reports_.end()) {
            reports_.erase(found);
        }
    }
    std::vector<std::string> savedReports() override {
        std::lock_guard lock(mutex_);
        std::vector<std::string> ids;
        for (const auto& [id, report] : reports_) {
            ids.push_back(id);
        }
        return ids;
    }
    void deleteAllLocalReportData() override {
        std::lock_guard lock(mutex_);
        reports_.clear();
    }

    // Every report saved, in order, also those deleted since.
    std::vector<std::shared_ptr<VRNVornaReportData>> everSaved() const {
        std::lock_guard lock(mutex_);
        return everSaved_;
    }
    // Every identifier the store was asked to delete, in order, whether it held it or not.
    std::vector<std::string> deleteRequests() const {
        std::lock_guard lock(mutex_);
        return deleteRequests_;
    }

    std::atomic<bool> refuseSaves{false};

private:
    using Entry = std::pair<std::string, std::shared_ptr<VRNVornaReportData>>;
    std::vector<Entry>::iterator find(const std::string& identifier) {
        return std::find_if(reports_.begin(), reports_.end(),
                            [&](const Entry& entry) { return entry.first == identifier; });
    }

    mutable std::mutex mutex_;
    int saved_ = 0;
    std::vector<Entry> reports_;
    std::vector<std::shared_ptr<VRNVornaReportData>> everSaved_;
    std::vector<std::string> deleteRequests_;
};

}  // namespace vorna::test
