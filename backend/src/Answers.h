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

// Headers that every answer carries, pages, files, JSON and errors alike: nothing is sniffed
// into another type, framed, given a referrer, or allowed to run script; a page may use inline
// styles and images of its own origin or data: URLs. A route that sets one of them itself keeps
// its own value.
void addSecurityHeaders(httplib::Response& res);
// The policy of those headers: no script, nothing from elsewhere.
extern const char* const kContentSecurityPolicy;
// A whole answer, {"error": message} with the security headers, after which the connection
// closes: for refusals made before httplib has a request to answer.
std::string closingAnswer(int status, const std::string& message);

}  // namespace vorna::backend
