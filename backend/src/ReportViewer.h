#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include <httplib.h>

#include "FileDownloads.h"
#include "HttpServer.h"
#include "ReaderAccess.h"
#include "ReportDocument.h"
#include "Store.h"

namespace vorna::backend {

// What the backend received, served to the people who look at it: the list of reports, a
// page per report, the uploaded files, the help page, and the reports as JSON. Everything but
// the help page is read through `access`.
class ReportViewer {
public:
    ReportViewer(Store& store, std::filesystem::path filesDir, ReaderAccess access);

    void install(HttpServer& server);

private:
    void serveFile(const httplib::Request& req, httplib::Response& res);
    void listPage(const httplib::Request& req, httplib::Response& res);
    void reportPage(const httplib::Request& req, httplib::Response& res);
    void reportsJson(const httplib::Request& req, httplib::Response& res);
    void reportDocument(const httplib::Request& req, httplib::Response& res);

    // A file of this backend that a report's document points to.
    std::optional<ReportDocument::LinkedFile> linkedFile(const std::string& url);

    Store& store_;
    const FileDownloads downloads_;
    const ReaderAccess access_;
};

}  // namespace vorna::backend
