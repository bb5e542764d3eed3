#include "qt/invocation/VRNScreenshotService.h"

#include <QImage>
#include <QPainter>
#include <QWidget>

#include <bit>
#include <cmath>
#include <cstdint>

#include "platform/VRNDeviceProvider.h"
#include "qt/invocation/VRNFloatingButtonWindow.h"
#include "qt/platform/VRNWindowStack.h"
#include "vorna/VRNLog.h"

namespace vorna {
namespace {

void drawWindow(QWidget* window, QPainter& painter) {
    window->render(&painter, QPoint(0, 0), QRegion(),
                   QWidget::DrawWindowBackground | QWidget::DrawChildren);
}

// Qt draws fastest into its native 32-bit format, whose pixels are B, G, R, A in memory on a
// little-endian machine: the picture keeps that order. A big-endian machine's A, R, G, B is
// turned into R, G, B, A.
VRNPixelLayout nativeLayout(std::vector<uint8_t>& pixels) {
    if constexpr (std::endian::native == std::endian::little) {
        return VRNPixelLayout::BGRA;
    } else {
        auto* words = reinterpret_cast<uint32_t*>(pixels.data());
        const size_t count = pixels.size() / 4;
        for (size_t i = 0; i < count; ++i) {
            words[i] = (words[i] << 8) | (words[i] >> 24);
        }
        return VRNPixelLayout::RGBA;
    }
}

}  // namespace

std::shared_ptr<VRNScreenshotService> VRNScreenshotService::sharedInstance() {
    static const auto instance = std::make_shared<VRNScreenshotService>();
    return instance;
}

bool VRNScreenshotService::isExcluded(const QWidget* window) {
    return qobject_cast<const VRNFloatingButtonWindow*>(window) != nullptr;
}

VRNImage VRNScreenshotService::takeScreenshot() const {
    const VRNScreenInfo screen = VRNDeviceProvider::current()->mainScreen();
    const double scale = screen.scale > 0 ? screen.scale : 1.0;
    const int width = static_cast<int>(std::lround(screen.width * scale));
    const int height = static_cast<int>(std::lround(screen.height * scale));
    if (width <= 0 || height <= 0) {
        VRNLog("VRNScreenshotService: No screen to take a picture of");
        return VRNImage();
    }
    // The composing bitmap is the image's own memory: nothing is copied once drawn. Zeros are
    // transparent black, so whatever no window covers stays transparent.
    std::vector<uint8_t> pixels(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
    {
        QImage canvas(pixels.data(), width, height, width * 4, QImage::Format_ARGB32_Premultiplied);
        canvas.setDevicePixelRatio(scale);
        bool empty = true;
        for (QWidget* window : VRNWindowStack::windows()) {
            if (isExcluded(window)) {
                continue;
            }
            QPainter painter(&canvas);
            if (empty) {
                // A window drawn over nothing is the window's own bitmap: it is drawn straight
                // into the picture.
                drawWindow(window, painter);
                empty = false;
                continue;
            }
            // Each later window gets a bitmap of its own, transparent where it draws nothing,
            // that is laid over what is already there.
            QImage layer(QSize(static_cast<int>(std::lround(window->width() * scale)),
                               static_cast<int>(std::lround(window->height() * scale))),
                         QImage::Format_ARGB32_Premultiplied);
            layer.setDevicePixelRatio(scale);
            layer.fill(Qt::transparent);
            {
                QPainter layerPainter(&layer);
                drawWindow(window, layerPainter);
            }
            painter.drawImage(QPointF(0, 0), layer);
        }
    }
    const VRNPixelLayout layout = nativeLayout(pixels);
    return VRNImage(width, height, scale, std::move(pixels), layout);
}

std::optional<VRNData> VRNScreenshotService::getImageData(const VRNImage& image) const {
    return VRNJPEGRepresentation(image, 0.7);
}

}  // namespace vorna
