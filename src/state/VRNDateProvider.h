#pragma once

#include <chrono>
#include <memory>
#include <string>

namespace vorna {

// The kit's one date format, "yyyy-MM-dd'T'HH:mm:ssZZZZZ", in the local time zone:
// 2024-03-05T14:07:09+01:00, and ...Z when the offset is zero.
class VRNDateProvider {
public:
    using Date = std::chrono::system_clock::time_point;

    static std::shared_ptr<VRNDateProvider> sharedInstance();

    std::string timestamp() const;
    // The format argument is accepted and ignored: every date the kit writes has one format.
    std::string stringFromDate(Date date, const std::string& dateFormat) const;
};

}  // namespace vorna
