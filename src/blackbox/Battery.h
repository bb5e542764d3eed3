#pragma once

#include <memory>
#include <optional>
#include <string>

#include "blackbox/VRNBlackBoxObject.h"

namespace vorna {

// One battery sample: the state word ("unknown", "unplugged", "charging", "full"), the charge
// in percent as "%.3f" text, and the time of the sample.
class Battery : public VRNBlackBoxObject {
public:
    // initWithStatus:level:timestamp:
    Battery(std::optional<std::string> status, std::optional<std::string> level,
            std::optional<std::string> timestamp);
    static std::shared_ptr<Battery> initWithCoder(const VRNDecoder& coder);

    std::string archiveClassName() const override { return "Battery"; }
    void encodeWithCoder(VRNCoder& coder) const override;

    const std::optional<std::string>& status() const { return status_; }
    void setStatus(std::optional<std::string> status) { status_ = std::move(status); }
    const std::optional<std::string>& level() const { return level_; }
    void setLevel(std::optional<std::string> level) { level_ = std::move(level); }
    const std::optional<std::string>& timestamp() const { return timestamp_; }
    void setTimestamp(std::optional<std::string> timestamp) { timestamp_ = std::move(timestamp); }

private:
    std::optional<std::string> status_;
    std::optional<std::string> level_;
    std::optional<std::string> timestamp_;
};

using BatteryPtr = std::shared_ptr<Battery>;

}  // namespace vorna
