#include "AdminCalls.h"

#include <string>
#include <utility>
#include <vector>

#include "Answers.h"

namespace vorna::backend {

namespace {

using httplib::Request;
using httplib::Response;
using nlohmann::json;

// The keys the kit's branding parser needs; without any of them it ignores the branding.
constexpr const char* kBrandingKeys[] = {
    "text_color", "background", "placeholder_color", "highlighted_text_color",
    "slogan",     "logo_url"};

}  // namespace

AdminCalls::AdminCalls(Store& store, FaultInjector& faults, RequestJournal& journal,
                       RequestGate& gate)
    : store_(store), faults_(faults), journal_(journal), gate_(gate) {}

void AdminCalls::install(HttpServer& server) {
    const auto route = [this](void (AdminCalls::*handler)(const Request&, Response&)) {
        return [this, handler](const Request& req, Response& res) {
            gate_.admin(req, res, [&] { (this->*handler)(req, res); });
        };
    };
    server.Post(R"(/admin/apps/([^/]+)/(archive|unarchive))", route(&AdminCalls::setArchived));
    server.Get(R"(/admin/apps)", route(&AdminCalls::listApplications));
    server.Put(R"(/admin/branding)", route(&AdminCalls::setBranding));
    server.Post(R"(/admin/branding)", route(&AdminCalls::setBranding));
    server.Delete(R"(/admin/branding)", route(&AdminCalls::clearBranding));
    server.Post(R"(/admin/faults)", route(&AdminCalls::addFaults));
    server.Get(R"(/admin/faults)", route(&AdminCalls::listFaults));
    server.Delete(R"(/admin/faults)", route(&AdminCalls::clearFaults));
    server.Get(R"(/admin/requests)", route(&AdminCalls::listRequests));
    server.Delete(R"(/admin/requests)", route(&AdminCalls::clearRequests));
}

void AdminCalls::setArchived(const Request& req, Response& res) {
    const std::string bundleId = req.matches[1];
    const bool archived = req.matches[2] == "archive";
    store_.setArchived(bundleId, archived);
    sendJson(res, 200, json{{"bundle_id", bundleId}, {"archived", archived}});
}

void AdminCalls::listApplications(const Request&, Response& res) {
    json list = json::array();
    for (const auto& app : store_.applications()) {
        list.push_back(json{{"bundle_id", app.bundleId},
                            {"os", app.os},
                            {"platform", app.platform},
                            {"archived", app.archived},
                            {"registered", app.registered},
                            {"created_at", app.createdAt}});
    }
    sendJson(res, 200, list);
}

void AdminCalls::setBranding(const Request& req, Response& res) {
    const auto branding = parseJsonBody(req, res, true);
    if (!branding) {
        return;
    }
    // Kept byte for byte: the white-labeling answer is exactly what was set.
    store_.setBranding(req.body);
    json missing = json::array();
    for (const char* key : kBrandingKeys) {
        if (!branding->contains(key)) {
            missing.push_back(key);
        }
    }
    sendJson(res, 200, json{{"branding", *branding}, {"missing", missing}});
}

void AdminCalls::clearBranding(const Request&, Response& res) {
    store_.clearBranding();
    sendJson(res, 200, json{{"branding", nullptr}});
}

void AdminCalls::addFaults(const Request& req, Response& res) {
    const auto body = parseJsonBody(req, res, false);
    if (!body) {
        return;
    }
    std::vector<FaultInjector::Fault> added;
    const json items = body->is_array() ? *body : json::array({*body});
    for (const auto& item : items) {
        std::string error;
        auto fault = FaultInjector::fromJson(item, error);
        if (!fault) {
            sendError(res, 400, error);
            return;
        }
        added.push_back(std::move(*fault));
    }
    for (auto& fault : added) {
        faults_.add(std::move(fault));
    }
    sendJson(res, 200, json{{"pending", faults_.pending()}});
}

void AdminCalls::listFaults(const Request&, Response& res) {
    sendJson(res, 200, json{{"pending", faults_.pending()}});
}

void AdminCalls::clearFaults(const Request&, Response& res) {
    faults_.clear();
    sendJson(res, 200, json{{"pending", json::array()}});
}

void AdminCalls::listRequests(const Request&, Response& res) {
    sendJson(res, 200, journal_.list());
}

void AdminCalls::clearRequests(const Request&, Response& res) {
    journal_.clear();
    sendJson(res, 200, json::array());
}

}  // namespace vorna::backend
