#include "qt/theme/VRNKitImages.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

#include <cmath>

#include "vorna/VRNLog.h"

namespace vorna {
namespace {

void logMissing(const QString& name) {
    VRNLog("VRNKitImages: No image named \"%s\" among the kit's resources",
           name.toUtf8().constData());
}

}  // namespace

QString VRNKitImages::resourcePath(const QString& name) {
    return QStringLiteral(":/vorna/images/%1.svg").arg(name);
}

bool VRNKitImages::hasImage(const QString& name) {
    return QFile::exists(resourcePath(name));
}

QPixmap VRNKitImages::imageNamed(const QString& name, const QSizeF& size, double scale) {
    QSvgRenderer renderer(resourcePath(name));
    if (!renderer.isValid()) {
        logMissing(name);
        return QPixmap();
    }
    const QSize pixels(static_cast<int>(std::lround(size.width() * scale)),
                       static_cast<int>(std::lround(size.height() * scale)));
    if (pixels.isEmpty()) {
        return QPixmap();
    }
    QPixmap pixmap(pixels);
    pixmap.fill(Qt::transparent);
    {
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter, QRectF(QPointF(0, 0), QSizeF(pixels)));
    }
    pixmap.setDevicePixelRatio(scale);
    return pixmap;
}

QIcon VRNKitImages::iconNamed(const QString& name) {
    if (!hasImage(name)) {
        logMissing(name);
        return QIcon();
    }
    return QIcon(resourcePath(name));
}

}  // namespace vorna
