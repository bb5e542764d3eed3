#pragma once

#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "storage/VRNFileManagerProtocol.h"

namespace vorna {

// The store of unsent reports: one keyed archive per report in
// Documents/VornaSavedDataDirectory, named <job id>.vornareportfile. Every operation holds the
// store's own lock for its whole run. A report is written to a temporary file that is synced
// before it takes its name, and the folder is synced after, so a saved report survives a crash
// or a power cut whole or not at all.
class VRNFileManager : public VRNFileManagerProtocol {
public:
    // Under the host's Documents directory unless another is given.
    explicit VRNFileManager(std::filesystem::path documentsDirectory = {});

    std::optional<std::string> saveDataForReportData(
        std::shared_ptr<VRNVornaReportData> reportData) override;
    std::shared_ptr<VRNVornaReportData> loadReportDataForIdentifier(
        const std::string& identifier) override;
    void deleteReportDataForIdentifier(const std::string& identifier) override;
    std::vector<std::string> savedReports() override;
    void deleteAllLocalReportData() override;

    std::filesystem::path documentsDirectory() const;
    // The folder; created when missing.
    std::optional<std::filesystem::path> vornaSavedFolder();
    std::optional<std::filesystem::path> generateFilenameForIdentifier(
        const std::string& identifier);

private:
    std::filesystem::path documentsDirectory_;
    std::recursive_mutex lock_;
};

}  // namespace vorna
