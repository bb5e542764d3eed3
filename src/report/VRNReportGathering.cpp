#include "report/VRNReportGathering.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "blackbox/VRNBlackBox.h"
#include "blackbox/VRNSessionReporter.h"
#include "connectivity/VRNConnection.h"
#include "report/VRNDeclaredPermissions.h"
#include "state/VRNConstants.h"
#include "state/VRNDateProvider.h"
#include "vorna/VRNLog.h"

namespace vorna {
namespace {

constexpr double kBytesInMB = static_cast<double>(NUMBER_OF_BYTES_IN_MB);

template <class T>
std::string shortest(T value) {
    char text[64];
    auto result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr);
}

std::optional<std::string> envValue(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') {
        return std::nullopt;
    }
    return std::string(value);
}

}  // namespace

std::string VRNShortestText(double value) {
    return shortest(value);
}
std::string VRNShortestText(float value) {
    return shortest(value);
}

std::optional<std::string> VRNLinuxSystemVersion() {
    // The distribution's version, as a phone reports its system's; the kernel's release where
    // the distribution names none.
    std::ifstream osRelease("/etc/os-release");
    std::string line;
    while (std::getline(osRelease, line)) {
        if (line.rfind("VERSION_ID=", 0) == 0) {
            std::string value = line.substr(11);
            if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'')) {
                value = value.substr(1, value.size() - 2);
            }
            if (!value.empty()) {
                return value;
            }
        }
    }
    utsname names{};
    if (uname(&names) == 0) {
        return std::string(names.release);
    }
    return std::nullopt;
}

std::optional<std::string> VRNLocalTimeZoneName() {
    if (auto tz = envValue("TZ")) {
        std::string name = *tz;
        if (name.front() == ':') {
            name.erase(0, 1);
        }
        // A zone file path names its zone after "zoneinfo/".
        if (auto at = name.find("zoneinfo/"); at != std::string::npos) {
            name = name.substr(at + 9);
        }
        if (!name.empty()) {
            return name;
        }
    }
    std::error_code ec;
    const auto target = std::filesystem::read_symlink("/etc/localtime", ec);
    if (!ec) {
        const std::string text = target.string();
        if (auto at = text.find("zoneinfo/"); at != std::string::npos) {
            return text.substr(at + 9);
        }
    }
    std::ifstream timezone("/etc/timezone");
    std::string name;
    if (std::getline(timezone, name) && !name.empty()) {
        return name;
    }
    return std::string("UTC");
}

std::optional<std::string> VRNCurrentLocaleIdentifier() {
    std::optional<std::string> value = envValue("LC_ALL");
    if (!value) {
        value = envValue("LC_MESSAGES");
    }
    if (!value) {
        value = envValue("LANG");
    }
    if (!value) {
        return std::nullopt;
    }
    std::string identifier = value->substr(0, value->find_first_of(".@"));
    if (identifier == "C" || identifier == "POSIX") {
        return std::string("en_US_POSIX");
    }
    if (identifier.empty()) {
        return std::nullopt;
    }
    return identifier;
}

VRNReportSources VRNReportSources::processWide() {
    VRNReportSources sources;
    sources.probes = VRNDeviceProbes::current();
    sources.device = VRNDeviceProvider::current();
    sources.mainBundle = VRNBundle::mainBundle();
    sources.grantedPermissions = [] { return VRNDeclaredPermissions::granted(); };
    sources.hasConnectivity = [] { return VRNConnection::sharedInstance()->hasConnectivity(); };
    sources.sessionHistory = []() -> std::optional<History> {
        History history;
        for (const auto& record : VRNSessionReporter::sharedInstance()->sessionHistory()) {
            history.push_back(record);
        }
        return history;
    };
    sources.blackBoxHistory = [](const std::string& key) -> std::optional<History> {
        const auto blackBox = VRNBlackBox::sharedInstance();
        if (key == kVRNCpuHistory)
            return blackBox->cpuHistory();
        if (key == kVRNBatteryHistory)
            return blackBox->batteryHistory();
        if (key == kVRNNetworkHistory)
            return blackBox->networkHistory();
        if (key == kVRNMemoryHistory)
            return blackBox->memoryHistory();
        if (key == kVRNStorageHistory)
            return blackBox->diskSpaceHistory();
        if (key == kVRNOrientationHistory)
            return blackBox->orientationHistory();
        return std::nullopt;
    };
    sources.documentsDirectory = [] { return VRNSandbox::documentsDirectory(); };
    sources.timestamp = [] { return VRNDateProvider::sharedInstance()->timestamp(); };
    sources.systemVersion = VRNLinuxSystemVersion;
    sources.timeZoneName = VRNLocalTimeZoneName;
    sources.localeIdentifier = VRNCurrentLocaleIdentifier;
    return sources;
}

VRNGatheredDataDict VRNGatherReportFacts(const VRNReportSources& s) {
    VRNGatheredDataDict dict;
    auto put = [&](const char* key, std::optional<VRNGatheredValue> value) {
        if (value) {
            dict[key] = std::move(*value);
        }
    };
    auto text = [](const std::optional<std::string>& value) -> std::optional<VRNGatheredValue> {
        if (!value) {
            return std::nullopt;
        }
        return VRNGatheredValue(*value);
    };

    put(kVRNModelName, VRNGatheredValue(VRNVornaReportData::deviceName()));
    put(kVRNDeviceType, VRNGatheredValue(std::string("iOS")));
    put(kVRNSystemVersion, text(s.systemVersion ? s.systemVersion() : std::nullopt));
    if (s.mainBundle) {
        put(kVRNAppVersion, text(s.mainBundle->stringForKey("CFBundleShortVersionString")));
        put(kVRNBuildVersion, text(s.mainBundle->stringForKey("CFBundleVersion")));
        put(kVRNSystemBuildVersion, text(s.mainBundle->stringForKey("DTPlatformBuild")));
    }
    // Camera, microphone, contacts, photo library, location, calendar and media library, in
    // that order: a Linux process has no such grants the system could report, so only those the
    // host declared are claimed.
    if (s.grantedPermissions) {
        const auto granted = s.grantedPermissions();
        for (const char* key : {kVRNCameraPermission, kVRNMicrophonePermission,
                                kVRNContactsPermission, kVRNPhotoLibraryPermission,
                                kVRNLocationPermission, kVRNCalendarPermission,
                                kVRNMediaLibraryPermission}) {
            if (const auto found = granted.find(key); found != granted.end()) {
                put(key, VRNGatheredValue(found->second));
            }
        }
    }
    put(kVRNTimeZone, text(s.timeZoneName ? s.timeZoneName() : std::nullopt));
    put(kVRNLocale,
        VRNGatheredValue((s.localeIdentifier ? s.localeIdentifier() : std::nullopt).value_or("-")));
    if (s.timestamp) {
        put(kVRNIssueReportedTime, VRNGatheredValue(s.timestamp()));
    }

    if (s.probes && s.probes->battery) {
        const auto reading = s.probes->battery->batteryReading();
        put(kVRNBatteryStatus, VRNGatheredValue(std::to_string(static_cast<int>(reading.state))));
        put(kVRNBatteryLevel, VRNGatheredValue(VRNShortestText(reading.level)));
    }

    if (s.probes && s.probes->fileSystem && s.documentsDirectory) {
        errno = 0;
        const auto attributes =
            s.probes->fileSystem->attributesOfFileSystemForPath(s.documentsDirectory());
        if (attributes) {
            const double total = static_cast<double>(attributes->totalSize);
            const double free = static_cast<double>(attributes->freeSize);
            put(kVRNAvailableDiskSpace, VRNGatheredValue(VRNShortestText(total / kBytesInMB)));
            put(kVRNUsedDiskSpace, VRNGatheredValue((total - free) / kBytesInMB));
        } else {
            VRNLog("Error obtaining system memory info: Domain = %s, Code = %ld",
                   "NSPOSIXErrorDomain", static_cast<long>(errno));
        }
    }

    if (s.probes && s.probes->memory) {
        const auto resident = s.probes->memory->residentSize();
        const auto physical = s.probes->memory->physicalMemory();
        if (resident && physical) {
            put(kVRNUsedApplicationMemory,
                VRNGatheredValue(static_cast<double>(*resident) / kBytesInMB));
            put(kVRNAvailableMemory, VRNGatheredValue(static_cast<double>(*physical) / kBytesInMB));
        } else {
            VRNLog("Error with task_info(): %s", std::strerror(errno ? errno : ENOENT));
        }
        if (const auto stats = s.probes->memory->hostStatistics()) {
            const double used = static_cast<double>(stats->activeBytes) +
                                static_cast<double>(stats->inactiveBytes) +
                                static_cast<double>(stats->wiredBytes);
            put(kVRNUsedMemory, VRNGatheredValue(used / kBytesInMB));
        } else {
            VRNLog("Error with fetching vm statistic: %s", std::strerror(errno ? errno : ENOENT));
        }
    }

    const auto device = s.device ? s.device : std::make_shared<VRNDeviceProvider>();
    put(kVRNDeviceOrientation, VRNGatheredValue(int64_t{device->deviceOrientation()}));
    const auto screen = device->mainScreen();
    put(kVRNScreenHeight, VRNGatheredValue(static_cast<int64_t>(screen.nativeHeight)));
    put(kVRNScreenWidth, VRNGatheredValue(static_cast<int64_t>(screen.nativeWidth)));

    std::string networkName;
    std::optional<std::string> networkType;
    if (!(s.hasConnectivity && s.hasConnectivity())) {
        networkType = "offline";
    } else {
        const auto ssid = s.probes && s.probes->wifi ? s.probes->wifi->currentSSID() : std::nullopt;
        if (ssid && !ssid->empty()) {
            networkType = "wifi";
            networkName = *ssid;
        } else if (s.probes && s.probes->telephony) {
            networkType = s.probes->telephony->currentRadioAccessTechnology();
        }
    }
    put(kVRNNetworkName, VRNGatheredValue(networkName));
    put(kVRNNetworkType, text(networkType));
    put(kVRNViewControllerName, text(device->topViewControllerName()));
    put(kVRNAuthentication,
        VRNGatheredValue(int64_t{device->canEvaluateOwnerAuthentication() ? 1 : 0}));

    if (s.sessionHistory) {
        if (auto history = s.sessionHistory()) {
            put(kVRNSessionStateHistory, VRNGatheredValue(std::move(*history)));
        }
    }
    if (s.blackBoxHistory) {
        for (const char* key : {kVRNCpuHistory, kVRNBatteryHistory, kVRNNetworkHistory,
                                kVRNMemoryHistory, kVRNStorageHistory, kVRNOrientationHistory}) {
            if (auto history = s.blackBoxHistory(key)) {
                put(key, VRNGatheredValue(std::move(*history)));
            }
        }
    }
    return dict;
}

}  // namespace vorna
