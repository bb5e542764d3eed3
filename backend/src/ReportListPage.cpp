#include "ReportListPage.h"

#include <algorithm>

#include "FactFormat.h"
#include "PageFrame.h"
#include "ReportDocument.h"
#include "Text.h"

namespace vorna::backend {

namespace {

std::string esc(std::string_view text) {
    return PageFrame::escape(text);
}

// The kit sends a white placeholder picture when a report was made without a screenshot.
constexpr std::string_view kPlaceholderName = "emptyScreenshot.jpg";

std::string thumbnail(const ReportListPage::Model& model, const Store::Report& report,
                      const std::string& href) {
    const auto url = ReportDocument::topLevelText(report.body, "screenshot_url");
    std::optional<ReportDocument::LinkedFile> file;
    if (url && !url->ends_with(kPlaceholderName) && model.files) {
        file = model.files(*url);
    }
    std::string html = "<a href=\"" + href + "\" tabindex=\"-1\" aria-hidden=\"true\">";
    if (file && file->picture) {
        html += "<img class=\"thumb\" src=\"" + esc(file->path) + "\" alt=\"\" loading=\"lazy\">";
    } else {
        html += "<span class=\"thumb none\">no picture</span>";
    }
    return html + "</a>";
}

std::string row(const ReportListPage::Model& model, const Store::Report& report) {
    const std::string href = "/reports/" + std::to_string(report.id);
    std::string title = ReportDocument::firstLine(report.description);
    const bool untitled = title.empty();
    if (untitled) {
        title = "No description";
    }
    std::string html = "<tr><td class=\"shot\">" + thumbnail(model, report, href) +
                       "</td><td><span class=\"id\">#" + std::to_string(report.id) +
                       "</span><a class=\"title" + (untitled ? " muted" : "") + "\" href=\"" +
                       href + "\" title=\"" + esc(title) + "\">" + esc(title) + "</a></td>";
    html += "<td title=\"" + esc(report.bundleId) + "\">" + esc(report.bundleId) + "</td>";
    html += report.testerEmail.empty() ? std::string("<td class=\"muted\">&ndash;</td>")
                                       : "<td title=\"" + esc(report.testerEmail) + "\">" +
                                             esc(report.testerEmail) + "</td>";
    const auto received = FactFormat::parseTime(report.receivedAt);
    html += "<td class=\"time\">" +
            (received ? esc(FactFormat::shortDateTime(received->unixSeconds))
                      : esc(report.receivedAt)) +
            "</td></tr>";
    return html;
}

std::string filterForm(const ReportListPage::Model& model) {
    std::string html =
        "<form class=\"filter\" method=\"get\" action=\"/reports\" role=\"search\">"
        "<label class=\"muted\" for=\"bundle_id\">Application</label>"
        "<select id=\"bundle_id\" name=\"bundle_id\"><option value=\"\">All applications</option>";
    std::vector<std::string> applications = model.applications;
    if (!model.bundleId.empty() &&
        std::find(applications.begin(), applications.end(), model.bundleId) == applications.end()) {
        applications.push_back(model.bundleId);
    }
    std::sort(applications.begin(), applications.end());
    for (const auto& bundleId : applications) {
        html += "<option value=\"" + esc(bundleId) + "\"" +
                (bundleId == model.bundleId ? " selected" : "") + ">" + esc(bundleId) + "</option>";
    }
    html += "</select><input type=\"search\" name=\"q\" value=\"" + esc(model.text) +
            "\" placeholder=\"Search descriptions and e-mail addresses\" "
            "aria-label=\"Search descriptions and e-mail addresses\">"
            "<button type=\"submit\">Search</button>";
    if (!model.bundleId.empty() || !model.text.empty()) {
        html += "<a href=\"/reports\">Clear</a>";
    }
    return html + "</form>";
}

std::string pager(const ReportListPage::Model& model, std::size_t pages) {
    const auto link = [&](std::size_t page, const char* label, bool enabled) {
        if (!enabled) {
            return std::string("<span class=\"off\">") + label + "</span>";
        }
        return "<a href=\"/reports" + esc(ReportListPage::query(model.bundleId, model.text, page)) +
               "\"" + (page < model.page ? " rel=\"prev\"" : " rel=\"next\"") + ">" + label +
               "</a>";
    };
    return "<nav class=\"pager\" aria-label=\"Pages\">" +
           link(model.page - 1, "&larr; Newer", model.page > 1) + "<span class=\"muted\">Page " +
           std::to_string(model.page) + " of " + std::to_string(pages) + "</span>" +
           link(model.page + 1, "Older &rarr;", model.page < pages) + "</nav>";
}

}  // namespace

std::string ReportListPage::query(const std::string& bundleId, const std::string& text,
                                  std::size_t page) {
    std::string query;
    const auto add = [&query](const char* name, const std::string& value) {
        query += (query.empty() ? "?" : "&") + std::string(name) + "=" + Text::percentEncode(value);
    };
    if (!bundleId.empty()) {
        add("bundle_id", bundleId);
    }
    if (!text.empty()) {
        add("q", text);
    }
    if (page > 1) {
        add("page", std::to_string(page));
    }
    return query;
}

std::string ReportListPage::render(const Model& model) {
    const std::size_t pageSize = std::max<std::size_t>(model.pageSize, 1);
    const std::size_t pages = std::max<std::size_t>((model.total + pageSize - 1) / pageSize, 1);
    const bool filtered = !model.bundleId.empty() || !model.text.empty();

    std::string body = "<h1>Received reports</h1>" + filterForm(model);
    if (model.total == 0) {
        body += filtered ? "<p class=\"notice\">No report matches this filter. "
                           "<a href=\"/reports\">Show every report</a></p>"
                         : "<p class=\"notice\">No report has been received yet. Reports "
                           "appear here as soon as an application sends one.</p>";
        return PageFrame::document("Reports", PageFrame::Section::List, body);
    }
    const std::size_t first = (model.page - 1) * pageSize + 1;
    body += "<p class=\"summary\"><span>";
    if (model.reports.empty()) {
        body += "No reports on page " + std::to_string(model.page) + "; there are " +
                std::to_string(model.total) + ". <a href=\"/reports" +
                esc(query(model.bundleId, model.text, 1)) + "\">First page</a>";
    } else {
        body += "Reports <b>" + std::to_string(first) + "&ndash;" +
                std::to_string(first + model.reports.size() - 1) + "</b> of <b>" +
                std::to_string(model.total) + "</b>" + (filtered ? " matching" : "") +
                ", newest first";
    }
    body += "</span><span>Times in " + esc(FactFormat::zoneName(Text::nowUnixSeconds())) +
            "</span></p>";
    if (!model.reports.empty()) {
        body +=
            "<table class=\"reports\"><colgroup><col class=\"shot\"><col><col class=\"app\">"
            "<col class=\"mail\"><col class=\"time\"></colgroup><thead><tr>"
            "<th><span class=\"muted\">Picture</span></th><th>Description</th>"
            "<th>Application</th><th>E-mail</th><th>Received</th></tr></thead><tbody>";
        for (const auto& report : model.reports) {
            body += row(model, report);
        }
        body += "</tbody></table>";
    }
    body += pager(model, pages);
    return PageFrame::document("Reports", PageFrame::Section::List, body);
}

}  // namespace vorna::backend
