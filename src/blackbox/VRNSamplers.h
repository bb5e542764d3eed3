#pragma once

#include <array>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "blackbox/Battery.h"
#include "blackbox/Network.h"
#include "blackbox/Record.h"
#include "platform/VRNDeviceProbes.h"
#include "platform/VRNDeviceProvider.h"

namespace vorna {

// What the samplers read: the kernel's probes, the interface orientation of the screen, the
// connectivity monitor, and where the documents directory lives. Tests build one from fakes.
struct VRNSamplerDevice {
    std::shared_ptr<VRNDeviceProbes> probes;
    std::function<VRNInterfaceOrientation()> interfaceOrientation;
    std::function<bool()> hasConnectivity;
    std::function<std::filesystem::path()> documentsDirectory;

    // The process's probes (VRNDeviceProbes::current()), the current device provider's
    // orientation, the shared connectivity monitor and the sandbox's documents directory.
    static std::shared_ptr<VRNSamplerDevice> makeDefault();
};

// The device the argument-less samplers read; set once by initializeSamplerConstants().
extern std::shared_ptr<VRNSamplerDevice> userDevice;
// Words for the battery states 0 to 3 and the interface orientations 0 to 4.
extern const std::array<const char*, 4> batteryStatusRaw;
extern const std::array<const char*, 5> orientationRaw;
// Radio access technology (VRNRadioAccessTechnology…) → the word the network history shows.
extern const std::map<std::string, std::string> technologyDict;

// Fills userDevice with the default device, once; later calls do nothing.
void initializeSamplerConstants();

// One sample each, stamped with the current time after the measurement. A source that cannot
// be read gives -1.000 (the network: its offline words), never an error. The argument-less
// forms read userDevice.
RecordPtr cpuUsage(VRNSamplerDevice& device);
RecordPtr memoryUsage(VRNSamplerDevice& device);
RecordPtr storageUsage(VRNSamplerDevice& device);
BatteryPtr battery(VRNSamplerDevice& device);
NetworkPtr network(VRNSamplerDevice& device);
RecordPtr orientation(VRNSamplerDevice& device);

RecordPtr cpuUsage();
RecordPtr memoryUsage();
RecordPtr storageUsage();
BatteryPtr battery();
NetworkPtr network();
RecordPtr orientation();

}  // namespace vorna
