#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "api/VRNURLRequest.h"

namespace vorna {

// Builds "multipart/form-data" POST requests carrying one file and optional text fields.
// Names and values go into the body as they stand: nothing is quoted or escaped.
class VRNMultiPartForm {
public:
    using Parameters = std::vector<std::pair<std::string, std::string>>;
    // File name → bytes; the bytes are copied into the body, not kept.
    using Files = std::vector<std::pair<std::string, std::span<const uint8_t>>>;

    // A POST to `url` with "Content-Type: multipart/form-data; boundary=…" and a body holding
    // the parameters, then the file under the field name "file". A fresh boundary every time.
    static VRNURLRequest requestWithURL(const std::optional<std::string>& url,
                                        std::span<const uint8_t> data, const std::string& filename,
                                        const Parameters& params);
    // The same with a given boundary, so that the exact bytes can be known in advance.
    static VRNURLRequest requestWithURL(const std::optional<std::string>& url,
                                        std::span<const uint8_t> data, const std::string& filename,
                                        const Parameters& params, const std::string& boundary);

    static VRNData createBodyWithBoundary(const std::string& boundary, const Parameters& parameters,
                                          const Files& files, const std::string& fieldName);

    // The MIME type registered for the path's extension, or "application/octet-stream".
    static std::string mimeTypeForPath(const std::string& path);
    // The text after the last dot of the path's last component; empty when there is none.
    static std::string pathExtension(const std::string& path);
    // "Boundary-" followed by a new upper-case UUID.
    static std::string newBoundary();
};

}  // namespace vorna
