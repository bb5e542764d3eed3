#include <sys/utsname.h>

#include "report/VRNReportGathering.h"
#include "vorna/VornaReportData.h"

namespace vorna {

VRNVornaReportData::VRNVornaReportData() : gatheredDataDict_(setupDefaultData()) {}

VRNVornaReportData::VRNVornaReportData(Empty) {}

std::string VRNVornaReportData::deviceName() {
    utsname names{};
    if (uname(&names) != 0) {
        return std::string();
    }
    return std::string(names.machine);
}

VRNGatheredDataDict VRNVornaReportData::setupDefaultData() {
    return VRNGatherReportFacts(VRNReportSources::processWide());
}

}  // namespace vorna
