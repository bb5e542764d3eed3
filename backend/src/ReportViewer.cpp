#include "ReportViewer.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <memory>
#include <string>
#include <utility>

#include "Answers.h"
#include "HelpPage.h"
#include "ReportPage.h"
#include "RequestGate.h"
#include "platform/VRNHandles.h"

namespace vorna::backend {

namespace {

using httplib::Request;
using httplib::Response;
using nlohmann::json;

constexpr std::size_t kDefaultPageReports = 100;
constexpr std::size_t kDefaultListReports = 1000;

std::size_t sizeParam(const Request& req, const char* name, std::size_t fallback) {
    if (!req.has_param(name)) {
        return fallback;
    }
    const std::string text = req.get_param_value(name);
    std::size_t value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    return ec == std::errc() && end == text.data() + text.size() && value > 0 ? value : fallback;
}

}  // namespace

ReportViewer::ReportViewer(Store& store, std::filesystem::path filesDir)
    : store_(store), filesDir_(std::move(filesDir)) {}

void ReportViewer::install(HttpServer& server) {
    const auto route = [this](void (ReportViewer::*handler)(const Request&, Response&)) {
        return [this, handler](const Request& req, Response& res) {
            RequestGate::guarded(res, [&] { (this->*handler)(req, res); });
        };
    };
    server.Get(R"(/files/([0-9a-f]{1,64})(/.*)?)", route(&ReportViewer::serveFile));
    server.Get(R"(/(reports)?)", route(&ReportViewer::reportsPage));
    server.Get(R"(/help)", [](const Request&, Response& res) {
        res.set_content(helpPageHtml(), "text/html; charset=utf-8");
    });
    server.Get(R"(/api/reports)", route(&ReportViewer::reportsJson));
    server.Get(R"(/api/reports/([0-9]+))", route(&ReportViewer::reportDocument));
}

void ReportViewer::serveFile(const Request& req, Response& res) {
    const auto file = store_.findFile(req.matches[1]);
    if (!file) {
        sendError(res, 404, "no such file");
        return;
    }
    // Shared with the content provider, which streams the file after this returns; closed
    // after the last piece went out.
    auto descriptor = std::make_shared<VRNFileDescriptor>(
        ::open((filesDir_ / file->id).c_str(), O_RDONLY | O_CLOEXEC));
    if (!*descriptor) {
        sendError(res, 410, "the file is no longer in " + filesDir_.string());
        return;
    }
    res.status = 200;
    if (file->size == 0) {
        res.set_content("", file->mimeType);
        return;
    }
    res.set_content_provider(
        static_cast<std::size_t>(file->size), file->mimeType,
        [descriptor](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
            char buffer[64 * 1024];
            const ssize_t n = ::pread(descriptor->get(), buffer, std::min(length, sizeof buffer),
                                      static_cast<off_t>(offset));
            if (n <= 0) {
                return false;
            }
            return sink.write(buffer, static_cast<std::size_t>(n));
        },
        [descriptor](bool) {});
}

void ReportViewer::reportsPage(const Request& req, Response& res) {
    Store::ReportQuery query;
    query.bundleId = req.get_param_value("bundle_id");
    query.limit = sizeParam(req, "limit", kDefaultPageReports);
    const auto reports = store_.reports(query);
    res.status = 200;
    res.set_content(ReportPage::render(reports), "text/html; charset=utf-8");
}

void ReportViewer::reportsJson(const Request& req, Response& res) {
    Store::ReportQuery query;
    query.bundleId = req.get_param_value("bundle_id");
    query.limit = sizeParam(req, "limit", kDefaultListReports);
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
    std::int64_t id = 0;
    const std::string text = req.matches[1];
    std::from_chars(text.data(), text.data() + text.size(), id);
    const auto report = store_.report(id);
    if (!report) {
        sendError(res, 404, "no such report");
        return;
    }
    res.status = 200;
    res.set_content(report->body, "application/json");
}

}  // namespace vorna::backend
