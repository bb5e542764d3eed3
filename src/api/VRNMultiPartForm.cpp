#include "api/VRNMultiPartForm.h"

#include "api/VRNMimeTypes.h"
#include "api/VRNUUID.h"

namespace vorna {
namespace {

constexpr const char* kFieldName = "file";
constexpr const char* kDefaultMimeType = "application/octet-stream";

void append(VRNData& body, std::string_view text) {
    body.insert(body.end(), text.begin(), text.end());
}

}  // namespace

VRNURLRequest VRNMultiPartForm::requestWithURL(const std::optional<std::string>& url,
                                               std::span<const uint8_t> data,
                                               const std::string& filename,
                                               const Parameters& params) {
    return requestWithURL(url, data, filename, params, newBoundary());
}

VRNURLRequest VRNMultiPartForm::requestWithURL(const std::optional<std::string>& url,
                                               std::span<const uint8_t> data,
                                               const std::string& filename,
                                               const Parameters& params,
                                               const std::string& boundary) {
    VRNURLRequest request(url);
    request.httpMethod = "POST";
    request.setValue("multipart/form-data; boundary=" + boundary, "Content-Type");
    request.httpBody = createBodyWithBoundary(boundary, params, {{filename, data}}, kFieldName);
    return request;
}

VRNData VRNMultiPartForm::createBodyWithBoundary(const std::string& boundary,
                                                 const Parameters& parameters, const Files& files,
                                                 const std::string& fieldName) {
    size_t size = 64 + boundary.size();
    for (const auto& [name, value] : parameters) {
        size += 64 + boundary.size() + name.size() + value.size();
    }
    for (const auto& [name, bytes] : files) {
        size += 128 + boundary.size() + fieldName.size() + name.size() + bytes.size();
    }
    VRNData body;
    body.reserve(size);

    for (const auto& [name, value] : parameters) {
        append(body, "--" + boundary + "\r\n");
        append(body, "Content-Disposition: form-data; name=\"" + name + "\"\r\n\r\n");
        append(body, value + "\r\n");
    }
    for (const auto& [name, bytes] : files) {
        append(body, "--" + boundary + "\r\n");
        append(body, "Content-Disposition: form-data; name=\"" + fieldName + "\"; filename=\"" +
                         name + "\"\r\n");
        append(body, "Content-Type: " + mimeTypeForPath(name) + "\r\n\r\n");
        body.insert(body.end(), bytes.begin(), bytes.end());
        append(body, "\r\n");
    }
    append(body, "--" + boundary + "--\r\n");
    return body;
}

std::string VRNMultiPartForm::pathExtension(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const size_t dot = name.find_last_of('.');
    // A leading dot marks a hidden file, not an extension.
    if (dot == std::string::npos || dot == 0) {
        return {};
    }
    return name.substr(dot + 1);
}

std::string VRNMultiPartForm::mimeTypeForPath(const std::string& path) {
    return VRNMimeTypes::shared()
        .mimeTypeForExtension(pathExtension(path))
        .value_or(kDefaultMimeType);
}

std::string VRNMultiPartForm::newBoundary() {
    return "Boundary-" + VRNUUID::UUIDString();
}

}  // namespace vorna
