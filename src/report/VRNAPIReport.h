#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "report/VRNAPIReportFile.h"
#include "vorna/VornaReportData.h"

namespace vorna {

// One bug report as the backend sees it: typed fields filled from the report data, the JSON
// document built from them, and the files that travel beside it (the screenshot and the
// attachments), which are uploaded first and referenced from the document by their addresses.
class VRNAPIReport {
public:
    using Files = std::vector<std::shared_ptr<VRNAPIReportFileProtocol>>;
    using Value = std::optional<VRNGatheredValue>;
    using History = std::vector<std::shared_ptr<VRNBlackBoxObject>>;

    VRNAPIReport() = default;
    // initWithReportData:
    explicit VRNAPIReport(const VRNVornaReportData& reportData) { populateWith(reportData); }

    void populateWith(const VRNVornaReportData& reportData);
    // The JSON document (an object), built anew at every call.
    nlohmann::json dictValues() const;
    // Replaces the built document outright (a host or a test sending a document of its own).
    void setDocument(nlohmann::json document) { document_ = std::move(document); }

    std::shared_ptr<VRNAPIReportFileProtocol> screenshotFile() const { return screenshotFile_; }
    void setScreenshotFile(std::shared_ptr<VRNAPIReportFileProtocol> file) {
        screenshotFile_ = std::move(file);
    }
    const Files& files() const { return files_; }
    void setFiles(Files files) { files_ = std::move(files); }

    // Set by the backend client when it did not post the document because not every file of
    // the report was uploaded, also where the last upload to answer gave no error: such a
    // report was not delivered, and its sender must keep it.
    bool notPosted() const { return notPosted_; }
    void setNotPosted(bool notPosted) { notPosted_ = notPosted; }

    // The fields keep each value exactly as it was gathered: the battery's status and level and
    // the available disk space are text, the used disk space and the memory figures numbers,
    // and so they travel in the document.
    Value title, reportDesc, userEmail, timeZone, locale, issueReportedTime, operatingSystemVersion,
        appVersion, buildVersion, device, batteryStatus, batteryLevel, usedDiskSpace,
        availableDiskSpace, usedMemory, usedApplicationMemory, availableMemory, deviceOrientation,
        screenHeight, screenWidth, networkName, networkType, viewControllerName, authentication,
        operatingSystemBuildVersion;
    std::optional<std::string> quickFacts;
    // One-entry lists { permission name: state }, sorted by name; absent when none is granted.
    std::optional<std::vector<std::pair<std::string, Value>>> permissions;
    std::optional<History> sessionStateHistory, batteryHistory, networkHistory, cpuHistory,
        memoryHistory, storageHistory, orientationHistory;

private:
    std::shared_ptr<VRNAPIReportFileProtocol> screenshotFile_;
    Files files_;
    std::optional<nlohmann::json> document_;
    bool notPosted_ = false;
};

}  // namespace vorna
