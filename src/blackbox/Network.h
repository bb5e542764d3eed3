#pragma once

#include <memory>
#include <optional>
#include <string>

#include "blackbox/VRNBlackBoxObject.h"

namespace vorna {

// One network sample: the kind of connection ("wifi", "Offline", "Cellular LTE", …; absent for
// a radio technology the kit has no word for), the Wi-Fi network or carrier name (absent when
// the carrier is unknown), and the time of the sample.
class Network : public VRNBlackBoxObject {
public:
    // initWithType:name:timestamp:
    Network(std::optional<std::string> type, std::optional<std::string> name,
            std::optional<std::string> timestamp);
    static std::shared_ptr<Network> initWithCoder(const VRNDecoder& coder);

    std::string archiveClassName() const override { return "Network"; }
    void encodeWithCoder(VRNCoder& coder) const override;

    const std::optional<std::string>& type() const { return type_; }
    void setType(std::optional<std::string> type) { type_ = std::move(type); }
    const std::optional<std::string>& name() const { return name_; }
    void setName(std::optional<std::string> name) { name_ = std::move(name); }
    const std::optional<std::string>& timestamp() const { return timestamp_; }
    void setTimestamp(std::optional<std::string> timestamp) { timestamp_ = std::move(timestamp); }

private:
    std::optional<std::string> type_;
    std::optional<std::string> name_;
    std::optional<std::string> timestamp_;
};

using NetworkPtr = std::shared_ptr<Network>;

}  // namespace vorna
