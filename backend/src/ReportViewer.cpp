#include "ReportViewer.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <utility>

#include "Answers.h"
#include "HelpPage.h"
#include "ReportListPage.h"
#include "ReportPage.h"
#include "RequestGate.h"
#include "Text.h"

namespace vorna::backend {

namespace {

using httplib::Request;
using httplib::Response;
using nlohmann::json;

constexpr std::size_t kPageReports = 25;
constexpr std::size_t kMostPageReports = 200;
constexpr std::size_t kDefaultListReports = 1000;
constexpr const char* kHtml = "text/html; charset=utf-8";

std::optional<std::size_t> sizeParam(const Request& req, const char* name) {
    if (!req.has_param(name)) {
        return std::nullopt;
    }
    const std::string text = req.get_param_value(name);
    std::size_t value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::int64_t> idOf(const std::string& text) {
    std::int64_t id = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), id);
    return ec == std::errc() && end == text.data() + text.size() ? std::optional(id) : std::nullopt;
}

}  // namespace

ReportViewer::ReportViewer(Store& store, std::filesystem::path filesDir, ReaderAccess access)
    : store_(store), downloads_(std::move(filesDir)), access_(std::move(access)) {}

void ReportViewer::install(HttpServer& server) {
    const auto route = [this](void (ReportViewer::*handler)(const Request&, Response&), bool html) {
        return [this, handler, html](const Request& req, Response& res) {
            RequestGate::guarded(res, [&] {
                if (access_.admits(req, res, html)) {
                    (this->*handler)(req, res);
                }
            });
        };
    };
    server.Get(R"(/files/([0-9a-f]{1,64})(/.*)?)", route(&ReportViewer::serveFile, false));
    server.Get(R"(/(reports)?)", route(&ReportViewer::listPage, true));
    server.Get(R"(/reports/([0-9]+))", route(&ReportViewer::reportPage, true));
    // The page the kit's compose screen links testers to; it shows no report.
    server.Get(R"(/help)",
               [](const Request&, Response& res) { res.set_content(helpPageHtml(), kHtml); });
    server.Get(R"(/api/reports)", route(&ReportViewer::reportsJson, false));
    server.Get(R"(/api/reports/([0-9]+))", route(&ReportViewer::reportDocument, false));
}

std::optional<ReportDocument::LinkedFile> ReportViewer::linkedFile(const std::string& url) {
    const auto id = ReportDocument::localFileId(url);
    const auto file = id ? store_.findFile(*id) : std::nullopt;
    if (!file) {
        return std::nullopt;
    }
    const std::string name = file->fileName.empty() ? std::string("file") : file->fileName;
    return ReportDocument::LinkedFile{"/files/" + file->id + "/" + Text::percentEncode(name), name,
                                      file->mimeType, file->size,
                                      FileDownloads::isRasterImage(file->mimeType)};
}

void ReportViewer::serveFile(const Request& req, Response& res) {
    const auto file = store_.findFile(req.matches[1]);
    if (!file) {
        sendError(res, 404, "no such file");
        return;
    }
    downloads_.serve(*file, res);
}

void ReportViewer::listPage(const Request& req, Response& res) {
    ReportListPage::Model model;
    model.bundleId = req.get_param_value("bundle_id");
    model.text = std::string(Text::trim(req.get_param_value("q")));
    model.pageSize = std::clamp<std::size_t>(sizeParam(req, "limit").value_or(kPageReports), 1,
                                             kMostPageReports);
    model.page = std::max<std::size_t>(sizeParam(req, "page").value_or(1), 1);
    // A page number past any real list is answered as an empty page, not an overflow.
    model.page = std::min<std::size_t>(model.page, 1'000'000'000 / model.pageSize);

    Store::ReportQuery query;
    query.bundleId = model.bundleId;
    query.text = model.text;
    query.offset = (model.page - 1) * model.pageSize;
    query.limit = model.pageSize;
    model.reports = store_.reports(query);
    model.total = store_.countReports(query);
    for (const auto& app : store_.applications()) {
        model.applications.push_back(app.bundleId);
    }
    model.files = [this](const std::string& url) { return linkedFile(url); };
    res.status = 200;
    res.set_content(ReportListPage::render(model), kHtml);
}

void ReportViewer::reportPage(const Request& req, Response& res) {
    const auto id = idOf(req.matches[1]);
    const auto report = id ? store_.report(*id) : std::nullopt;
    if (!report) {
        res.status = 404;
        res.set_content(ReportPage::missing(id.value_or(0)), kHtml);
        return;
    }
    res.status = 200;
    res.set_content(
        ReportPage::render(*report, [this](const std::string& url) { return linkedFile(url); }),
        kHtml);
}

void ReportViewer::reportsJson(const Request& req, Response& res) {
    Store::ReportQuery query;
    query.bundleId = req.get_param_value("bundle_id");
    query.text = req.get_param_value("q");
    query.offset = sizeParam(req, "offset").value_or(0);
    const std::size_t limit = sizeParam(req, "limit").value_or(kDefaultListReports);
    query.limit = limit > 0 ? limit : kDefaultListReports;
    const auto reports = store_.reports(query);
    json list = json::array();
    for (const auto& report : reports) {
        json entry = {{"id", report.id},
                      {"bundle_id", report.bundleId},
                      {"received_at", report.receivedAt},
                      {"report_type", report.reportType},
                      {"description", report.description},
                      {"tester_email", report.testerEmail},
                      {"client_id", report.clientId},
                      {"size", report.body.size()}};
        try {
            entry["document"] = json::parse(report.body);
        } catch (const json::exception&) {
            entry["document"] = nullptr;
        }
        list.push_back(std::move(entry));
    }
    sendJson(res, 200, list);
}

void ReportViewer::reportDocument(const Request& req, Response& res) {
    const auto id = idOf(req.matches[1]);
    const auto report = id ? store_.report(*id) : std::nullopt;
    if (!report) {
        sendError(res, 404, "no such report");
        return;
    }
    res.status = 200;
    res.set_content(report->body, "application/json");
}

}  // namespace vorna::backend
