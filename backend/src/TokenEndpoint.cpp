#include "TokenEndpoint.h"

#include <algorithm>
#include <utility>

#include "Answers.h"
#include "Credentials.h"
#include "RequestRecorder.h"
#include "Text.h"
#include "TokenForm.h"

namespace vorna::backend {

namespace {

using httplib::Request;
using httplib::Response;
using nlohmann::json;

void refuse(Response& res, int status, const char* error, const std::string& description) {
    sendJson(res, status, json{{"error", error}, {"error_description", description}});
}

// A failed client authentication; the challenge names the scheme the client may use.
void refuseClient(Response& res, const std::string& description) {
    res.set_header("WWW-Authenticate", "Basic realm=\"vorna\"");
    refuse(res, 401, "invalid_client", description);
}

void markNotCacheable(Response& res) {
    if (!res.has_header("Cache-Control")) {
        res.set_header("Cache-Control", "no-store");
        res.set_header("Pragma", "no-cache");
    }
}

bool meansSame(std::string_view a, std::string_view b) {
    const auto spellingsOfB = TokenForm::spellings(b);
    for (const auto& spelling : TokenForm::spellings(a)) {
        if (std::find(spellingsOfB.begin(), spellingsOfB.end(), spelling) != spellingsOfB.end()) {
            return true;
        }
    }
    return false;
}

}  // namespace

TokenEndpoint::TokenEndpoint(std::vector<ClientCredentials> clients, Store& store,
                             RequestGate& gate)
    : clients_(std::move(clients)), store_(store), gate_(gate) {}

void TokenEndpoint::install(HttpServer& server) {
    server.Post(R"(/auth/oauth2/token)",
                [this](const Request& req, Response& res, const httplib::ContentReader& reader) {
                    receive(req, res, reader);
                });
}

void TokenEndpoint::receive(const Request& req, Response& res,
                            const httplib::ContentReader& reader) {
    markNotCacheable(res);
    const auto fault = gate_.takeFault(req);

    // The body is kept up to the limit; past it only its length is counted, so a body of any
    // size costs at most kMaxBodyBytes here.
    std::string body;
    bool tooLarge = false;
    Connection* connection = HttpServer::current();
    const bool complete = reader([&](const char* data, std::size_t size) {
        const std::string_view bytes(data, size);
        if (connection != nullptr) {
            RequestRecorder::noteBodyPiece(*connection, bytes);
        }
        if (!tooLarge && bytes.size() <= kMaxBodyBytes - body.size()) {
            body.append(bytes);
        } else if (!tooLarge) {
            tooLarge = true;
            std::string().swap(body);
        }
        return true;
    });
    if (connection != nullptr) {
        RequestRecorder::noteBodyEnd(*connection, complete);
    }

    if (fault && gate_.playFault(req, res, *fault)) {
        return;
    }
    if (!complete && res.status != 413) {
        res.set_header("Connection", "close");
        refuse(res, 400, "invalid_request", "the token request ended before its body was complete");
        return;
    }
    if (!complete || tooLarge) {
        if (!complete) {
            res.set_header("Connection", "close");
        }
        refuse(res, 413, "invalid_request",
               "the token request body is larger than " + std::to_string(kMaxBodyBytes) + " bytes");
        return;
    }
    RequestGate::guarded(res, [&] { answer(req, body, res); });
}

void TokenEndpoint::answer(const Request& req, std::string_view body, Response& res) {
    const TokenForm form = TokenForm::read(body);
    if (form.problem == TokenForm::Problem::TooManyFields) {
        refuse(res, 400, "invalid_request",
               "the token request has more than " + std::to_string(TokenForm::kMaxFields) +
                   " form fields");
        return;
    }
    if (form.problem == TokenForm::Problem::Repeated) {
        refuse(res, 400, "invalid_request",
               "the parameter \"" + form.repeatedName + "\" is sent more than once");
        return;
    }

    // A client that sends an Authorization header authenticates with it, and with it only.
    std::optional<Credentials::Basic> basic;
    if (req.has_header("Authorization")) {
        if (req.get_header_value_count("Authorization") > 1) {
            refuse(res, 400, "invalid_request",
                   "the request has more than one Authorization header");
            return;
        }
        Credentials::BasicError error{};
        basic = Credentials::parseBasic(req.get_header_value("Authorization"), error);
        if (!basic && error == Credentials::BasicError::TooLong) {
            refuse(res, 400, "invalid_request", Credentials::describe(error));
            return;
        }
        if (!basic) {
            refuseClient(res, error == Credentials::BasicError::NotBasic
                                  ? "the token endpoint takes client credentials by the Basic "
                                    "scheme or as client_id and client_secret in the form"
                                  : Credentials::describe(error));
            return;
        }
        if (form.clientSecret) {
            refuse(res, 400, "invalid_request",
                   "the client authenticates both by the Authorization header and by "
                   "client_secret in the form; it may use one of them only");
            return;
        }
        // client_id alone proves nothing, so it may accompany the header, naming the same
        // client.
        if (form.clientId && !meansSame(*form.clientId, basic->id)) {
            refuse(res, 400, "invalid_request",
                   "client_id in the form names another client than the Authorization header");
            return;
        }
    }

    if (!form.grantType) {
        refuse(res, 400, "invalid_request", "grant_type is required");
        return;
    }
    if (!meansSame(*form.grantType, "client_credentials")) {
        refuse(res, 400, "unsupported_grant_type", "only grant_type=client_credentials is offered");
        return;
    }
    if (!basic && (!form.clientId || !form.clientSecret)) {
        refuse(res, 400, "invalid_request", "client_id and client_secret are required");
        return;
    }
    const ClientCredentials* client = basic ? findClient(basic->id, basic->secret)
                                            : findClient(*form.clientId, *form.clientSecret);
    if (client == nullptr) {
        refuseClient(res, "unknown client or wrong secret");
        return;
    }
    issue(*client, res);
}

const ClientCredentials* TokenEndpoint::findClient(std::string_view id,
                                                   std::string_view secret) const {
    // Every spelling is compared with every client, whatever matched before, so the time
    // taken depends on what was sent only.
    const ClientCredentials* found = nullptr;
    const auto secrets = TokenForm::spellings(secret);
    for (const auto& idSpelling : TokenForm::spellings(id)) {
        for (const auto& secretSpelling : secrets) {
            const ClientCredentials* client =
                Credentials::find(clients_, idSpelling, secretSpelling);
            if (found == nullptr) {
                found = client;
            }
        }
    }
    return found;
}

void TokenEndpoint::issue(const ClientCredentials& client, Response& res) {
    const std::string token = Text::randomHex(32);
    const std::int64_t now = Text::nowUnixSeconds();
    store_.addToken(token, client.id, now, now + kTokenLifetimeSeconds);
    sendJson(res, 200,
             json{{"access_token", token},
                  {"expires_in", kTokenLifetimeSeconds},
                  {"token_type", "Bearer"}});
}

}  // namespace vorna::backend
