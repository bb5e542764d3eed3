#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/VRNDeviceProbes.h"

namespace vorna {

// nl80211 over a raw generic-netlink socket: the interface dump lists the wireless interfaces
// in the kernel's order, each with the SSID it is associated with.
class VRNNl80211WiFiProbe : public VRNWiFiProbe {
public:
    std::optional<std::string> currentSSID() override;

    // Reads the SSID of the first interface from the replies of an nl80211 interface dump
    // (whole netlink messages, back to back). Exposed for tests.
    enum class DumpResult { Continue, Done, Failed };
    static DumpResult parseInterfaceDump(const uint8_t* bytes, size_t length, uint16_t family,
                                         bool* sawInterface, std::optional<std::string>* ssid);
};

}  // namespace vorna
