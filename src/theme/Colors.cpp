#include "theme/Colors.h"

namespace vorna {

VRNColor Colors::shadow() {
    return VRNColor::withRGB(0x5A, 0x74, 0x98, 0.3);
}

VRNColor Colors::buttonShadow() {
    return VRNColor::withRGB(0xA5, 0xB4, 0xC7, 0.8);
}

VRNColor Colors::black() {
    return VRNColor::withRGB(0x31, 0x30, 0x30);
}

VRNColor Colors::slate() {
    return VRNColor::withRGB(0x5E, 0x6D, 0x7F);
}

VRNColor Colors::defaultLightBlue() {
    return VRNColor::withRGB(0x00, 0x8D, 0xFF);
}

VRNColor Colors::whiteColor() {
    return VRNColor{1.0, 1.0, 1.0, 1.0};
}

VRNColor Colors::blackColor() {
    return VRNColor::withRGB(0x31, 0x30, 0x30);
}

VRNColor Colors::regularGrayColor() {
    return VRNColor::withRGB(0x7A, 0x8A, 0x9A);
}

VRNColor Colors::paleGrayColor() {
    return VRNColor::withRGB(0xE7, 0xEC, 0xF2);
}

VRNColor Colors::defaultDarkBlueColor() {
    return VRNColor::withRGB(0x11, 0x44, 0xF1);
}

VRNColor Colors::defaultLightBlueColor() {
    return VRNColor::withRGB(0x00, 0x8D, 0xFF);
}

VRNColor Colors::coolGreyColor() {
    return VRNColor::withRGB(0xA3, 0xAC, 0xB4);
}

VRNColor Colors::slateColor() {
    return VRNColor::withRGB(0x5E, 0x6D, 0x7F);
}

VRNColor Colors::gunmetalColor() {
    return VRNColor::withRGB(0x4F, 0x5A, 0x65);
}

}  // namespace vorna
