#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Store.h"

namespace vorna::backend {

// The read-only HTML page that shows received reports: screenshot, description, device
// facts, permissions, session states and the black box histories. Every text that came from
// a client is escaped.
class ReportPage {
public:
    static std::string render(const std::vector<Store::Report>& reports);

    // A small inline SVG line chart of the numeric values of one history; empty when the
    // history holds no number.
    static std::string chart(const nlohmann::json& history, const std::string& field);

private:
    static std::string renderReport(const Store::Report& report);
};

}  // namespace vorna::backend
