#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/VRNImage.h"

namespace vorna {

class VRNVornaReportData;

// Raised by the permission list when it holds two or more names: its sort compares the first
// key of each element, as if each were a one-entry dictionary, and a name has no keys. Nothing
// in the kit catches it, so a host that declares two or more permissions sees it when the
// tester opens the inspect screen, unless the host catches it itself.
class VRNUnrecognizedSelectorError : public std::invalid_argument {
public:
    VRNUnrecognizedSelectorError()
        : std::invalid_argument(
              "VRNInspectBugVM: the granted permissions were sorted by their first key, and a "
              "permission name has none (unrecognized selector allKeys)") {}
};

// What the inspect screen shows, read from the report's facts each time it is asked; nothing
// is kept.
class VRNInspectBugVM {
public:
    explicit VRNInspectBugVM(std::shared_ptr<VRNVornaReportData> reportData);

    const std::shared_ptr<VRNVornaReportData>& reportData() const { return reportData_; }

    // The facts as they stand; empty when absent.
    std::string osVersion() const;
    std::string appVersion() const;
    std::string network() const;
    std::string currentView() const;
    std::string locale() const;
    // "45% • 922 out of 2048 MB": the share still free, the megabytes free, the megabytes in
    // all. The storage figures are megabytes too and are shown under "GB", as they always were.
    std::string availableMemory() const;
    std::string availableStorage() const;
    // Height before width: "2436 X 1125".
    std::string resolution() const;
    // The host's quick facts, or the translated "Quick Facts not enabled." when there are none.
    std::string quickFacts() const;
    // The names of the permissions the report says were granted, in alphabetical order. Throws
    // VRNUnrecognizedSelectorError for two or more names (see there).
    std::vector<std::string> grantedPermissions() const;
    // A fresh list on every call: the report's screenshot as a picture, when it has one.
    std::vector<VRNImage> attachments() const;

    // The figures of the memory and storage texts, for reading the arithmetic on its own.
    struct Amounts {
        int32_t percentage = 0;
        int32_t amount = 0;
        int32_t total = 0;
    };
    static Amounts amountsOf(double available, double used);

private:
    std::string text(const char* key) const;
    std::string amounts(const char* availableKey, const char* usedKey, const char* unit) const;

    std::shared_ptr<VRNVornaReportData> reportData_;
};

}  // namespace vorna
