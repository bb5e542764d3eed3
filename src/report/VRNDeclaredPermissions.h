#pragma once

#include <map>
#include <string>

namespace vorna {

// The permissions the host says its application holds, by report key ("VRN_CameraPermission"
// and the six others) with their value ("on", or for location also "only_while_using_the_app").
// The platform cannot be asked on this system, so reports carry what the host declared.
// Thread-safe; process-wide.
class VRNDeclaredPermissions {
public:
    // Keeps the valid entries, in place of those declared before. Logs one line for each entry
    // it leaves out: an unknown key, or a value the key cannot have. "off" and "denied" mean
    // not granted, which reports show by leaving the permission out.
    static void declare(const std::map<std::string, std::string>& permissions);
    // What reports made now carry.
    static std::map<std::string, std::string> granted();
};

}  // namespace vorna
