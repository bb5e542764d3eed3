#include "qt/flow/VRNScreenStyle.h"

#include <QPalette>

#include <algorithm>
#include <cmath>
#include <optional>

#include "platform/VRNLocalizedString.h"
#include "qt/theme/Fonts.h"
#include "qt/theme/VRNQtColor.h"

namespace vorna {
namespace {

// The kit's sizes are points, which are Qt's device-independent pixels.
QFont orPlain(std::optional<QFont> font, double size, QFont::Weight weight) {
    if (font) {
        return *font;
    }
    QFont plain;
    plain.setPixelSize(std::max(1, static_cast<int>(std::lround(size))));
    plain.setWeight(weight);
    return plain;
}

}  // namespace

QString VRNScreenStyle::localized(const char* englishText) {
    return QString::fromStdString(VRNLocalizedString(englishText));
}

QFont VRNScreenStyle::regularFont(double size) {
    return orPlain(Fonts::fontRegularOfSize(size), size, QFont::Normal);
}

QFont VRNScreenStyle::mediumFont(double size) {
    return orPlain(Fonts::fontMediumOfSize(size), size, QFont::Medium);
}

QFont VRNScreenStyle::semiBoldFont(double size) {
    return orPlain(Fonts::fontSemiBoldOfSize(size), size, QFont::DemiBold);
}

QFont VRNScreenStyle::boldFont(double size) {
    return orPlain(Fonts::fontBoldOfSize(size), size, QFont::Bold);
}

QColor VRNScreenStyle::color(const VRNColor& color) {
    return VRNQtColor::toQColor(color);
}

QRect VRNScreenStyle::centredRect(int width, double share, int y, int height) {
    const int inner = static_cast<int>(std::lround(width * share));
    const int left = static_cast<int>(std::lround((width - inner) / 2.0));
    return QRect(left, y, inner, height);
}

void VRNScreenStyle::setTextColor(QWidget* widget, const QColor& color) {
    QPalette palette = widget->palette();
    palette.setColor(QPalette::WindowText, color);
    palette.setColor(QPalette::Text, color);
    palette.setColor(QPalette::ButtonText, color);
    widget->setPalette(palette);
}

void VRNScreenStyle::setFillColor(QWidget* widget, const QColor& color) {
    QPalette palette = widget->palette();
    palette.setColor(QPalette::Window, color);
    widget->setPalette(palette);
    widget->setAutoFillBackground(true);
}

}  // namespace vorna
