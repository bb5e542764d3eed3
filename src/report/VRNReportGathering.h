#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "blackbox/VRNBlackBoxObject.h"
#include "platform/storage/VRNBundle.h"
#include "platform/VRNDeviceProbes.h"
#include "platform/VRNDeviceProvider.h"
#include "vorna/VornaReportData.h"

namespace vorna {

// Where the facts of a report come from. The process-wide sources are the Linux probes, the
// host's bundle, the connectivity monitor, the black box and the session history; tests feed
// their own.
struct VRNReportSources {
    using History = std::vector<std::shared_ptr<VRNBlackBoxObject>>;

    std::shared_ptr<VRNDeviceProbes> probes;
    std::shared_ptr<VRNDeviceProvider> device;
    std::shared_ptr<VRNBundle> mainBundle;
    std::function<bool()> hasConnectivity;
    std::function<std::optional<History>()> sessionHistory;
    // The permissions the application holds, by report key; none: no permission is claimed.
    std::function<std::map<std::string, std::string>()> grantedPermissions;
    // By the report key of the history ("VRN_CpuHistory", …).
    std::function<std::optional<History>(const std::string& key)> blackBoxHistory;
    std::function<std::filesystem::path()> documentsDirectory;
    std::function<std::string()> timestamp;
    std::function<std::optional<std::string>()> systemVersion;
    std::function<std::optional<std::string>()> timeZoneName;
    std::function<std::optional<std::string>()> localeIdentifier;

    static VRNReportSources processWide();
};

// Gathers every fact in the kit's fixed order. Facts that cannot be had are left out.
VRNGatheredDataDict VRNGatherReportFacts(const VRNReportSources& sources);

// The pieces, for the process-wide sources.
std::optional<std::string> VRNLinuxSystemVersion();
std::optional<std::string> VRNLocalTimeZoneName();
std::optional<std::string> VRNCurrentLocaleIdentifier();
// The shortest text that reads back as the same number: 0.75 → "0.75", -1 → "-1".
std::string VRNShortestText(double value);
std::string VRNShortestText(float value);

}  // namespace vorna
