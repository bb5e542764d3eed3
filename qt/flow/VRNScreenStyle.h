#pragma once

#include <QColor>
#include <QFont>
#include <QRect>
#include <QString>
#include <QWidget>

#include "theme/VRNColor.h"

namespace vorna {

// What the flow's screens draw with: the kit's texts in the host's language, the kit's faces
// (or a plain font of the same size where a face is not registered), the palette as Qt colours.
class VRNScreenStyle {
public:
    // The host's translation of an English text of the kit, else the text itself.
    static QString localized(const char* englishText);

    static QFont regularFont(double size);
    static QFont mediumFont(double size);
    static QFont semiBoldFont(double size);
    static QFont boldFont(double size);

    static QColor color(const VRNColor& color);

    // A band `share` of `width` wide in the middle of it, from `y` down `height` points. Edges
    // fall on whole points, the same way for every view of a screen, so that they line up.
    static QRect centredRect(int width, double share, int y, int height);

    // A widget's own text (and button text) colour.
    static void setTextColor(QWidget* widget, const QColor& color);
    // A plain widget filled with one colour: separators, backgrounds.
    static void setFillColor(QWidget* widget, const QColor& color);
};

}  // namespace vorna
