#pragma once

#include <atomic>

#include "storage/VRNFileManagerProtocol.h"

namespace vorna::test {

// A report store that holds nothing and counts how often everything was deleted: what the
// facade's start-up does to the store when the backend says the application is archived.
class CountingStore : public VRNFileManagerProtocol {
public:
    std::optional<std::string> saveDataForReportData(std::shared_ptr<VRNVornaReportData>) override {
        return std::nullopt;
    }
    std::shared_ptr<VRNVornaReportData> loadReportDataForIdentifier(const std::string&) override {
        return nullptr;
    }
    void deleteReportDataForIdentifier(const std::string&) override {}
    std::vector<std::string> savedReports() override { return {}; }
    void deleteAllLocalReportData() override { ++deleteAllCalls; }
    std::atomic<int> deleteAllCalls{0};
};

}  // namespace vorna::test
