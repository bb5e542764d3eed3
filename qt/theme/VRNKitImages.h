#pragma once

#include <QIcon>
#include <QPixmap>
#include <QSizeF>
#include <QString>

namespace vorna {

// The kit's own images, looked up by name among its resources (":/vorna/images/<name>.svg").
// They are drawings, so they are drawn at the size they are shown at, for the screen's scale.
class VRNKitImages {
public:
    static bool hasImage(const QString& name);

    // The image drawn into `size` points (stretched, no aspect fit, as a phone's "scaled to
    // size" does) at `scale` pixels per point. A name the kit has no image for gives an empty
    // pixmap and a log line.
    static QPixmap imageNamed(const QString& name, const QSizeF& size, double scale);

    // The image as an icon that draws itself sharp at any size; empty (and a log line) for a
    // name the kit has no image for.
    static QIcon iconNamed(const QString& name);

    static QString resourcePath(const QString& name);
};

}  // namespace vorna
