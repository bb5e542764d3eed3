#include "platform/linux/VRNStatvfsFileSystemProbe.h"

#include <sys/statvfs.h>

#include <cerrno>

namespace vorna {

std::optional<VRNFileSystemAttributes> VRNStatvfsFileSystemProbe::attributesOfFileSystemForPath(
    const std::filesystem::path& path) {
    std::filesystem::path probe = path;
    struct statvfs info {};
    for (;;) {
        if (statvfs(probe.c_str(), &info) == 0) {
            break;
        }
        if (errno != ENOENT || !probe.has_relative_path()) {
            return std::nullopt;
        }
        auto parent = probe.parent_path();
        if (parent == probe) {
            return std::nullopt;
        }
        probe = std::move(parent);
    }
    VRNFileSystemAttributes attributes;
    attributes.totalSize = static_cast<uint64_t>(info.f_blocks) * info.f_frsize;
    attributes.freeSize = static_cast<uint64_t>(info.f_bavail) * info.f_frsize;
    return attributes;
}

}  // namespace vorna
