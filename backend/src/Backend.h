#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "FaultInjector.h"
#include "HttpServer.h"
#include "Options.h"
#include "RequestJournal.h"
#include "Store.h"

namespace vorna::backend {

struct BackendSettings {
    std::filesystem::path dataDir;  // uploaded files go to dataDir/files
    std::vector<ClientCredentials> clients;
    bool expireTokens = false;
};

// The reporting backend: the API the kit calls, the pages and JSON lists of received
// reports, and the loopback-only admin calls that tests use to steer it.
//
// Which application an upload belongs to: an upload names no application, so it counts for
// the application that its access token last registered, checked or reported for. A client
// registers and checks its application right after it gets its token, so that is the
// application whose files these are; an upload with a token that has not named an
// application yet is never refused as archived.
class Backend {
public:
    static constexpr std::int64_t kTokenLifetimeSeconds = 3600;

    Backend(BackendSettings settings, Store& store);

    void install(HttpServer& server);
    // host:port for the addresses of uploaded files when a request carries no Host header.
    // Set before the server starts serving.
    void setFallbackHost(std::string hostAndPort) { fallbackHost_ = std::move(hostAndPort); }

private:
    struct Caller {
        std::string token;
        Store::Token info;
    };

    // The kit's API.
    void issueToken(const httplib::Request& req, httplib::Response& res);
    void application(const httplib::Request& req, httplib::Response& res);
    void whiteLabeling(const httplib::Request& req, httplib::Response& res);
    void upload(const httplib::Request& req, httplib::Response& res,
                const httplib::ContentReader& reader);
    void receiveReport(const httplib::Request& req, httplib::Response& res);
    // What the backend received.
    void serveFile(const httplib::Request& req, httplib::Response& res);
    void reportsPage(const httplib::Request& req, httplib::Response& res);
    void reportsJson(const httplib::Request& req, httplib::Response& res);
    void reportDocument(const httplib::Request& req, httplib::Response& res);
    // Admin.
    void setArchived(const httplib::Request& req, httplib::Response& res);
    void listApplications(const httplib::Request& req, httplib::Response& res);
    void setBranding(const httplib::Request& req, httplib::Response& res);
    void clearBranding(const httplib::Request& req, httplib::Response& res);
    void addFaults(const httplib::Request& req, httplib::Response& res);

    // Runs an API handler after the fault injected for its path, if any.
    template <typename Handle>
    void api(const httplib::Request& req, httplib::Response& res, Handle&& handle);
    // Runs an admin handler for loopback peers only.
    template <typename Handle>
    void admin(const httplib::Request& req, httplib::Response& res, Handle&& handle);
    template <typename Handle>
    void guarded(httplib::Response& res, Handle&& handle);

    std::optional<Caller> authorize(const httplib::Request& req, httplib::Response& res);
    bool isArchived(const std::optional<std::string>& bundleId);
    void answerFault(httplib::Response& res, const FaultInjector::Fault& fault);
    void drop(const httplib::Request& req, httplib::Response& res);
    std::string publicBase(const httplib::Request& req) const;

    // Writes the request's log line and journal entry, once per request.
    void record(const httplib::Request& req, const httplib::Response& res);
    nlohmann::json journalEntry(const httplib::Request& req, const httplib::Response& res,
                                const Connection* connection) const;

    BackendSettings settings_;
    std::filesystem::path filesDir_;
    Store& store_;
    FaultInjector faults_;
    RequestJournal journal_;
    std::string fallbackHost_;
};

}  // namespace vorna::backend
