#include "theme/VRNColor.h"

#include <cstdint>

namespace vorna {

VRNColor VRNColor::withRGB(unsigned red, unsigned green, unsigned blue, double alpha) {
    return VRNColor{red / 255.0, green / 255.0, blue / 255.0, alpha};
}

VRNColor VRNColor::colorWithHexValue(std::string_view hex) {
    uint64_t value = 0;
    for (size_t i = 1; i < hex.size(); ++i) {
        const char c = hex[i];
        unsigned digit = 0;
        if (c >= '0' && c <= '9') {
            digit = static_cast<unsigned>(c - '0');
        } else if (c >= 'a' && c <= 'f') {
            digit = static_cast<unsigned>(c - 'a' + 10);
        } else if (c >= 'A' && c <= 'F') {
            digit = static_cast<unsigned>(c - 'A' + 10);
        } else {
            break;
        }
        // The number is a 32-bit one: a longer run of digits stays at its largest value.
        value = value * 16 + digit;
        if (value > UINT32_MAX) {
            value = UINT32_MAX;
        }
    }
    return withRGB(static_cast<unsigned>((value >> 16) & 0xFF),
                   static_cast<unsigned>((value >> 8) & 0xFF), static_cast<unsigned>(value & 0xFF));
}

}  // namespace vorna
