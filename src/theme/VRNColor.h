#pragma once

#include <string_view>

namespace vorna {

// A colour as the screens use it: red, green, blue and alpha, each from 0 to 1.
struct VRNColor {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;

    bool operator==(const VRNColor&) const = default;

    static VRNColor withRGB(unsigned red, unsigned green, unsigned blue, double alpha = 1.0);

    // The kit's hex rule: the first character is skipped whatever it is (it is meant to be
    // "#"), the rest is read as a hexadecimal number up to the first character that is not a
    // hex digit, and its low three bytes are red, green and blue. "6182f1" thus gives #0182F1,
    // and "" or "#" give black.
    static VRNColor colorWithHexValue(std::string_view hex);
};

}  // namespace vorna
