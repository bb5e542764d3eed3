#pragma once

#include "theme/VRNColor.h"

namespace vorna {

// The fixed palette of the kit's screens. The kit's "black" is the dark grey #313030; the
// names that repeat a value (blackColor, defaultLightBlueColor, slateColor) are separate names
// that the screens use, and stay separate so each can change on its own.
class Colors {
public:
    static VRNColor shadow();
    static VRNColor buttonShadow();
    static VRNColor black();
    static VRNColor slate();
    static VRNColor defaultLightBlue();
    static VRNColor whiteColor();
    static VRNColor blackColor();
    static VRNColor regularGrayColor();
    static VRNColor paleGrayColor();
    static VRNColor defaultDarkBlueColor();
    static VRNColor defaultLightBlueColor();
    static VRNColor coolGreyColor();
    static VRNColor slateColor();
    static VRNColor gunmetalColor();
};

}  // namespace vorna
