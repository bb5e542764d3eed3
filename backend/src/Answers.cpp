#include "Answers.h"

#include <utility>

namespace vorna::backend {

using nlohmann::json;

const char* const kContentSecurityPolicy =
    "default-src 'none'; img-src 'self' data:; style-src 'unsafe-inline'; form-action 'self'; "
    "frame-ancestors 'none'; base-uri 'none'";

namespace {

constexpr std::pair<const char*, const char*> kSecurityHeaders[] = {
    {"X-Content-Type-Options", "nosniff"},
    {"X-Frame-Options", "DENY"},
    {"Referrer-Policy", "no-referrer"},
    {"Content-Security-Policy", kContentSecurityPolicy},
};

const char* reasonPhrase(int status) {
    switch (status) {
        case 400:
            return "Bad Request";
        case 408:
            return "Request Timeout";
        case 413:
            return "Payload Too Large";
        case 414:
            return "URI Too Long";
        case 431:
            return "Request Header Fields Too Large";
        case 503:
            return "Service Unavailable";
        default:
            return "Error";
    }
}

}  // namespace

void sendJson(httplib::Response& res, int status, const json& body) {
    res.status = status;
    res.set_content(body.dump(-1, ' ', false, json::error_handler_t::replace), "application/json");
}

void sendError(httplib::Response& res, int status, const std::string& message) {
    sendJson(res, status, json{{"error", message}});
}

std::optional<json> parseJsonBody(const httplib::Request& req, httplib::Response& res,
                                  bool requireObject) {
    try {
        json body = json::parse(req.body);
        if (requireObject && !body.is_object()) {
            sendError(res, 400, "the body is JSON but not an object");
            return std::nullopt;
        }
        return body;
    } catch (const json::parse_error& e) {
        sendError(res, 400, std::string("the body is not JSON: ") + e.what());
        return std::nullopt;
    }
}

std::string stringMember(const json& object, const char* key) {
    const auto it = object.find(key);
    return it != object.end() && it->is_string() ? it->get<std::string>() : std::string();
}

void addSecurityHeaders(httplib::Response& res) {
    for (const auto& [name, value] : kSecurityHeaders) {
        if (!res.has_header(name)) {
            res.set_header(name, value);
        }
    }
}

std::string closingAnswer(int status, const std::string& message) {
    const std::string body = json{{"error", message}}.dump();
    std::string answer =
        "HTTP/1.1 " + std::to_string(status) + " " + reasonPhrase(status) +
        "\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) +
        "\r\nConnection: close\r\n";
    for (const auto& [name, value] : kSecurityHeaders) {
        answer += std::string(name) + ": " + value + "\r\n";
    }
    return answer + "\r\n" + body;
}

}  // namespace vorna::backend
