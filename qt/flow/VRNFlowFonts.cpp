#include "qt/flow/VRNFlowFonts.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "qt/theme/Fonts.h"

namespace vorna {
namespace {

QFont orPlain(const std::optional<QFont>& face, double size, QFont::Weight weight) {
    if (face) {
        return *face;
    }
    QFont plain;
    plain.setWeight(weight);
    // Points are Qt's device-independent pixels, as for the kit's own faces.
    plain.setPixelSize(std::max(1, static_cast<int>(std::lround(size))));
    return plain;
}

}  // namespace

QFont VRNFlowFonts::regular(double size) {
    return orPlain(Fonts::fontRegularOfSize(size), size, QFont::Normal);
}

QFont VRNFlowFonts::medium(double size) {
    return orPlain(Fonts::fontMediumOfSize(size), size, QFont::Medium);
}

QFont VRNFlowFonts::semiBold(double size) {
    return orPlain(Fonts::fontSemiBoldOfSize(size), size, QFont::DemiBold);
}

QFont VRNFlowFonts::bold(double size) {
    return orPlain(Fonts::fontBoldOfSize(size), size, QFont::Bold);
}

}  // namespace vorna
