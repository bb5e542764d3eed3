#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/storage/VRNBundle.h"

namespace vorna {

// Reads the kit's configuration: the client credentials from the "Vorna" dictionary of the
// host's Info.plist, the host's bundle identifier, and the backend's base URL from the kit's
// own bundle. A new reader is made at each use; the bundles themselves are read once.
class VRNInfoPlist {
public:
    VRNInfoPlist() = default;

    std::optional<std::string> apiClientID() const;
    std::optional<std::string> apiClientSecret() const;
    std::optional<std::string> hostApplicationBundleId() const;
    std::shared_ptr<VRNBundle> vornaBundle() const;
    // The environment variable VORNA_API_URL when set and not empty, else the URL fixed when the
    // kit was built. Ends with a slash: request paths are appended to it directly.
    std::optional<std::string> apiUrl() const;
    // The page behind "Read here" on the compose screen: "HelpURL" of the host's "Vorna"
    // dictionary, else the backend's own page "help" under the base URL.
    std::optional<std::string> helpUrl() const;
};

}  // namespace vorna
