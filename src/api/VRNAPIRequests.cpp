#include "api/VRNAPIRequests.h"

#include "api/VRNMultiPartForm.h"
#include "report/VRNAPIReportFile.h"

namespace vorna {
namespace {

constexpr const char* kTokenPath = "auth/oauth2/token";
constexpr const char* kAppsPath = "api/1.0/issue_tracking/apps";
constexpr const char* kReportPath = "api/1.0/issue_tracking/apps/";
constexpr const char* kBrandingPath = "api/1.0/white-labeling";
constexpr const char* kFilesPath = "api/1.0/files";
constexpr const char* kJSON = "application/json";

// Text that is not UTF-8 is written with replacement characters instead of losing the whole
// body.
std::string jsonText(const nlohmann::json& value) {
    return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

// Two-space indents and " : " between key and value, the layout of the platform's pretty
// printer that the backend has always been sent.
void writePretty(const nlohmann::json& value, size_t depth, std::string& out) {
    const bool object = value.is_object();
    if (!object && !value.is_array()) {
        out += jsonText(value);
        return;
    }
    if (value.empty()) {
        out += object ? "{}" : "[]";
        return;
    }
    out += object ? "{\n" : "[\n";
    bool first = true;
    for (auto element = value.begin(); element != value.end(); ++element) {
        if (!first) {
            out += ",\n";
        }
        first = false;
        out.append((depth + 1) * 2, ' ');
        if (object) {
            out += jsonText(nlohmann::json(element.key()));
            out += " : ";
        }
        writePretty(*element, depth + 1, out);
    }
    out += '\n';
    out.append(depth * 2, ' ');
    out += object ? '}' : ']';
}

VRNURLRequest jsonRequest(std::optional<std::string> url, const nlohmann::json& body) {
    VRNURLRequest request(std::move(url));
    request.httpMethod = "POST";
    request.httpBody = VRNAPIRequests::jsonBody(body);
    return request;
}

}  // namespace

std::string VRNAPIRequests::describe(const std::optional<std::string>& text) {
    return text.value_or("(null)");
}

std::optional<std::string> VRNAPIRequests::url(const std::string& path) const {
    if (!baseUrl) {
        return std::nullopt;
    }
    return *baseUrl + path;
}

void VRNAPIRequests::addAuthorization(VRNURLRequest& request) const {
    if (accessToken) {
        request.addValue("Bearer " + *accessToken, "Authorization");
    }
}

VRNURLRequest VRNAPIRequests::token(const std::optional<std::string>& clientId,
                                    const std::optional<std::string>& secret) const {
    VRNURLRequest request(url(kTokenPath));
    request.httpMethod = "POST";
    // Inserted as they stand: the backend reads the credentials without percent-decoding.
    const std::string body = "grant_type=client_credentials&client_id=" + describe(clientId) +
                             "&client_secret=" + describe(secret);
    request.httpBody.assign(body.begin(), body.end());
    return request;
}

VRNURLRequest VRNAPIRequests::applicationEnabled(const std::optional<std::string>& bundleId,
                                                 const std::string& operatingSystem,
                                                 const std::string& platform) const {
    nlohmann::json body = {
        {"check_archived", true}, {"os", operatingSystem}, {"platform", platform}};
    if (bundleId) {
        body["bundle_id"] = *bundleId;
    }
    VRNURLRequest request = jsonRequest(url(kAppsPath), body);
    addAuthorization(request);
    request.addValue(kJSON, "Accept");
    request.addValue(kJSON, "Content-Type");
    return request;
}

VRNURLRequest VRNAPIRequests::registerApplication(const std::optional<std::string>& bundleId,
                                                  const std::string& operatingSystem,
                                                  const std::string& platform) const {
    nlohmann::json body = {{"os", operatingSystem}, {"platform", platform}};
    if (bundleId) {
        body["bundle_id"] = *bundleId;
    }
    VRNURLRequest request = jsonRequest(url(kAppsPath), body);
    request.addValue(kJSON, "Accept");
    request.addValue(kJSON, "Content-Type");
    addAuthorization(request);
    return request;
}

VRNURLRequest VRNAPIRequests::branding() const {
    VRNURLRequest request(url(kBrandingPath));
    request.httpMethod = "GET";
    addAuthorization(request);
    return request;
}

VRNURLRequest VRNAPIRequests::uploadFile(const VRNAPIReportFileProtocol* file,
                                         const std::string& boundary) const {
    std::shared_ptr<const VRNData> data = file != nullptr ? file->data() : nullptr;
    const std::optional<std::string> name =
        file != nullptr ? file->fileName() : std::optional<std::string>();
    std::span<const uint8_t> bytes;
    if (data) {
        bytes = std::span<const uint8_t>(data->data(), data->size());
    }
    VRNURLRequest request =
        VRNMultiPartForm::requestWithURL(url(kFilesPath), bytes, describe(name), {}, boundary);
    // The backend takes the multipart type and the JSON answer type joined in one field.
    request.addValue(kJSON, "Content-Type");
    addAuthorization(request);
    return request;
}

VRNURLRequest VRNAPIRequests::report(const std::optional<std::string>& bundleId,
                                     VRNData body) const {
    std::optional<std::string> reportUrl;
    if (baseUrl) {
        reportUrl = *baseUrl + kReportPath + describe(bundleId);
    }
    VRNURLRequest request(std::move(reportUrl));
    request.httpMethod = "POST";
    request.httpBody = std::move(body);
    request.addValue(kJSON, "Accept");
    request.addValue(kJSON, "Content-Type");
    addAuthorization(request);
    return request;
}

VRNData VRNAPIRequests::jsonBody(const nlohmann::json& dictionary) {
    std::string text;
    try {
        writePretty(dictionary, 0, text);
    } catch (const nlohmann::json::exception&) {
        return {};
    }
    // The writer never escapes "/"; the replacement stays so that no serializer choice can
    // bring "\/" into addresses. Escape sequences are read whole, so a text holding a
    // backslash before a slash keeps both.
    std::string unescaped;
    unescaped.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size()) {
            ++i;
            if (text[i] != '/') {
                unescaped.push_back('\\');
            }
        }
        unescaped.push_back(text[i]);
    }
    return VRNData(unescaped.begin(), unescaped.end());
}

}  // namespace vorna
