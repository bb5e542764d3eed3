#include "state/VRNDateProvider.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace vorna {

std::shared_ptr<VRNDateProvider> VRNDateProvider::sharedInstance() {
    static const auto instance = std::make_shared<VRNDateProvider>();
    return instance;
}

std::string VRNDateProvider::timestamp() const {
    return stringFromDate(std::chrono::system_clock::now(), "yyyy-MM-dd'T'HH:mm:ssZZZZZ");
}

std::string VRNDateProvider::stringFromDate(Date date, const std::string& /*dateFormat*/) const {
    const std::time_t seconds =
        std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(date));
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", local.tm_year + 1900,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
    std::string result(text);
    const long offset = local.tm_gmtoff;
    if (offset == 0) {
        return result + "Z";
    }
    const long magnitude = std::labs(offset);
    // ISO 8601 extended offset; seconds of an offset (historic zones) are shown when present.
    if (magnitude % 60 != 0) {
        std::snprintf(text, sizeof text, "%c%02ld:%02ld:%02ld", offset < 0 ? '-' : '+',
                      magnitude / 3600, (magnitude / 60) % 60, magnitude % 60);
    } else {
        std::snprintf(text, sizeof text, "%c%02ld:%02ld", offset < 0 ? '-' : '+', magnitude / 3600,
                      (magnitude / 60) % 60);
    }
    return result + text;
}

}  // namespace vorna
