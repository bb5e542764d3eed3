#include "qt/invocation/VRNScreenshotService.h"

#include <QImage>
#include <QList>
#include <QPainter>
#include <QRegion>
#include <QWidget>

#include <cmath>

#include "platform/VRNDeviceProvider.h"
#include "qt/platform/VRNKitWindow.h"
#include "qt/platform/VRNQtImage.h"
#include "qt/platform/VRNWindowStack.h"
#include "vorna/VRNLog.h"

namespace vorna {
namespace {

// A window of the picture and where it is on the desktop: the client area, in points, the
// window system's frame left out (the kit cannot draw the frame, and it is no part of the
// application).
struct PlacedWindow {
    QWidget* window;
    QRect frame;
};

void drawWindow(QWidget* window, QPainter& painter, QPoint at) {
    window->render(&painter, at, QRegion(), QWidget::DrawWindowBackground | QWidget::DrawChildren);
}

}  // namespace

std::shared_ptr<VRNScreenshotService> VRNScreenshotService::sharedInstance() {
    static const auto instance = std::make_shared<VRNScreenshotService>();
    return instance;
}

bool VRNScreenshotService::isExcluded(const QWidget* window) {
    return VRNKitWindow::isKitWindow(window) || window->isMinimized();
}

VRNImage VRNScreenshotService::takeScreenshot() const {
    const VRNScreenInfo screen = VRNDeviceProvider::current()->mainScreen();
    if (!(screen.width > 0 && screen.height > 0)) {
        VRNLog("VRNScreenshotService: No screen to take a picture of");
        return VRNImage();
    }
    const double scale = screen.scale > 0 ? screen.scale : 1.0;

    QList<PlacedWindow> placed;
    QRect area;
    for (QWidget* window : VRNWindowStack::windows()) {
        const QRect frame = window->geometry();
        if (isExcluded(window) || frame.isEmpty()) {
            continue;
        }
        placed.append(PlacedWindow{window, frame});
        area |= frame;
    }
    const QSize pixels(static_cast<int>(std::lround(area.width() * scale)),
                       static_cast<int>(std::lround(area.height() * scale)));
    if (placed.isEmpty() || pixels.isEmpty()) {
        VRNLog("VRNScreenshotService: No window to take a picture of");
        return VRNImage();
    }

    // The bitmap is the image's own memory: nothing is copied once drawn. It starts
    // transparent, so whatever no window covers (between windows that are apart) stays so.
    VRNQtImage::Canvas canvas(pixels, scale);
    {
        QPainter painter(&canvas.image());
        QRegion drawn;
        for (const PlacedWindow& entry : placed) {
            const QPoint at = entry.frame.topLeft() - area.topLeft();
            if (!drawn.intersects(entry.frame)) {
                // Over nothing, a window is its own bitmap: it is drawn straight into the
                // picture.
                drawWindow(entry.window, painter, at);
            } else {
                // Over other windows it gets a bitmap of its own, transparent where it draws
                // nothing, which is laid over them: a window that clears its background would
                // otherwise wipe out what lies beneath.
                QImage layer(QSize(static_cast<int>(std::lround(entry.frame.width() * scale)),
                                   static_cast<int>(std::lround(entry.frame.height() * scale))),
                             QImage::Format_ARGB32_Premultiplied);
                layer.setDevicePixelRatio(scale);
                layer.fill(Qt::transparent);
                {
                    QPainter layerPainter(&layer);
                    drawWindow(entry.window, layerPainter, QPoint(0, 0));
                }
                painter.drawImage(QPointF(at), layer);
            }
            drawn += entry.frame;
        }
    }
    return canvas.finish();
}

std::optional<VRNData> VRNScreenshotService::getImageData(const VRNImage& image) const {
    return VRNJPEGRepresentation(image, 0.7);
}

}  // namespace vorna
