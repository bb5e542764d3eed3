#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "AdminCalls.h"
#include "FaultInjector.h"
#include "HttpServer.h"
#include "KitApi.h"
#include "Options.h"
#include "ReportViewer.h"
#include "RequestGate.h"
#include "RequestRecorder.h"
#include "Store.h"
#include "Upload.h"

namespace vorna::backend {

struct BackendSettings {
    std::filesystem::path dataDir;
    std::filesystem::path filesDir;  // uploaded files; may be shared with other backends
    std::vector<ClientCredentials> clients;
    bool expireTokens = false;
    // Reading reports, their files and the pages needs a client's credential (a backend that
    // others can reach); false for one that listens on loopback only.
    bool readersMustAuthenticate = false;
};

// The reporting backend: the API the kit calls, the pages and JSON lists of received
// reports, and the loopback-only admin calls that tests use to steer it. Each audience has
// its own part; this puts them together on one server.
class Backend {
public:
    static constexpr std::int64_t kTokenLifetimeSeconds = KitApi::kTokenLifetimeSeconds;

    Backend(BackendSettings settings, Store& store);

    void install(HttpServer& server);
    // host:port for the addresses of uploaded files when a request carries no Host header.
    // Set before the server starts serving.
    void setFallbackHost(std::string hostAndPort) {
        kitApi_.setFallbackHost(std::move(hostAndPort));
    }

private:
    FaultInjector faults_;
    RequestRecorder recorder_;
    RequestGate gate_;
    KitApi kitApi_;
    UploadReceiver upload_;
    ReportViewer viewer_;
    AdminCalls admin_;
};

}  // namespace vorna::backend
