#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>

#include "platform/storage/VRNKeyedArchive.h"
#include "vorna/VornaReportData.h"

namespace vorna {

// The keyed-archive form of a report: "VRNVornaReportData" with its four keys
// ("kGatheredDataKey", "attachedFilesKey", "screenshotFileKey", "quickFactsKey", written in
// that order) and "VRNVornaFile" with "nameKey" and "dataKey". The host-facing classes stay
// free of the archive; these adapters carry them in and out.
class VRNReportArchiving {
public:
    // Registers the report's classes (and the black box's) with the archive. Idempotent.
    static void registerArchiveClasses();

    static VRNArchiveValue encode(const std::shared_ptr<VRNVornaReportData>& reportData);
    static VRNArchiveValue encode(const std::shared_ptr<VRNVornaFile>& file);
    static VRNData archive(const std::shared_ptr<VRNVornaReportData>& reportData);

    // The classes a saved report may hold, ten in all.
    static const std::set<std::string>& allowedClasses();
    // Reads a saved report with the allow-list; nothing and an error when it cannot.
    static std::shared_ptr<VRNVornaReportData> unarchive(const VRNData& data, VRNErrorPtr* error);

    static std::optional<VRNGatheredValue> gatheredValue(const VRNArchiveValue& value);
    static VRNArchiveValue archiveValue(const VRNGatheredValue& value);
};

}  // namespace vorna
