#pragma once

#include <string>
#include <vector>

#include "ReportDocument.h"
#include "Store.h"

namespace vorna::backend {

// The list of received reports: newest first, one page at a time, with a filter by
// application and a search over description and e-mail. The filter is a plain GET form, so
// the list is a link that can be shared and works without script.
class ReportListPage {
public:
    struct Model {
        std::vector<Store::Report> reports;  // this page's, newest first
        std::size_t total = 0;               // every report the filter lets through
        std::string bundleId;                // the filter; empty: every application
        std::string text;                    // the search; empty: none
        std::size_t page = 1;                // 1-based
        std::size_t pageSize = 25;
        std::vector<std::string> applications;
        ReportDocument::FileLookup files;
    };

    static std::string render(const Model& model);
    // The query string of a list link: "?bundle_id=…&q=…&page=2", or "" for the first page
    // of everything.
    static std::string query(const std::string& bundleId, const std::string& text,
                             std::size_t page);
};

}  // namespace vorna::backend
