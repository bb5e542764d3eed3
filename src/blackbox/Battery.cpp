#include "blackbox/Battery.h"

#include "state/VRNConstants.h"

namespace vorna {

Battery::Battery(std::optional<std::string> status, std::optional<std::string> level,
                 std::optional<std::string> timestamp)
    : status_(std::move(status)), level_(std::move(level)), timestamp_(std::move(timestamp)) {}

std::shared_ptr<Battery> Battery::initWithCoder(const VRNDecoder& coder) {
    return std::make_shared<Battery>(coder.decodeString(kBStatus), coder.decodeString(kBLevel),
                                     coder.decodeString(kBTime));
}

void Battery::encodeWithCoder(VRNCoder& coder) const {
    coder.encodeString(kBStatus, status_);
    coder.encodeString(kBLevel, level_);
    coder.encodeString(kBTime, timestamp_);
}

}  // namespace vorna
