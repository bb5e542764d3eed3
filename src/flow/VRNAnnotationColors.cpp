#include "flow/VRNAnnotationColors.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <stdexcept>

#include "state/VRNAppRepository.h"

namespace vorna {

const std::vector<VRNColor>& VRNAnnotationColors::drawingColors() {
    static const std::vector<VRNColor> colors{VRNColor{1, 0, 0, 1}, VRNColor{0, 0, 0, 1},
                                              VRNColor{1, 1, 1, 1}};
    return colors;
}

const VRNColor& VRNAnnotationColors::colorAt(int64_t index) {
    // A negative index reads as a huge unsigned one, out of range like any other.
    return drawingColors().at(static_cast<size_t>(index));
}

std::optional<int64_t> VRNAnnotationColors::storedIndex(const VRNAppRepository& repository) {
    const std::optional<VRNDefaultsValue> stored = repository.lastUsedColor();
    if (!stored) {
        return std::nullopt;
    }
    return integerValue(*stored);
}

void VRNAnnotationColors::storeIndex(VRNAppRepository& repository, int64_t index) {
    const std::optional<VRNDefaultsValue> stored(std::in_place, std::in_place_type<int64_t>, index);
    repository.setLastUsedColor(stored);
}

int64_t VRNAnnotationColors::integerValue(const VRNDefaultsValue& value) {
    if (const auto* integer = std::get_if<int64_t>(&value)) {
        return *integer;
    }
    if (const auto* flag = std::get_if<bool>(&value)) {
        return *flag ? 1 : 0;
    }
    if (const auto* number = std::get_if<double>(&value)) {
        if (std::isnan(*number)) {
            return 0;
        }
        constexpr auto kMax = static_cast<double>(std::numeric_limits<int64_t>::max());
        constexpr auto kMin = static_cast<double>(std::numeric_limits<int64_t>::min());
        if (*number >= kMax) {
            return std::numeric_limits<int64_t>::max();
        }
        if (*number <= kMin) {
            return std::numeric_limits<int64_t>::min();
        }
        return static_cast<int64_t>(std::trunc(*number));
    }
    if (const auto* text = std::get_if<std::string>(&value)) {
        // Leading blanks, a sign and digits; an integer too long saturates.
        return static_cast<int64_t>(std::strtoll(text->c_str(), nullptr, 10));
    }
    throw std::invalid_argument("lastUsedColor holds data, which has no integer value");
}

}  // namespace vorna
