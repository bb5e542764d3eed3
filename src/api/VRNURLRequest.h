#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/storage/VRNKeyValueStore.h"

namespace vorna {

// Header fields in the order they were set; names compare without regard to case.
using VRNHTTPHeaders = std::vector<std::pair<std::string, std::string>>;

// One HTTP request as a plain value: what the session sends, byte for byte, apart from the
// session's own additional headers. Built by pure functions, so a request can be checked
// without a network.
struct VRNURLRequest {
    std::string httpMethod = "GET";
    // No URL (no configured base URL) makes the task fail with an "unsupported URL" error.
    std::optional<std::string> url;
    VRNHTTPHeaders allHTTPHeaderFields;
    VRNData httpBody;

    VRNURLRequest() = default;
    explicit VRNURLRequest(std::optional<std::string> requestUrl) : url(std::move(requestUrl)) {}

    // Replaces the field's value, keeping its place; a new field goes last.
    void setValue(const std::string& value, const std::string& field);
    // Adds to the field: an existing value gets ", " and the new value behind it, the way HTTP
    // joins repeated fields; a new field goes last.
    void addValue(const std::string& value, const std::string& field);
    std::optional<std::string> valueForHTTPHeaderField(const std::string& field) const;

    // The header lines as the session sends them: the request's own fields in order, then
    // each session field that the request does not set itself.
    static VRNHTTPHeaders mergedHeaders(const VRNHTTPHeaders& sessionHeaders,
                                        const VRNHTTPHeaders& requestHeaders);
};

}  // namespace vorna
