#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>

#include "platform/VRNDeviceProbes.h"
#include "platform/VRNHandles.h"

namespace vorna {

// <procRoot>/self/statm (resident pages × page size) and <procRoot>/meminfo.
class VRNProcMemoryProbe : public VRNMemoryProbe {
public:
    explicit VRNProcMemoryProbe(std::filesystem::path procRoot = "/proc", long pageSize = 0);

    std::optional<uint64_t> residentSize() override;
    std::optional<uint64_t> physicalMemory() override;
    std::optional<VRNHostMemoryStatistics> hostStatistics() override;

private:
    const std::filesystem::path procRoot_;
    const uint64_t pageSize_;
    std::mutex mutex_;
    VRNFileDescriptor statm_;  // kept open: read twice a second
};

}  // namespace vorna
