#pragma once

#include <string>

#include "ReportDocument.h"
#include "Store.h"

namespace vorna::backend {

// The page of one report: what the tester wrote, the annotated screenshot at full size, the
// device's facts in words and units, the attachments to download, the session and black box
// histories drawn, and the document as it was received. Every text that came from a client is
// escaped, and a document with missing or odd members still gets a page: each part shows what
// it can read.
class ReportPage {
public:
    static std::string render(const Store::Report& report, const ReportDocument::FileLookup& files);
    // The page for a report id that is not there.
    static std::string missing(std::int64_t id);
};

}  // namespace vorna::backend
