#include "qt/theme/VRNQtColor.h"

namespace vorna {

QColor VRNQtColor::toQColor(const VRNColor& color) {
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

}  // namespace vorna
