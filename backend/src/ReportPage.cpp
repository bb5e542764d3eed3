#include "ReportPage.h"

#include <exception>
#include <functional>
#include <set>
#include <utility>
#include <vector>

#include "BlackBoxSection.h"
#include "FactFormat.h"
#include "PageFrame.h"
#include "Text.h"

namespace vorna::backend {

namespace {

using nlohmann::json;

std::string esc(std::string_view text) {
    return PageFrame::escape(text);
}

constexpr std::string_view kPlaceholderName = "emptyScreenshot.jpg";

// The members the page shows in words; any other plain member is listed as it came.
const std::set<std::string, std::less<>> kShownMembers = {
    "title",           "description",
    "tester_email",    "quick_facts",
    "screenshot_url",  "files",
    "device",          "os",
    "os_version",      "os_build_version",
    "platform",        "screen_width",
    "screen_height",   "device_orientation",
    "authentication",  "locale",
    "timezone",        "app_version",
    "build_version",   "current_view",
    "report_type",     "issue_reported_time",
    "battery_level",   "battery_status",
    "connection_type", "network_type",
    "network_name",    "available_disk_space",
    "used_disk_space", "available_memory",
    "used_memory",     "used_application_memory",
    "permissions",     "sessions",
    "blackbox"};

// A part of the page that could not be drawn says so, and the rest of the page still comes.
std::string guarded(const char* what, const std::function<std::string()>& render) {
    try {
        return render();
    } catch (const std::exception&) {
        return std::string("<p class=\"muted\">The ") + what + " could not be shown.</p>";
    }
}

class Facts {
public:
    explicit Facts(const ReportDocument& document) : document_(document) {}

    // A fact in words when `format` can read the member, else the member as it came.
    void add(const char* label, const char* key,
             const std::function<std::optional<std::string>(const json&)>& format) {
        const json& value = document_.member(key);
        if (value.is_null()) {
            return;
        }
        auto shown = format(value);
        if (!shown) {
            shown = raw(value);
        }
        rows_.emplace_back(label, esc(*shown));
    }
    void addText(const char* label, const char* key) {
        add(label, key, [](const json& value) { return ReportDocument::textOf(value); });
    }
    void addHtml(const char* label, std::string html) {
        rows_.emplace_back(label, std::move(html));
    }
    bool empty() const { return rows_.empty(); }

    std::string html() const {
        std::string html = "<dl class=\"facts\">";
        for (const auto& [label, value] : rows_) {
            html += "<dt>" + esc(label) + "</dt><dd>" + value + "</dd>";
        }
        return html + "</dl>";
    }

    static std::string raw(const json& value) {
        if (const auto text = ReportDocument::textOf(value)) {
            return *text;
        }
        std::string dumped = value.dump(-1, ' ', false, json::error_handler_t::replace);
        return dumped.size() > 200 ? dumped.substr(0, 200) + "…" : dumped;
    }

private:
    const ReportDocument& document_;
    std::vector<std::pair<std::string, std::string>> rows_;
};

std::optional<std::string> megabytesOf(const json& value) {
    const auto number = ReportDocument::numberOf(value);
    return number ? std::optional(FactFormat::megabytes(*number)) : std::nullopt;
}

std::string card(const char* title, const std::string& content) {
    return "<section class=\"card\"><h2>" + esc(title) + "</h2>" + content + "</section>";
}

std::string deviceCard(const ReportDocument& doc) {
    Facts facts(doc);
    facts.addText("Model", "device");
    std::string system = doc.text("os").value_or("");
    if (const auto version = doc.text("os_version")) {
        system += (system.empty() ? "" : " ") + *version;
    }
    if (const auto build = doc.text("os_build_version")) {
        system += (system.empty() ? "build " : " (build ") + *build + (system.empty() ? "" : ")");
    }
    if (!system.empty()) {
        facts.addHtml("System", esc(system));
    }
    const auto width = doc.number("screen_width");
    const auto height = doc.number("screen_height");
    if (width && height) {
        facts.addHtml("Screen", *width <= 0 && *height <= 0
                                    ? std::string("No screen")
                                    : esc(FactFormat::number(*width, 0) + " × " +
                                          FactFormat::number(*height, 0) + " pixels"));
    } else {
        facts.addText("Screen width", "screen_width");
        facts.addText("Screen height", "screen_height");
    }
    facts.add("Orientation", "device_orientation", [](const json& value) {
        return value.is_number_integer()
                   ? std::optional(FactFormat::deviceOrientation(value.get<std::int64_t>()))
                   : std::nullopt;
    });
    facts.add("Passcode or biometrics", "authentication", [](const json& value) {
        const auto number = ReportDocument::numberOf(value);
        if (!number || (*number != 0 && *number != 1)) {
            return std::optional<std::string>();
        }
        return std::optional<std::string>(*number == 1 ? "Set up" : "Not set up");
    });
    facts.addText("Locale", "locale");
    facts.addText("Time zone", "timezone");
    return card("Device", facts.empty() ? "<p class=\"muted\">Not sent.</p>" : facts.html());
}

std::string applicationCard(const ReportDocument& doc, const Store::Report& report) {
    Facts facts(doc);
    facts.addHtml("Application", esc(report.bundleId));
    const auto version = doc.text("app_version");
    const auto build = doc.text("build_version");
    if (version || build) {
        facts.addHtml("Version",
                      esc(version.value_or("?") + (build ? " (build " + *build + ")" : "")));
    }
    facts.addText("Screen shown", "current_view");
    facts.addText("Platform", "platform");
    facts.addText("Report type", "report_type");
    return card("Application", facts.html());
}

std::string powerAndNetworkCard(const ReportDocument& doc) {
    Facts facts(doc);
    const auto level = doc.number("battery_level");
    const auto state = doc.text("battery_status");
    if (level || state) {
        std::string battery = level ? FactFormat::batteryFraction(*level) : "";
        const std::string stateName = state ? FactFormat::batteryState(*state) : "";
        if (battery == "unknown" && (stateName.empty() || stateName == "Unknown")) {
            battery = "Unknown";  // no battery, or none the device could read
        } else if (!stateName.empty()) {
            battery += (battery.empty() ? "" : " · ") + stateName;
        }
        facts.addHtml("Battery", esc(battery));
    } else {
        facts.addText("Battery level", "battery_level");
    }
    const auto type = doc.text("connection_type");
    const auto otherType = doc.text("network_type");
    const auto name = doc.text("network_name");
    if (type || otherType) {
        std::string network = FactFormat::networkType(type ? *type : *otherType);
        if (name && !name->empty()) {
            network += " · " + *name;
        }
        facts.addHtml("Network", esc(network));
        if (type && otherType && *type != *otherType) {
            facts.addHtml("Network type", esc(FactFormat::networkType(*otherType)));
        }
    } else if (name && !name->empty()) {
        facts.addHtml("Network", esc(*name));
    } else if (name) {
        // Connected, but neither a Wi-Fi name nor a radio technology could be read.
        facts.addHtml("Network", "Connected, kind not known");
    }
    return card("Power and network",
                facts.empty() ? "<p class=\"muted\">Not sent.</p>" : facts.html());
}

std::string storageCard(const ReportDocument& doc) {
    Facts facts(doc);
    // The kit sends the disk's whole size as "available" and what is in use as "used".
    const auto diskSize = doc.number("available_disk_space");
    const auto diskUsed = doc.number("used_disk_space");
    if (diskSize && diskUsed && *diskSize > 0) {
        facts.addHtml(
            "Disk",
            esc(FactFormat::megabytes(*diskUsed) + " used of " + FactFormat::megabytes(*diskSize) +
                " (" + FactFormat::megabytes(std::max(*diskSize - *diskUsed, 0.0)) + " free)"));
    } else {
        facts.add("Disk size", "available_disk_space", megabytesOf);
        facts.add("Disk used", "used_disk_space", megabytesOf);
    }
    const auto memory = doc.number("available_memory");
    const auto memoryUsed = doc.number("used_memory");
    if (memory && memoryUsed && *memory > 0) {
        facts.addHtml("Memory", esc(FactFormat::megabytes(*memoryUsed) + " used of " +
                                    FactFormat::megabytes(*memory)));
    } else {
        facts.add("Memory", "available_memory", megabytesOf);
        facts.add("Memory used", "used_memory", megabytesOf);
    }
    facts.add("Used by the application", "used_application_memory", megabytesOf);
    return card("Storage and memory",
                facts.empty() ? "<p class=\"muted\">Not sent.</p>" : facts.html());
}

std::string permissionsCard(const ReportDocument& doc) {
    const json& permissions = doc.member("permissions");
    if (!permissions.is_array() || permissions.empty()) {
        return card("Permissions", permissions.is_null() || permissions.is_array()
                                       ? "<p class=\"muted\">None granted.</p>"
                                       : "<p>" + esc(Facts::raw(permissions)) + "</p>");
    }
    std::string html = "<dl class=\"facts\">";
    for (const auto& permission : permissions) {
        const auto name = ReportDocument::textOf(ReportDocument::memberOf(permission, "name"));
        const auto state = ReportDocument::textOf(ReportDocument::memberOf(permission, "state"));
        html += "<dt>" + esc(name ? FactFormat::permissionName(*name) : Facts::raw(permission)) +
                "</dt><dd>" + esc(state ? FactFormat::permissionState(*state) : "") + "</dd>";
    }
    return card("Permissions", html + "</dl>");
}

std::string otherCard(const ReportDocument& doc) {
    if (!doc.json().is_object()) {
        return {};
    }
    std::string html;
    for (const auto& [key, value] : doc.json().items()) {
        if (!kShownMembers.contains(key)) {
            html += "<dt>" + esc(key) + "</dt><dd>" + esc(Facts::raw(value)) + "</dd>";
        }
    }
    return html.empty() ? std::string()
                        : card("Other facts", "<dl class=\"facts\">" + html + "</dl>");
}

std::string fileSize(std::int64_t size) {
    return size < 1024 ? std::to_string(size) + " bytes"
                       : FactFormat::megabytes(static_cast<double>(size) / 1048576.0);
}

std::string attachments(const ReportDocument& doc, const ReportDocument::FileLookup& files) {
    const json& list = doc.member("files");
    if (!list.is_array() || list.empty()) {
        return "<p class=\"muted\">No files were attached.</p>";
    }
    std::string html = "<ul class=\"files\">";
    for (const auto& entry : list) {
        const auto url = ReportDocument::textOf(ReportDocument::memberOf(entry, "url"));
        const auto file = url && files ? files(*url) : std::nullopt;
        if (file) {
            html += "<li><a href=\"" + esc(file->path) + "\" download>" + esc(file->name) +
                    "</a> <span class=\"muted\">" + esc(fileSize(file->size)) + " &middot; " +
                    esc(file->mimeType) + "</span></li>";
        } else {
            html += "<li><span class=\"muted\">Not on this backend:</span> " +
                    esc(url ? *url : Facts::raw(entry)) + "</li>";
        }
    }
    return html + "</ul>";
}

std::string screenshot(const ReportDocument& doc, const ReportDocument::FileLookup& files) {
    const auto url = doc.text("screenshot_url");
    if (!url) {
        return "<p class=\"notice\">The report carries no screenshot.</p>";
    }
    if (url->ends_with(kPlaceholderName)) {
        return "<p class=\"notice\">Sent without a screenshot.</p>";
    }
    const auto file = files ? files(*url) : std::nullopt;
    if (!file) {
        return "<p class=\"notice\">The screenshot is not on this backend: " + esc(*url) + "</p>";
    }
    if (!file->picture) {
        return "<p class=\"notice\">The screenshot is not a picture this page shows (" +
               esc(file->mimeType) + "): <a href=\"" + esc(file->path) + "\" download>" +
               esc(file->name) + "</a></p>";
    }
    return "<figure class=\"screenshot\"><img src=\"" + esc(file->path) +
           "\" alt=\"The screenshot, as the tester marked it\"><figcaption>Screenshot as the "
           "tester marked it &middot; <a href=\"" +
           esc(file->path) + "\" download>download</a> (" + esc(fileSize(file->size)) +
           ")</figcaption></figure>";
}

std::string header(const ReportDocument& doc, const Store::Report& report) {
    std::string title = ReportDocument::firstLine(report.description);
    std::string html = "<div class=\"report-head\"><div><p class=\"muted\">Report #" +
                       std::to_string(report.id) + " &middot; " + esc(report.bundleId) +
                       "</p><h1>" + (title.empty() ? "No description" : esc(title)) + "</h1>";
    html += "<p class=\"meta\">";
    if (const auto reported = doc.text("issue_reported_time")) {
        html += "Made " + esc(FactFormat::reportTime(*reported)) + " &middot; ";
    }
    html += "received " + esc(FactFormat::reportTime(report.receivedAt)) + "</p></div>";
    html += "<p><a href=\"/api/reports/" + std::to_string(report.id) +
            "\">Document as JSON</a></p></div>";
    return html;
}

std::string description(const ReportDocument& doc, const Store::Report& report) {
    std::string html = report.description.empty()
                           ? std::string("<p class=\"muted\">The tester wrote no description.</p>")
                           : "<p class=\"description\">" + esc(report.description) + "</p>";
    Facts facts(doc);
    facts.addHtml("E-mail", report.testerEmail.empty()
                                ? std::string("<span class=\"muted\">not given</span>")
                                : esc(report.testerEmail));
    facts.addText("Quick facts", "quick_facts");
    return card("What the tester wrote", html + "<h3>From</h3>" + facts.html());
}

}  // namespace

std::string ReportPage::render(const Store::Report& report,
                               const ReportDocument::FileLookup& files) {
    const ReportDocument doc(report.body);
    const std::string title =
        "#" + std::to_string(report.id) + " " + ReportDocument::firstLine(report.description);
    std::string body = header(doc, report);
    if (!doc.parsed()) {
        body += card("Document",
                     "<p>The stored document is not JSON; here it is as received.</p>"
                     "<pre class=\"json\">" +
                         esc(report.body) + "</pre>");
        return PageFrame::document(title, PageFrame::Section::Report, body);
    }
    body += "<div class=\"layout\"><div class=\"facts\">";
    body += guarded("description", [&] { return description(doc, report); });
    body += guarded("attachments", [&] { return card("Attachments", attachments(doc, files)); });
    body +=
        card("Session", guarded("session states", [&] { return BlackBoxSection::sessions(doc); }));
    body += "</div>" + guarded("screenshot", [&] { return screenshot(doc, files); }) + "</div>";
    body += "<div class=\"groups\">";
    body += guarded("device facts", [&] { return deviceCard(doc); });
    body += guarded("application facts", [&] { return applicationCard(doc, report); });
    body += guarded("power and network facts", [&] { return powerAndNetworkCard(doc); });
    body += guarded("storage facts", [&] { return storageCard(doc); });
    body += guarded("permissions", [&] { return permissionsCard(doc); });
    body += guarded("other facts", [&] { return otherCard(doc); });
    body += "</div>";
    body += card("Black box", guarded("black box", [&] { return BlackBoxSection::blackBox(doc); }));
    body += card("Document",
                 "<details><summary>The report as received (JSON)</summary><pre class=\"json\">" +
                     esc(doc.json().dump(2, ' ', false, json::error_handler_t::replace)) +
                     "</pre></details>");
    return PageFrame::document(title, PageFrame::Section::Report, body);
}

std::string ReportPage::missing(std::int64_t id) {
    return PageFrame::document(
        "No such report", PageFrame::Section::Report,
        "<h1>No report #" + std::to_string(id) +
            "</h1><p class=\"notice\">This backend holds no report with that number. "
            "<a href=\"/reports\">All reports</a></p>");
}

}  // namespace vorna::backend
