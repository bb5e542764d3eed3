#include "KitApi.h"

#include <string_view>
#include <utility>

#include "Answers.h"
#include "Text.h"

namespace vorna::backend {

namespace {

using httplib::Request;
using httplib::Response;
using nlohmann::json;

}  // namespace

KitApi::KitApi(std::vector<ClientCredentials> clients, bool expireTokens, Store& store,
               RequestGate& gate)
    : tokens_(std::move(clients), store, gate),
      expireTokens_(expireTokens),
      store_(store),
      gate_(gate) {}

void KitApi::install(HttpServer& server) {
    const auto route = [this](void (KitApi::*handler)(const Request&, Response&)) {
        return [this, handler](const Request& req, Response& res) {
            gate_.api(req, res, [&] { (this->*handler)(req, res); });
        };
    };
    tokens_.install(server);
    server.Post(R"(/api/1\.0/issue_tracking/apps/?)", route(&KitApi::application));
    server.Post(R"(/api/1\.0/issue_tracking/apps/(.+))", route(&KitApi::receiveReport));
    server.Get(R"(/api/1\.0/white-labeling)", route(&KitApi::whiteLabeling));
}

std::optional<Caller> KitApi::authorize(const Request& req, Response& res) {
    const auto refuse = [&res](const std::string& description) {
        res.set_header("WWW-Authenticate", "Bearer error=\"invalid_token\"");
        sendJson(res, 401, json{{"error", "invalid_token"}, {"error_description", description}});
        return std::nullopt;
    };
    const std::string header = req.get_header_value("Authorization");
    const std::string_view value = Text::trim(header);
    if (!Text::istartsWith(value, "Bearer ")) {
        return refuse("the request carries no \"Authorization: Bearer\" token");
    }
    const std::string token(Text::trim(value.substr(7)));
    const auto found = store_.findToken(token);
    if (!found) {
        return refuse("unknown access token");
    }
    if (expireTokens_ && found->expiresAt <= Text::nowUnixSeconds()) {
        return refuse("the access token has expired");
    }
    return Caller{token, *found};
}

std::string KitApi::publicBase(const Request& req) const {
    std::string host = req.get_header_value("Host");
    if (host.empty()) {
        host = fallbackHost_;
    }
    return "http://" + host;
}

bool KitApi::belongsToAnother(const Store::Application& app, const Caller& caller) {
    return !app.ownerClientId.empty() && app.ownerClientId != caller.info.clientId;
}

void KitApi::refuseForeign(Response& res, const std::string& bundleId) {
    sendJson(res, 403,
             json{{"error", "application registered by another client"}, {"bundle_id", bundleId}});
}

void KitApi::application(const Request& req, Response& res) {
    const auto caller = authorize(req, res);
    if (!caller) {
        return;
    }
    const auto body = parseJsonBody(req, res, true);
    if (!body) {
        return;
    }
    const std::string bundleId = stringMember(*body, "bundle_id");
    if (bundleId.empty()) {
        sendError(res, 400, "\"bundle_id\" is required");
        return;
    }
    const auto checkArchived = body->find("check_archived");
    if (checkArchived != body->end() && checkArchived->is_boolean() && checkArchived->get<bool>()) {
        // The enabled check: 404 is how the kit learns that its application is archived.
        const auto app = store_.findApplication(bundleId);
        if (app && belongsToAnother(*app, *caller)) {
            refuseForeign(res, bundleId);
            return;
        }
        store_.setTokenApplication(caller->token, bundleId);
        const bool archived = app && app->archived;
        sendJson(res, archived ? 404 : 200,
                 json{{"bundle_id", bundleId},
                      {"archived", archived},
                      {"registered", app && app->registered}});
        return;
    }
    const Store::Registration registration =
        store_.registerApplication(bundleId, stringMember(*body, "os"),
                                   stringMember(*body, "platform"), caller->info.clientId);
    if (registration == Store::Registration::OwnedByAnother) {
        refuseForeign(res, bundleId);
        return;
    }
    store_.setTokenApplication(caller->token, bundleId);
    const auto app = store_.findApplication(bundleId);
    sendJson(res, 200,
             json{{"bundle_id", bundleId},
                  {"os", app ? app->os : std::string()},
                  {"platform", app ? app->platform : std::string()},
                  {"created", registration == Store::Registration::Created},
                  {"archived", app && app->archived}});
}

void KitApi::whiteLabeling(const Request& req, Response& res) {
    if (!authorize(req, res)) {
        return;
    }
    const auto branding = store_.branding();
    if (!branding) {
        sendError(res, 404, "no branding is set");
        return;
    }
    res.status = 200;
    res.set_content(*branding, "application/json");
}

void KitApi::receiveReport(const Request& req, Response& res) {
    const auto caller = authorize(req, res);
    if (!caller) {
        return;
    }
    const std::string bundleId = req.matches[1];
    // The application decides before the content is looked at: an archived application gets
    // 403 whatever it sends.
    // Another client's application is refused first, so that its state is not told either.
    const auto app = store_.findApplication(bundleId);
    if (app && belongsToAnother(*app, *caller)) {
        refuseForeign(res, bundleId);
        return;
    }
    if (app && app->archived) {
        sendJson(res, 403, json{{"error", "application archived"}, {"bundle_id", bundleId}});
        return;
    }
    const auto document = parseJsonBody(req, res, true);
    if (!document) {
        return;
    }
    // A report into an application nobody has registered yet registers it for the caller; the
    // store decides atomically, so of two clients racing for it one gets it.
    if ((!app || app->ownerClientId.empty()) &&
        store_.registerApplication(bundleId, stringMember(*document, "os"),
                                   stringMember(*document, "platform"),
                                   caller->info.clientId) == Store::Registration::OwnedByAnother) {
        refuseForeign(res, bundleId);
        return;
    }
    store_.setTokenApplication(caller->token, bundleId);
    Store::Report report;
    report.bundleId = bundleId;
    report.receivedAt = Text::nowIso8601();
    report.reportType = stringMember(*document, "report_type");
    report.description = stringMember(*document, "description");
    report.testerEmail = stringMember(*document, "tester_email");
    report.clientId = caller->info.clientId;
    report.body = req.body;
    const std::int64_t id = store_.addReport(report);
    sendJson(res, 200,
             json{{"id", id},
                  {"bundle_id", bundleId},
                  {"received_at", report.receivedAt},
                  {"url", publicBase(req) + "/api/reports/" + std::to_string(id)}});
}

}  // namespace vorna::backend
