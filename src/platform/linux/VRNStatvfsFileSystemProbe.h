#pragma once

#include <filesystem>
#include <optional>

#include "platform/VRNDeviceProbes.h"

namespace vorna {

// statvfs(3).
class VRNStatvfsFileSystemProbe : public VRNFileSystemProbe {
public:
    std::optional<VRNFileSystemAttributes> attributesOfFileSystemForPath(
        const std::filesystem::path& path) override;
};

}  // namespace vorna
