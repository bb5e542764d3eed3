#include "flow/VRNInspectBugVM.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <utility>

#include "flow/VRNReportComposeViewModel.h"
#include "platform/VRNLocalizedString.h"
#include "report/VRNReportGathering.h"
#include "state/VRNConstants.h"
#include "vorna/VornaReportData.h"

namespace vorna {
namespace {

const VRNGatheredValue* valueOf(const VRNVornaReportData* report, const char* key) {
    if (!report || !report->gatheredDataDict()) {
        return nullptr;
    }
    const auto& dict = *report->gatheredDataDict();
    const auto it = dict.find(key);
    return it == dict.end() ? nullptr : &it->second;
}

// A fact as a number, whether it was stored as one or as decimal text; 0 when absent or not a
// number (the leading number of a text is read, as the platform's number reading does).
double numberOf(const VRNGatheredValue* value) {
    if (!value) {
        return 0;
    }
    return std::visit(
        [](const auto& v) -> double {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, std::string>) {
                return std::strtod(v.c_str(), nullptr);
            } else if constexpr (std::is_same_v<T, int64_t> || std::is_same_v<T, double>) {
                return static_cast<double>(v);
            } else if constexpr (std::is_same_v<T, bool>) {
                return v ? 1.0 : 0.0;
            } else {
                return 0.0;
            }
        },
        *value);
}

// A fact as the screens print it: text as it is, numbers in their shortest form.
std::optional<std::string> describe(const VRNGatheredValue* value) {
    if (!value) {
        return std::nullopt;
    }
    return std::visit(
        [](const auto& v) -> std::optional<std::string> {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, std::string>) {
                return v;
            } else if constexpr (std::is_same_v<T, int64_t>) {
                return std::to_string(v);
            } else if constexpr (std::is_same_v<T, double>) {
                return VRNShortestText(v);
            } else if constexpr (std::is_same_v<T, bool>) {
                return std::string(v ? "1" : "0");
            } else {
                return std::nullopt;
            }
        },
        *value);
}

// The platform's 64-bit conversion of a double, which its processors saturate (a value that is
// not a number gives 0), then the 32 bits a "%d" reads of it.
int32_t low32(double whole) {
    int64_t wide = 0;
    if (std::isnan(whole)) {
        wide = 0;
    } else if (whole >= 9223372036854775807.0) {
        wide = std::numeric_limits<int64_t>::max();
    } else if (whole <= -9223372036854775808.0) {
        wide = std::numeric_limits<int64_t>::min();
    } else {
        wide = static_cast<int64_t>(whole);
    }
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(wide)));
}

}  // namespace

VRNInspectBugVM::VRNInspectBugVM(std::shared_ptr<VRNVornaReportData> reportData)
    : reportData_(std::move(reportData)) {}

std::string VRNInspectBugVM::text(const char* key) const {
    return describe(valueOf(reportData_.get(), key)).value_or(std::string());
}

std::string VRNInspectBugVM::osVersion() const {
    return text(kVRNSystemVersion);
}
std::string VRNInspectBugVM::appVersion() const {
    return text(kVRNAppVersion);
}
std::string VRNInspectBugVM::network() const {
    return text(kVRNNetworkName);
}
std::string VRNInspectBugVM::currentView() const {
    return text(kVRNViewControllerName);
}
std::string VRNInspectBugVM::locale() const {
    return text(kVRNLocale);
}

VRNInspectBugVM::Amounts VRNInspectBugVM::amountsOf(double available, double used) {
    // Rounded half away from zero, then cut to 32 bits. With nothing available the division
    // gives no number (or an infinite one), which prints as 0: kept as the screen always had it.
    return Amounts{low32(std::round(100.0 - used * 100.0 / available)),
                   low32(std::round(available - used)), low32(std::trunc(available))};
}

std::string VRNInspectBugVM::amounts(const char* availableKey, const char* usedKey,
                                     const char* unit) const {
    const Amounts figures = amountsOf(numberOf(valueOf(reportData_.get(), availableKey)),
                                      numberOf(valueOf(reportData_.get(), usedKey)));
    char buffer[96];
    std::snprintf(buffer, sizeof buffer, "%d%% \u2022 %d out of %d %s", figures.percentage,
                  figures.amount, figures.total, unit);
    return buffer;
}

std::string VRNInspectBugVM::availableMemory() const {
    return amounts(kVRNAvailableMemory, kVRNUsedMemory, "MB");
}

std::string VRNInspectBugVM::availableStorage() const {
    return amounts(kVRNAvailableDiskSpace, kVRNUsedDiskSpace, "GB");
}

std::string VRNInspectBugVM::resolution() const {
    // Each side as the format prints an object: its description, or "(null)" when absent.
    const auto side = [this](const char* key) {
        return describe(valueOf(reportData_.get(), key)).value_or("(null)");
    };
    return side(kVRNScreenHeight) + " X " + side(kVRNScreenWidth);
}

std::string VRNInspectBugVM::quickFacts() const {
    if (reportData_ && reportData_->quickFacts() && !reportData_->quickFacts()->empty()) {
        return *reportData_->quickFacts();
    }
    return VRNLocalizedString("Quick Facts not enabled.");
}

std::vector<std::string> VRNInspectBugVM::grantedPermissions() const {
    static const std::pair<const char*, const char*> kPermissions[] = {
        {kVRNCalendarPermission, "calendar"},         {kVRNCameraPermission, "camera"},
        {kVRNContactsPermission, "contacts"},         {kVRNLocationPermission, "location"},
        {kVRNMediaLibraryPermission, "medialibrary"}, {kVRNMicrophonePermission, "microphone"},
        {kVRNPhotoLibraryPermission, "photolibrary"},
    };
    std::vector<std::string> names;
    for (const auto& [key, name] : kPermissions) {
        if (valueOf(reportData_.get(), key)) {
            names.emplace_back(name);
        }
    }
    // The list is sorted by a comparator written for one-entry dictionaries; it is only
    // consulted once there are two elements to compare, and a name cannot answer it.
    if (names.size() >= 2) {
        throw VRNUnrecognizedSelectorError();
    }
    return names;
}

std::vector<VRNImage> VRNInspectBugVM::attachments() const {
    return VRNAttachmentImages(reportData_.get());
}

}  // namespace vorna
