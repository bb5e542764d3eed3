#include "Answers.h"

namespace vorna::backend {

using nlohmann::json;

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

}  // namespace vorna::backend
