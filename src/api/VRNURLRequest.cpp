#include "api/VRNURLRequest.h"

#include <algorithm>
#include <cctype>

namespace vorna {
namespace {

bool sameField(const std::string& a, const std::string& b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](unsigned char x, unsigned char y) {
               return std::tolower(x) == std::tolower(y);
           });
}

VRNHTTPHeaders::iterator findField(VRNHTTPHeaders& headers, const std::string& field) {
    return std::find_if(headers.begin(), headers.end(),
                        [&](const auto& entry) { return sameField(entry.first, field); });
}

}  // namespace

void VRNURLRequest::setValue(const std::string& value, const std::string& field) {
    const auto existing = findField(allHTTPHeaderFields, field);
    if (existing != allHTTPHeaderFields.end()) {
        existing->second = value;
    } else {
        allHTTPHeaderFields.emplace_back(field, value);
    }
}

void VRNURLRequest::addValue(const std::string& value, const std::string& field) {
    const auto existing = findField(allHTTPHeaderFields, field);
    if (existing != allHTTPHeaderFields.end()) {
        existing->second += ", " + value;
    } else {
        allHTTPHeaderFields.emplace_back(field, value);
    }
}

std::optional<std::string> VRNURLRequest::valueForHTTPHeaderField(const std::string& field) const {
    for (const auto& [name, value] : allHTTPHeaderFields) {
        if (sameField(name, field)) {
            return value;
        }
    }
    return std::nullopt;
}

VRNHTTPHeaders VRNURLRequest::mergedHeaders(const VRNHTTPHeaders& sessionHeaders,
                                            const VRNHTTPHeaders& requestHeaders) {
    VRNHTTPHeaders merged = requestHeaders;
    for (const auto& entry : sessionHeaders) {
        if (findField(merged, entry.first) == merged.end()) {
            merged.push_back(entry);
        }
    }
    return merged;
}

}  // namespace vorna
