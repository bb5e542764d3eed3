#pragma once

#include <memory>
#include <optional>
#include <string>

#include "blackbox/VRNBlackBoxObject.h"

namespace vorna {

// One sample of a one-value history (CPU, memory, storage, orientation) or one session state:
// the value as text ("%.3f", an orientation word, a state code) and the time of the sample.
// A record is filled once and then only read; it takes no lock.
class Record : public VRNBlackBoxObject {
public:
    // initWithValue:timestamp:
    Record(std::optional<std::string> value, std::optional<std::string> timestamp);
    // A key missing from the archive leaves its field absent.
    static std::shared_ptr<Record> initWithCoder(const VRNDecoder& coder);

    std::string archiveClassName() const override { return "Record"; }
    void encodeWithCoder(VRNCoder& coder) const override;

    const std::optional<std::string>& value() const { return value_; }
    void setValue(std::optional<std::string> value) { value_ = std::move(value); }
    const std::optional<std::string>& timestamp() const { return timestamp_; }
    void setTimestamp(std::optional<std::string> timestamp) { timestamp_ = std::move(timestamp); }

private:
    std::optional<std::string> value_;
    std::optional<std::string> timestamp_;
};

using RecordPtr = std::shared_ptr<Record>;

}  // namespace vorna
