#pragma once

#include <QFont>

namespace vorna {

// The kit's faces as the flow's screens set them on widgets. A face that is not registered
// (the host has not started the kit, or its data could not be loaded) gives the application's
// own family at the same size and weight, so a screen never shows text in the wrong size.
class VRNFlowFonts {
public:
    static QFont regular(double size);
    static QFont medium(double size);
    static QFont semiBold(double size);
    static QFont bold(double size);
};

}  // namespace vorna
