#include "report/VRNDeclaredPermissions.h"

#include <algorithm>
#include <mutex>
#include <string_view>

#include "vorna/VRNLog.h"
#include "vorna/VornaReportKeys.h"

namespace vorna {
namespace {

constexpr const char* kKnownPermissions[] = {
    kVRNCameraPermission,   kVRNMicrophonePermission,   kVRNContactsPermission,
    kVRNPhotoLibraryPermission, kVRNLocationPermission, kVRNCalendarPermission,
    kVRNMediaLibraryPermission,
};

struct Declared {
    std::mutex mutex;
    std::map<std::string, std::string> granted;
};

Declared& declared() {
    static auto* state = new Declared;
    return *state;
}

bool isKnown(std::string_view key) {
    return std::any_of(std::begin(kKnownPermissions), std::end(kKnownPermissions),
                       [&](const char* known) { return key == known; });
}

}  // namespace

void VRNDeclaredPermissions::declare(const std::map<std::string, std::string>& permissions) {
    std::map<std::string, std::string> granted;
    for (const auto& [key, value] : permissions) {
        if (!isKnown(key)) {
            VRNLog("VRNVorna - Unknown permission \"%s\" declared, left out of reports: the kit "
                   "knows VRN_CameraPermission, VRN_MicrophonePermission, VRN_ContactsPermission, "
                   "VRN_PhotoLibraryPermission, VRN_LocationPermission, VRN_CalendarPermission "
                   "and VRN_MediaLibraryPermission",
                   key.c_str());
            continue;
        }
        if (value == kVRNAccessPermissionNotGranted || value == kVRNAccessPermissionDenied) {
            continue;
        }
        const bool whileUsing = value == kVRNAccessPermissionGrantedWhileUsing;
        if (value != kVRNAccessPermissionGranted &&
            !(whileUsing && key == kVRNLocationPermission)) {
            VRNLog("VRNVorna - Permission %s declared as \"%s\", left out of reports: it can be "
                   "\"on\"%s, \"off\" or \"denied\"",
                   key.c_str(), value.c_str(),
                   key == kVRNLocationPermission ? ", \"only_while_using_the_app\"" : "");
            continue;
        }
        granted.emplace(key, value);
    }
    std::lock_guard lock(declared().mutex);
    declared().granted = std::move(granted);
}

std::map<std::string, std::string> VRNDeclaredPermissions::granted() {
    std::lock_guard lock(declared().mutex);
    return declared().granted;
}

}  // namespace vorna
