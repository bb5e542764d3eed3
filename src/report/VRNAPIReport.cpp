#include "report/VRNAPIReport.h"

#include <algorithm>

#include "blackbox/Battery.h"
#include "blackbox/Network.h"
#include "blackbox/Record.h"
#include "state/VRNConstants.h"

namespace vorna {
namespace {

// The platform and type words the backend files the kit's reports under.
constexpr const char* kPlatformWord = "iOS";
constexpr const char* kReportType = "manual";

nlohmann::json toJson(const VRNGatheredValue& value) {
    return std::visit(
        [](const auto& v) -> nlohmann::json {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, std::vector<std::shared_ptr<VRNBlackBoxObject>>>) {
                return nlohmann::json::array();
            } else {
                return v;
            }
        },
        value);
}

std::shared_ptr<VRNAPIReportFile> uploadForm(const std::shared_ptr<VRNVornaFile>& file) {
    return std::make_shared<VRNAPIReportFile>(file->name(), file->data());
}

std::string text(const std::optional<std::string>& value) {
    return value.value_or("");
}

}  // namespace

void VRNAPIReport::populateWith(const VRNVornaReportData& reportData) {
    VRNGatheredDataDict remaining = reportData.gatheredDataDict().value_or(VRNGatheredDataDict{});
    auto take = [&](const char* key) -> Value {
        auto it = remaining.find(key);
        if (it == remaining.end()) {
            return std::nullopt;
        }
        Value value = std::move(it->second);
        remaining.erase(it);
        return value;
    };
    auto takeHistory = [&](const char* key) -> std::optional<History> {
        auto value = take(key);
        if (!value) {
            return std::nullopt;
        }
        if (auto* list = std::get_if<History>(&*value)) {
            return std::move(*list);
        }
        return std::nullopt;
    };

    if (auto input = take(kVRNUserInput)) {
        reportDesc = input;
        title = input;
    }
    userEmail = take(kVRNUserEmail);
    if (reportData.screenshotFile()) {
        screenshotFile_ = uploadForm(reportData.screenshotFile());
    }
    timeZone = take(kVRNTimeZone);
    locale = take(kVRNLocale);
    issueReportedTime = take(kVRNIssueReportedTime);
    operatingSystemVersion = take(kVRNSystemVersion);
    appVersion = take(kVRNAppVersion);
    buildVersion = take(kVRNBuildVersion);
    device = take(kVRNModelName);
    batteryStatus = take(kVRNBatteryStatus);
    batteryLevel = take(kVRNBatteryLevel);
    usedDiskSpace = take(kVRNUsedDiskSpace);
    availableDiskSpace = take(kVRNAvailableDiskSpace);
    usedMemory = take(kVRNUsedMemory);
    usedApplicationMemory = take(kVRNUsedApplicationMemory);
    availableMemory = take(kVRNAvailableMemory);
    deviceOrientation = take(kVRNDeviceOrientation);
    screenHeight = take(kVRNScreenHeight);
    screenWidth = take(kVRNScreenWidth);
    networkName = take(kVRNNetworkName);
    networkType = take(kVRNNetworkType);
    viewControllerName = take(kVRNViewControllerName);
    authentication = take(kVRNAuthentication);
    operatingSystemBuildVersion = take(kVRNSystemBuildVersion);

    Files attachments;
    if (const auto& attached = reportData.attachedFiles()) {
        for (const auto& file : *attached) {
            if (file) {
                attachments.push_back(uploadForm(file));
            }
        }
    }

    std::vector<std::pair<std::string, Value>> granted;
    for (const auto& [key, name] : std::initializer_list<std::pair<const char*, const char*>>{
             {kVRNCalendarPermission, "calendar"},
             {kVRNCameraPermission, "camera"},
             {kVRNContactsPermission, "contacts"},
             {kVRNLocationPermission, "location"},
             {kVRNMediaLibraryPermission, "medialibrary"},
             {kVRNMicrophonePermission, "microphone"},
             {kVRNPhotoLibraryPermission, "photolibrary"}}) {
        if (auto state = take(key)) {
            granted.emplace_back(name, std::move(state));
        }
    }
    std::stable_sort(granted.begin(), granted.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    if (!granted.empty()) {
        permissions = std::move(granted);
    }

    sessionStateHistory = takeHistory(kVRNSessionStateHistory);
    batteryHistory = takeHistory(kVRNBatteryHistory);
    networkHistory = takeHistory(kVRNNetworkHistory);
    cpuHistory = takeHistory(kVRNCpuHistory);
    memoryHistory = takeHistory(kVRNMemoryHistory);
    storageHistory = takeHistory(kVRNStorageHistory);
    orientationHistory = takeHistory(kVRNOrientationHistory);

    files_ = std::move(attachments);
    quickFacts = reportData.quickFacts();
}

nlohmann::json VRNAPIReport::dictValues() const {
    if (document_) {
        return *document_;
    }
    nlohmann::json document = nlohmann::json::object();
    auto put = [&](const char* key, const Value& value) {
        if (value) {
            document[key] = toJson(*value);
        }
    };
    put("title", title);
    put("os_version", operatingSystemVersion);
    put("app_version", appVersion);
    put("build_version", buildVersion);
    put("device", device);
    put("description", reportDesc);
    put("tester_email", userEmail);
    put("locale", locale);
    put("timezone", timeZone);
    put("issue_reported_time", issueReportedTime);
    put("battery_level", batteryLevel);
    put("battery_status", batteryStatus);
    put("available_disk_space", availableDiskSpace);
    put("used_disk_space", usedDiskSpace);
    put("available_memory", availableMemory);
    put("used_memory", usedMemory);
    put("used_application_memory", usedApplicationMemory);
    put("device_orientation", deviceOrientation);
    put("screen_height", screenHeight);
    put("screen_width", screenWidth);
    put("network_name", networkName);
    put("connection_type", networkType);
    put("current_view", viewControllerName);
    // Sent twice on purpose: the backend reads it under both names.
    put("network_type", networkType);
    if (quickFacts) {
        document["quick_facts"] = *quickFacts;
    }
    put("authentication", authentication);
    put("os_build_version", operatingSystemBuildVersion);
    if (permissions && !permissions->empty()) {
        auto list = nlohmann::json::array();
        for (const auto& [name, state] : *permissions) {
            list.push_back({{"name", name}, {"state", state ? toJson(*state) : nlohmann::json()}});
        }
        document["permissions"] = std::move(list);
    }
    document["platform"] = kPlatformWord;
    document["os"] = kPlatformWord;
    document["report_type"] = kReportType;

    if (sessionStateHistory && !sessionStateHistory->empty()) {
        auto list = nlohmann::json::array();
        for (const auto& element : *sessionStateHistory) {
            if (auto record = std::dynamic_pointer_cast<Record>(element)) {
                list.push_back({{"time_occurred", text(record->timestamp())},
                                {"state", text(record->value())}});
            }
        }
        document["sessions"] = std::move(list);
    }

    auto records = [](const History& history) {
        auto list = nlohmann::json::array();
        for (const auto& element : history) {
            if (auto record = std::dynamic_pointer_cast<Record>(element)) {
                list.push_back({{"value", text(record->value())},
                                {"time_occurred", text(record->timestamp())}});
            }
        }
        return list;
    };
    nlohmann::json blackbox = nlohmann::json::object();
    if (cpuHistory && !cpuHistory->empty()) {
        blackbox["cpu_usage_history"] = records(*cpuHistory);
    }
    if (memoryHistory && !memoryHistory->empty()) {
        blackbox["memory_usage_history"] = records(*memoryHistory);
    }
    if (storageHistory && !storageHistory->empty()) {
        blackbox["disk_space_usage_history"] = records(*storageHistory);
    }
    if (batteryHistory && !batteryHistory->empty()) {
        auto list = nlohmann::json::array();
        for (const auto& element : *batteryHistory) {
            if (auto battery = std::dynamic_pointer_cast<Battery>(element)) {
                list.push_back({{"status", text(battery->status())},
                                {"level", text(battery->level())},
                                {"time_occurred", text(battery->timestamp())}});
            }
        }
        blackbox["battery_usage_history"] = std::move(list);
    }
    if (networkHistory && !networkHistory->empty()) {
        auto list = nlohmann::json::array();
        for (const auto& element : *networkHistory) {
            auto network = std::dynamic_pointer_cast<Network>(element);
            // The one history whose elements are checked: a sample without its type or name
            // is left out.
            if (!network || !network->type() || !network->name()) {
                continue;
            }
            list.push_back({{"type", *network->type()},
                            {"name", *network->name()},
                            {"time_occurred", text(network->timestamp())}});
        }
        blackbox["network_usage_history"] = std::move(list);
    }
    if (orientationHistory && !orientationHistory->empty()) {
        blackbox["device_orientation_history"] = records(*orientationHistory);
    }
    document["blackbox"] = std::move(blackbox);
    return document;
}

}  // namespace vorna
