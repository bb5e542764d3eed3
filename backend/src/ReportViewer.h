#pragma once

#include <filesystem>

#include <httplib.h>

#include "HttpServer.h"
#include "Store.h"

namespace vorna::backend {

// What the backend received, served to the people who look at it: the uploaded files, the
// report page, the help page, and the reports as JSON.
class ReportViewer {
public:
    ReportViewer(Store& store, std::filesystem::path filesDir);

    void install(HttpServer& server);

private:
    void serveFile(const httplib::Request& req, httplib::Response& res);
    void reportsPage(const httplib::Request& req, httplib::Response& res);
    void reportsJson(const httplib::Request& req, httplib::Response& res);
    void reportDocument(const httplib::Request& req, httplib::Response& res);

    Store& store_;
    const std::filesystem::path filesDir_;
};

}  // namespace vorna::backend
