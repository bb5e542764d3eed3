#include "qt/flow/VRNSeparatorView.h"

#include <QPainter>

#include "qt/theme/VRNQtColor.h"
#include "theme/Colors.h"

namespace vorna {

VRNSeparatorView::VRNSeparatorView(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFixedHeight(kThickness);
}

void VRNSeparatorView::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), VRNQtColor::toQColor(Colors::paleGrayColor()));
}

}  // namespace vorna
