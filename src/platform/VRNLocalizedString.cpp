#include "platform/VRNLocalizedString.h"

#include <mutex>

namespace vorna {
namespace {

struct Localization {
    std::mutex mutex;
    VRNLocalizer localizer;
};

Localization& localization() {
    static auto* state = new Localization();  // texts may be looked up while the process exits
    return *state;
}

}  // namespace

std::string VRNLocalizedString(const std::string& key) {
    VRNLocalizer localizer;
    {
        std::lock_guard lock(localization().mutex);
        localizer = localization().localizer;
    }
    if (!localizer) {
        return key;
    }
    // A translation that comes back empty is no translation: the key shows.
    std::string text = localizer(key);
    return text.empty() ? key : text;
}

void VRNSetLocalizer(VRNLocalizer localizer) {
    std::lock_guard lock(localization().mutex);
    localization().localizer = std::move(localizer);
}

}  // namespace vorna
