#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "vorna/VornaFile.h"

namespace vorna {

class VRNBlackBoxObject;

// One gathered fact, with its exact kind: the report document sends some facts as text and
// others as numbers, and the histories as lists of samples.
using VRNGatheredValue = std::variant<std::string, int64_t, double, bool,
                                      std::vector<std::shared_ptr<VRNBlackBoxObject>>>;
// Facts under the "VRN_" keys. A fact that could not be had is absent, never empty.
using VRNGatheredDataDict = std::map<std::string, VRNGatheredValue>;

// One bug report before it is sent. Making one gathers the device's facts at that moment
// (model, versions, locale, battery, disk, memory, screen, network, the black box's histories).
// The host's onPrepareData hook gets it next and may set quick facts and attached files.
class VRNVornaReportData {
public:
    // Gathers every fact now.
    VRNVornaReportData();
    // An empty report, for readers that fill it themselves (reading a saved report back).
    struct Empty {};
    explicit VRNVornaReportData(Empty);

    const std::optional<std::string>& quickFacts() const { return quickFacts_; }
    void setQuickFacts(std::optional<std::string> quickFacts) {
        quickFacts_ = std::move(quickFacts);
    }

    using Files = std::vector<std::shared_ptr<VRNVornaFile>>;
    const std::optional<Files>& attachedFiles() const { return attachedFiles_; }
    void setAttachedFiles(std::optional<Files> files) { attachedFiles_ = std::move(files); }

    const std::optional<VRNGatheredDataDict>& gatheredDataDict() const { return gatheredDataDict_; }
    void setGatheredDataDict(std::optional<VRNGatheredDataDict> dict) {
        gatheredDataDict_ = std::move(dict);
    }

    const std::shared_ptr<VRNVornaFile>& screenshotFile() const { return screenshotFile_; }
    void setScreenshotFile(std::shared_ptr<VRNVornaFile> file) {
        screenshotFile_ = std::move(file);
    }

    // The machine's hardware name (uname's machine field), e.g. "x86_64".
    static std::string deviceName();
    // Gathers every fact, in the kit's fixed order.
    static VRNGatheredDataDict setupDefaultData();

private:
    std::optional<std::string> quickFacts_;
    std::optional<Files> attachedFiles_;
    std::optional<VRNGatheredDataDict> gatheredDataDict_;
    std::shared_ptr<VRNVornaFile> screenshotFile_;
};

}  // namespace vorna
