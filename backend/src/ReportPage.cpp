#include "ReportPage.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <tuple>
#include <utility>

#include "Text.h"

namespace vorna::backend {

namespace {

using nlohmann::json;

constexpr const char* kStyle = R"css(
body { font: 14px/1.4 system-ui, sans-serif; margin: 0 auto; max-width: 1100px; padding: 1em;
       color: #1d2330; background: #f4f6fb; }
h1 { color: #1144f1; }
article { background: #fff; border-radius: 8px; padding: 1em 1.5em; margin: 1.5em 0;
          box-shadow: 0 1px 3px rgba(0,0,0,.12); }
article header h2 { margin: 0; }
.meta { color: #667; }
.top { display: flex; gap: 1.5em; align-items: flex-start; }
.top img { max-width: 260px; max-height: 520px; border: 1px solid #ccd; border-radius: 4px; }
.description { white-space: pre-wrap; font-size: 16px; }
table { border-collapse: collapse; margin: .5em 0; }
td, th { border-bottom: 1px solid #e3e6ee; padding: 2px 10px 2px 0; text-align: left;
         vertical-align: top; }
th { color: #556; font-weight: 600; }
.charts { display: flex; flex-wrap: wrap; gap: 1em; }
figure { margin: 0; }
figcaption { color: #556; font-weight: 600; }
svg text { font: 10px sans-serif; fill: #556; }
pre { white-space: pre-wrap; word-break: break-all; background: #f7f8fb; padding: .5em; }
)css";

std::string esc(const std::string& text) {
    return Text::htmlEscape(text);
}

// A JSON value as the text a reader expects: strings without quotes, the rest as JSON.
std::string textOf(const json& value) {
    if (value.is_string()) {
        return value.get<std::string>();
    }
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string field(const json& object, const char* key) {
    if (!object.is_object()) {
        return {};
    }
    const auto it = object.find(key);
    return it == object.end() ? std::string() : textOf(*it);
}

bool isWebUrl(const std::string& url) {
    return Text::istartsWith(url, "http://") || Text::istartsWith(url, "https://");
}

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

std::string label(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

std::optional<double> numeric(const json& value) {
    if (value.is_number()) {
        return value.get<double>();
    }
    if (value.is_string()) {
        const std::string text = value.get<std::string>();
        char* end = nullptr;
        const double parsed = std::strtod(text.c_str(), &end);
        if (!text.empty() && end == text.c_str() + text.size()) {
            return parsed;
        }
    }
    return std::nullopt;
}

std::string table(const json& rows,
                  const std::vector<std::pair<const char*, const char*>>& columns) {
    std::string html = "<table><tr>";
    for (const auto& [key, title] : columns) {
        (void)key;
        html += "<th>" + esc(title) + "</th>";
    }
    html += "</tr>";
    for (const auto& row : rows) {
        html += "<tr>";
        for (const auto& [key, title] : columns) {
            (void)title;
            html += "<td>" + esc(field(row, key)) + "</td>";
        }
        html += "</tr>";
    }
    return html + "</table>";
}

const json& member(const json& object, const char* key) {
    static const json kNull;
    if (!object.is_object()) {
        return kNull;
    }
    const auto it = object.find(key);
    return it == object.end() ? kNull : *it;
}

}  // namespace

std::string ReportPage::chart(const json& history, const std::string& valueField) {
    if (!history.is_array()) {
        return {};
    }
    std::vector<double> values;
    for (const auto& element : history) {
        if (element.is_object()) {
            if (const auto it = element.find(valueField); it != element.end()) {
                if (const auto value = numeric(*it)) {
                    values.push_back(*value);
                }
            }
        }
    }
    if (values.empty()) {
        return {};
    }
    constexpr double kWidth = 340;
    constexpr double kHeight = 100;
    constexpr double kLeft = 44;
    constexpr double kPad = 8;
    auto [low, high] = std::minmax_element(values.begin(), values.end());
    double min = *low;
    double max = *high;
    if (max - min < 1e-9) {
        min -= 1;
        max += 1;
    }
    std::string points;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double x = values.size() == 1
                             ? (kLeft + kWidth - kPad) / 2
                             : kLeft + (kWidth - kPad - kLeft) * static_cast<double>(i) /
                                           static_cast<double>(values.size() - 1);
        const double y = kHeight - kPad - (values[i] - min) / (max - min) * (kHeight - 2 * kPad);
        points += number(x) + "," + number(y) + " ";
    }
    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + number(kWidth) +
                      "\" height=\"" + number(kHeight) + "\" viewBox=\"0 0 " + number(kWidth) +
                      " " + number(kHeight) + "\" role=\"img\">";
    svg += "<rect x=\"" + number(kLeft) + "\" y=\"" + number(kPad) + "\" width=\"" +
           number(kWidth - kPad - kLeft) + "\" height=\"" + number(kHeight - 2 * kPad) +
           "\" fill=\"#f7f8fb\" stroke=\"#e3e6ee\"/>";
    svg += "<text x=\"2\" y=\"" + number(kPad + 8) + "\">" + esc(label(*high)) + "</text>";
    svg += "<text x=\"2\" y=\"" + number(kHeight - kPad) + "\">" + esc(label(*low)) + "</text>";
    svg += "<polyline fill=\"none\" stroke=\"#1144f1\" stroke-width=\"1.5\" points=\"" + points +
           "\"/>";
    if (values.size() == 1) {
        // One sample is a point, which a polyline does not show.
        const std::size_t comma = points.find(',');
        svg += "<circle cx=\"" + points.substr(0, comma) + "\" cy=\"" +
               points.substr(comma + 1, points.size() - comma - 2) +
               "\" r=\"3\" fill=\"#1144f1\"/>";
    }
    svg += "</svg>";
    return svg;
}

std::string ReportPage::renderReport(const Store::Report& report) {
    json doc;
    bool parsed = true;
    try {
        doc = json::parse(report.body);
    } catch (const json::exception&) {
        parsed = false;
    }
    std::string html = "<article id=\"report-" + std::to_string(report.id) + "\"><header><h2>#" +
                       std::to_string(report.id) + " " + esc(report.bundleId) + "</h2>";
    html += "<p class=\"meta\">received " + esc(report.receivedAt);
    if (!report.reportType.empty()) {
        html += " &middot; " + esc(report.reportType);
    }
    if (const std::string reported = field(doc, "issue_reported_time"); !reported.empty()) {
        html += " &middot; reported " + esc(reported);
    }
    html += " &middot; <a href=\"/api/reports/" + std::to_string(report.id) +
            "\">document</a></p></header>";
    if (!parsed) {
        return html + "<p>The stored document is not JSON.</p><pre>" + esc(report.body) +
               "</pre></article>";
    }

    html += "<div class=\"top\">";
    const std::string screenshot = field(doc, "screenshot_url");
    if (isWebUrl(screenshot)) {
        html += "<a href=\"" + esc(screenshot) + "\"><img src=\"" + esc(screenshot) +
                "\" alt=\"Screenshot\"></a>";
    }
    html += "<div><h3>Description</h3><p class=\"description\">" + esc(field(doc, "description")) +
            "</p>";
    html += "<p>E-mail: " + esc(field(doc, "tester_email")) + "</p>";
    if (const json& files = member(doc, "files"); files.is_array() && !files.empty()) {
        html += "<h3>Attachments</h3><ul>";
        for (const auto& file : files) {
            const std::string url = field(file, "url");
            html += isWebUrl(url) ? "<li><a href=\"" + esc(url) + "\">" + esc(url) + "</a></li>"
                                  : "<li>" + esc(url) + "</li>";
        }
        html += "</ul>";
    }
    html += "</div></div>";

    static const std::vector<std::pair<const char*, const char*>> kFacts = {
        {"device", "Device"},
        {"os", "OS"},
        {"os_version", "OS version"},
        {"os_build_version", "OS build"},
        {"platform", "Platform"},
        {"app_version", "App version"},
        {"build_version", "Build"},
        {"locale", "Locale"},
        {"timezone", "Time zone"},
        {"battery_level", "Battery level"},
        {"battery_status", "Battery status"},
        {"available_disk_space", "Disk space (MB)"},
        {"used_disk_space", "Used disk space (MB)"},
        {"available_memory", "Available memory (MB)"},
        {"used_memory", "Used memory (MB)"},
        {"used_application_memory", "Application memory (MB)"},
        {"device_orientation", "Orientation"},
        {"screen_width", "Screen width"},
        {"screen_height", "Screen height"},
        {"network_name", "Network name"},
        {"connection_type", "Connection type"},
        {"network_type", "Network type"},
        {"current_view", "Current view"},
        {"authentication", "Device-owner authentication"},
        {"quick_facts", "Quick facts"},
    };
    html += "<h3>Device</h3><table>";
    for (const auto& [key, title] : kFacts) {
        if (doc.is_object() && doc.contains(key)) {
            html += "<tr><th>" + esc(title) + "</th><td>" + esc(field(doc, key)) + "</td></tr>";
        }
    }
    html += "</table>";

    if (const json& permissions = member(doc, "permissions"); permissions.is_array()) {
        html += "<h3>Permissions</h3>" +
                table(permissions, {{"name", "Permission"}, {"state", "State"}});
    }
    if (const json& sessions = member(doc, "sessions"); sessions.is_array()) {
        html += "<h3>Session states</h3>" +
                table(sessions, {{"time_occurred", "Time"}, {"state", "State"}});
    }

    const json& blackbox = member(doc, "blackbox");
    html += "<h3>Black box</h3>";
    static const std::vector<std::tuple<const char*, const char*, const char*>> kCharts = {
        {"cpu_usage_history", "value", "CPU usage"},
        {"memory_usage_history", "value", "Memory usage"},
        {"disk_space_usage_history", "value", "Disk space usage"},
        {"battery_usage_history", "level", "Battery level"},
    };
    html += "<div class=\"charts\">";
    bool anyHistory = false;
    for (const auto& [key, valueField, title] : kCharts) {
        const json& history = member(blackbox, key);
        if (!history.is_array() || history.empty()) {
            continue;
        }
        anyHistory = true;
        const std::string svg = chart(history, valueField);
        html += "<figure><figcaption>" + esc(title) + " (" + std::to_string(history.size()) +
                " samples, " + esc(field(history.front(), "time_occurred")) + " to " +
                esc(field(history.back(), "time_occurred")) + ")</figcaption>" +
                (svg.empty() ? std::string("<p>No numeric values.</p>") : svg) + "</figure>";
    }
    html += "</div>";
    static const std::vector<
        std::pair<const char*, std::vector<std::pair<const char*, const char*>>>>
        kTables = {
            {"battery_usage_history",
             {{"time_occurred", "Time"}, {"level", "Level"}, {"status", "Status"}}},
            {"network_usage_history",
             {{"time_occurred", "Time"}, {"type", "Type"}, {"name", "Name"}}},
            {"device_orientation_history", {{"time_occurred", "Time"}, {"value", "Orientation"}}},
        };
    for (const auto& [key, columns] : kTables) {
        const json& history = member(blackbox, key);
        if (!history.is_array() || history.empty()) {
            continue;
        }
        anyHistory = true;
        html += "<details><summary>" + esc(key) + " (" + std::to_string(history.size()) +
                ")</summary>" + table(history, columns) + "</details>";
    }
    if (!anyHistory) {
        html += "<p>The black box is empty.</p>";
    }
    html += "<details><summary>Document</summary><pre>" +
            esc(doc.dump(2, ' ', false, json::error_handler_t::replace)) + "</pre></details>";
    return html + "</article>";
}

std::string ReportPage::render(const std::vector<Store::Report>& reports) {
    std::string html =
        "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
        "<title>Vorna reports</title><style>";
    html += kStyle;
    html += "</style></head><body><h1>Received reports</h1>";
    if (reports.empty()) {
        html += "<p>No report has been received yet.</p>";
    } else {
        html += "<p>" + std::to_string(reports.size()) +
                (reports.size() == 1 ? " report." : " reports, newest first.") + "</p>";
    }
    for (const auto& report : reports) {
        html += renderReport(report);
    }
    return html + "</body></html>\n";
}

}  // namespace vorna::backend
