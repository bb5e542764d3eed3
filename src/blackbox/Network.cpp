#include "blackbox/Network.h"

#include "state/VRNConstants.h"

namespace vorna {

Network::Network(std::optional<std::string> type, std::optional<std::string> name,
                 std::optional<std::string> timestamp)
    : type_(std::move(type)), name_(std::move(name)), timestamp_(std::move(timestamp)) {}

std::shared_ptr<Network> Network::initWithCoder(const VRNDecoder& coder) {
    return std::make_shared<Network>(coder.decodeString(kNType), coder.decodeString(kNName),
                                     coder.decodeString(kNTime));
}

void Network::encodeWithCoder(VRNCoder& coder) const {
    // The name goes under the "b…" key that the stored histories have always used.
    coder.encodeString(kNType, type_);
    coder.encodeString(kNName, name_);
    coder.encodeString(kNTime, timestamp_);
}

}  // namespace vorna
