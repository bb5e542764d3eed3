#include "platform/VRNDeviceProbes.h"

#include <mutex>

#include "platform/linux/VRNNl80211WiFiProbe.h"
#include "platform/linux/VRNProcMemoryProbe.h"
#include "platform/linux/VRNProcThreadCPUProbe.h"
#include "platform/linux/VRNStatvfsFileSystemProbe.h"
#include "platform/linux/VRNSysfsBatteryProbe.h"

namespace vorna {
namespace {

std::mutex& currentMutex() {
    static std::mutex m;
    return m;
}

std::shared_ptr<VRNDeviceProbes>& currentProbes() {
    static std::shared_ptr<VRNDeviceProbes> probes;
    return probes;
}

}  // namespace

std::shared_ptr<VRNDeviceProbes> VRNDeviceProbes::makeLinux() {
    auto probes = std::make_shared<VRNDeviceProbes>();
    probes->cpu = std::make_shared<VRNProcThreadCPUProbe>();
    probes->memory = std::make_shared<VRNProcMemoryProbe>();
    probes->fileSystem = std::make_shared<VRNStatvfsFileSystemProbe>();
    probes->battery = std::make_shared<VRNSysfsBatteryProbe>();
    probes->wifi = std::make_shared<VRNNl80211WiFiProbe>();
    probes->telephony = std::make_shared<VRNTelephonyProvider>();
    return probes;
}

std::shared_ptr<VRNDeviceProbes> VRNDeviceProbes::current() {
    std::lock_guard lock(currentMutex());
    if (!currentProbes()) {
        currentProbes() = makeLinux();
    }
    return currentProbes();
}

void VRNDeviceProbes::setCurrent(std::shared_ptr<VRNDeviceProbes> probes) {
    std::lock_guard lock(currentMutex());
    currentProbes() = std::move(probes);
}

}  // namespace vorna
