#include "Backend.h"

#include <exception>
#include <string>
#include <utility>

#include "Answers.h"
#include "TokenEndpoint.h"

namespace vorna::backend {

using httplib::Request;
using httplib::Response;

Backend::Backend(BackendSettings settings, Store& store)
    : gate_(faults_, recorder_),
      kitApi_(settings.clients, settings.expireTokens, store, gate_),
      upload_(kitApi_, store, gate_, settings.filesDir),
      viewer_(store, settings.filesDir,
              ReaderAccess(settings.readersMustAuthenticate, settings.clients,
                           settings.expireTokens, store)),
      admin_(store, faults_, recorder_.journal(), gate_) {}

void Backend::install(HttpServer& server) {
    kitApi_.install(server);
    upload_.install(server);
    viewer_.install(server);
    admin_.install(server);

    // Anything else: a clear 404 rather than an empty one, faults included, so a client that
    // calls a wrong path sees it in its tests.
    const auto unknown = [this](const Request& req, Response& res) {
        gate_.api(req, res, [&] {
            sendJson(
                res, 404,
                nlohmann::json{
                    {"error", "no such endpoint"}, {"method", req.method}, {"path", req.path}});
        });
    };
    server.Get(R"(.*)", unknown);
    server.Post(R"(.*)", unknown);
    server.Put(R"(.*)", unknown);
    server.Delete(R"(.*)", unknown);

    server.set_exception_handler([](const Request&, Response& res, std::exception_ptr error) {
        std::string what = "unknown error";
        try {
            if (error) {
                std::rethrow_exception(error);
            }
        } catch (const std::exception& e) {
            what = e.what();
        } catch (...) {
        }
        sendError(res, 500, "internal error: " + what);
    });
    server.onAnswer(
        [this](const Request& req, const Response& res) { recorder_.record(req, res); });
}

}  // namespace vorna::backend
