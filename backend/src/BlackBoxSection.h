#pragma once

#include <optional>
#include <string>

#include "ReportDocument.h"

namespace vorna::backend {

// The histories of a report as the report page draws them: the application's session states
// as a timeline, and the black box (the last minute or so of CPU load, memory, disk, battery,
// network and orientation) as charts on one shared time window that ends when the report was
// made, so that a spike in one lines up with a change in another.
class BlackBoxSection {
public:
    static std::string sessions(const ReportDocument& document);
    static std::string blackBox(const ReportDocument& document);
};

}  // namespace vorna::backend
