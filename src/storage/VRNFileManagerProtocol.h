#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorna {

class VRNVornaReportData;

// The store of unsent reports: one file per report, named by its job id.
class VRNFileManagerProtocol {
public:
    virtual ~VRNFileManagerProtocol() = default;
    // Saves the report and answers its new job id, or nothing when it could not be saved.
    virtual std::optional<std::string> saveDataForReportData(
        std::shared_ptr<VRNVornaReportData> reportData) = 0;
    virtual std::shared_ptr<VRNVornaReportData> loadReportDataForIdentifier(
        const std::string& identifier) = 0;
    virtual void deleteReportDataForIdentifier(const std::string& identifier) = 0;
    // Job ids of every saved report.
    virtual std::vector<std::string> savedReports() = 0;
    virtual void deleteAllLocalReportData() = 0;
};

}  // namespace vorna
