#include "report/VRNAPIReportFile.h"

namespace vorna {

VRNAPIReportFile::VRNAPIReportFile(std::optional<std::string> fileName,
                                   std::shared_ptr<const VRNData> data)
    : data_(std::move(data)), fileName_(std::move(fileName)) {}

}  // namespace vorna
