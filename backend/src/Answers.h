#pragma once

#include <optional>
#include <string>

#include <httplib.h>
#include <nlohmann/json.hpp>

namespace vorna::backend {

// The JSON answers of every part of the backend, and the reading of JSON request bodies.

void sendJson(httplib::Response& res, int status, const nlohmann::json& body);
// {"error": message}
void sendError(httplib::Response& res, int status, const std::string& message);
// The body as JSON; nothing, with a 400 answer set, when it is not JSON, or, with
// requireObject, not a JSON object.
std::optional<nlohmann::json> parseJsonBody(const httplib::Request& req, httplib::Response& res,
                                            bool requireObject);
// The member as a string; empty when it is missing or not a string.
std::string stringMember(const nlohmann::json& object, const char* key);

}  // namespace vorna::backend
