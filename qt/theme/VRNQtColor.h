#pragma once

#include <QColor>

#include "theme/VRNColor.h"

namespace vorna {

// The kit's colours as Qt draws them.
class VRNQtColor {
public:
    static QColor toQColor(const VRNColor& color);
};

}  // namespace vorna
