#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorna {

// The device's own condition as the kernel reports it: per-thread CPU use, memory, the data
// volume, the battery, the Wi-Fi network and the cellular service. Each source is a small
// interface; the Linux implementations live in platform/linux/, one per file, and tests and
// other platforms put their own in their place. No probe throws or logs: a source that cannot
// be read answers nothing.

// --- CPU --------------------------------------------------------------------------------------

// Scale of VRNThreadCPUUsage::cpuUsage: 1000 is one core fully used.
inline constexpr int32_t VRNThreadUsageScale = 1000;

// One thread's share of a core over the last sampling interval.
struct VRNThreadCPUUsage {
    int32_t cpuUsage = 0;  // parts per thousand of one core, 0 to VRNThreadUsageScale
    bool idle = true;      // the thread used no CPU at all during the interval
};

class VRNThreadCPUProbe {
public:
    virtual ~VRNThreadCPUProbe() = default;
    // Every thread of the process with its use since the previous call (the first call measures
    // since the probe was made), or nothing when the thread list cannot be read. Each call ends
    // an interval, so one probe serves one reader.
    virtual std::optional<std::vector<VRNThreadCPUUsage>> sampleThreads() = 0;
};

// --- memory -----------------------------------------------------------------------------------

// The host's memory in use, by kind, in bytes (the kernel's Active, Inactive, and memory that
// cannot be paged out: Unevictable plus the kernel's unreclaimable slab, stacks and page tables).
struct VRNHostMemoryStatistics {
    uint64_t activeBytes = 0;
    uint64_t inactiveBytes = 0;
    uint64_t wiredBytes = 0;
};

class VRNMemoryProbe {
public:
    virtual ~VRNMemoryProbe() = default;
    // Resident size of this process, in bytes.
    virtual std::optional<uint64_t> residentSize() = 0;
    // Physical memory of the machine, in bytes.
    virtual std::optional<uint64_t> physicalMemory() = 0;
    virtual std::optional<VRNHostMemoryStatistics> hostStatistics() = 0;
};

// --- file system ------------------------------------------------------------------------------

struct VRNFileSystemAttributes {
    uint64_t totalSize = 0;  // bytes
    uint64_t freeSize = 0;   // bytes the application could still write
};

class VRNFileSystemProbe {
public:
    virtual ~VRNFileSystemProbe() = default;
    // The volume that holds `path`; a path not created yet is measured on the volume of its
    // nearest existing ancestor, where it will be created.
    virtual std::optional<VRNFileSystemAttributes> attributesOfFileSystemForPath(
        const std::filesystem::path& path) = 0;
};

// --- battery ----------------------------------------------------------------------------------

// The platform's battery states, with their raw values.
enum class VRNBatteryState : int {
    Unknown = 0,
    Unplugged = 1,
    Charging = 2,
    Full = 3,
};

struct VRNBatteryReading {
    VRNBatteryState state = VRNBatteryState::Unknown;
    float level = -1.0f;  // fraction 0 to 1, or -1 when unknown
};

class VRNBatteryProbe {
public:
    virtual ~VRNBatteryProbe() = default;
    // A device without a battery reads unknown, -1.
    virtual VRNBatteryReading batteryReading() = 0;
};

// --- networks ---------------------------------------------------------------------------------

class VRNWiFiProbe {
public:
    virtual ~VRNWiFiProbe() = default;
    // The network name of the first wireless interface, or nothing when there is no wireless
    // interface or it is not associated.
    virtual std::optional<std::string> currentSSID() = 0;
};

// Radio access technologies, as the telephony service names them.
inline constexpr const char* VRNRadioAccessTechnologyGPRS = "CTRadioAccessTechnologyGPRS";
inline constexpr const char* VRNRadioAccessTechnologyEdge = "CTRadioAccessTechnologyEdge";
inline constexpr const char* VRNRadioAccessTechnologyWCDMA = "CTRadioAccessTechnologyWCDMA";
inline constexpr const char* VRNRadioAccessTechnologyHSDPA = "CTRadioAccessTechnologyHSDPA";
inline constexpr const char* VRNRadioAccessTechnologyHSUPA = "CTRadioAccessTechnologyHSUPA";
inline constexpr const char* VRNRadioAccessTechnologyCDMA1x = "CTRadioAccessTechnologyCDMA1x";
inline constexpr const char* VRNRadioAccessTechnologyCDMAEVDORev0 =
    "CTRadioAccessTechnologyCDMAEVDORev0";
inline constexpr const char* VRNRadioAccessTechnologyCDMAEVDORevA =
    "CTRadioAccessTechnologyCDMAEVDORevA";
inline constexpr const char* VRNRadioAccessTechnologyCDMAEVDORevB =
    "CTRadioAccessTechnologyCDMAEVDORevB";
inline constexpr const char* VRNRadioAccessTechnologyeHRPD = "CTRadioAccessTechnologyeHRPD";
inline constexpr const char* VRNRadioAccessTechnologyLTE = "CTRadioAccessTechnologyLTE";

// The cellular service: the subscriber's carrier and the current radio access technology (one
// of the VRNRadioAccessTechnology texts). A machine without a modem service answers nothing;
// a host that knows its modem installs its own provider.
class VRNTelephonyProvider {
public:
    virtual ~VRNTelephonyProvider() = default;
    virtual std::optional<std::string> carrierName() { return std::nullopt; }
    virtual std::optional<std::string> currentRadioAccessTechnology() { return std::nullopt; }
};

// --- all together -----------------------------------------------------------------------------

// The sources of one device. `current()` is the process-wide set, made of the Linux probes on
// first use; a host that knows more (a modem service, say) installs its own set before the kit
// starts.
struct VRNDeviceProbes {
    std::shared_ptr<VRNThreadCPUProbe> cpu;
    std::shared_ptr<VRNMemoryProbe> memory;
    std::shared_ptr<VRNFileSystemProbe> fileSystem;
    std::shared_ptr<VRNBatteryProbe> battery;
    std::shared_ptr<VRNWiFiProbe> wifi;
    std::shared_ptr<VRNTelephonyProvider> telephony;

    static std::shared_ptr<VRNDeviceProbes> makeLinux();
    static std::shared_ptr<VRNDeviceProbes> current();
    static void setCurrent(std::shared_ptr<VRNDeviceProbes> probes);
};

}  // namespace vorna
