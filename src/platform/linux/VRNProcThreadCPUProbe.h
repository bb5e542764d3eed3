#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <vector>

#include "platform/VRNDeviceProbes.h"
#include "platform/VRNHandles.h"

namespace vorna {

// Reads the kernel's per-thread accounting, <taskDirectory>/<tid>/stat (utime + stime), and
// divides each thread's ticks since the previous call by the wall time between the calls. The
// directory and the stat files (of the first few hundred threads) stay open between calls and
// are re-read in place, so a sample costs one directory listing and one pread per thread.
class VRNProcThreadCPUProbe : public VRNThreadCPUProbe {
public:
    using Clock = std::function<double()>;  // seconds, monotonic

    explicit VRNProcThreadCPUProbe(std::filesystem::path taskDirectory = "/proc/self/task",
                                   Clock clock = {}, long ticksPerSecond = 0);

    std::optional<std::vector<VRNThreadCPUUsage>> sampleThreads() override;

private:
    struct Thread {
        VRNFileDescriptor stat;  // kept open while the thread lives, for the first few hundred
        uint64_t ticks = 0;
        uint64_t generation = 0;
    };

    static constexpr size_t kMaxKeptDescriptors = 256;

    bool refresh(std::vector<VRNThreadCPUUsage>* usage, double interval);
    bool readTicks(Thread& thread, const char* name, bool reopen);
    void forget(Thread& thread);

    const std::filesystem::path taskDirectory_;
    const Clock clock_;
    const double ticksPerSecond_;
    std::mutex mutex_;
    VRNDirectoryStream directory_;  // kept open between samples
    std::unordered_map<pid_t, Thread> threads_;
    size_t keptDescriptors_ = 0;
    uint64_t generation_ = 0;
    double lastSample_ = 0;
};

}  // namespace vorna
