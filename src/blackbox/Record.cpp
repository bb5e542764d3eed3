#include "blackbox/Record.h"

#include "state/VRNConstants.h"

namespace vorna {

Record::Record(std::optional<std::string> value, std::optional<std::string> timestamp)
    : value_(std::move(value)), timestamp_(std::move(timestamp)) {}

std::shared_ptr<Record> Record::initWithCoder(const VRNDecoder& coder) {
    return std::make_shared<Record>(coder.decodeString(kRValue), coder.decodeString(kRTime));
}

void Record::encodeWithCoder(VRNCoder& coder) const {
    coder.encodeString(kRValue, value_);
    coder.encodeString(kRTime, timestamp_);
}

}  // namespace vorna
