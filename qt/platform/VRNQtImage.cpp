#include "qt/platform/VRNQtImage.h"

#include <bit>

namespace vorna {
namespace {

// Qt's native premultiplied 32-bit format keeps a pixel's bytes as B, G, R, A on a
// little-endian machine; on a big-endian one its R, G, B, A counterpart is used instead.
constexpr bool kLittleEndian = std::endian::native == std::endian::little;

QImage::Format formatOf(VRNPixelLayout layout) {
    if (layout == VRNPixelLayout::BGRA && kLittleEndian) {
        return QImage::Format_ARGB32_Premultiplied;
    }
    return QImage::Format_RGBA8888_Premultiplied;
}

void releasePixels(void* info) {
    delete static_cast<std::shared_ptr<const VRNImage::Pixels>*>(info);
}

}  // namespace

QImage VRNQtImage::toQImage(const VRNImage& image) {
    if (image.isEmpty()) {
        return QImage();
    }
    if (image.layout() == VRNPixelLayout::BGRA && !kLittleEndian) {
        // No Qt format has these bytes on this machine: converted once.
        QImage converted(image.width(), image.height(), QImage::Format_RGBA8888_Premultiplied);
        for (int y = 0; y < image.height(); ++y) {
            auto* row = converted.scanLine(y);
            for (int x = 0; x < image.width(); ++x) {
                const auto p = image.rgbaAt(x, y);
                std::copy(p.begin(), p.end(), row + x * 4);
            }
        }
        converted.setDevicePixelRatio(image.scale());
        return converted;
    }
    auto* keep = new std::shared_ptr<const VRNImage::Pixels>(image.sharedPixels());
    QImage wrapped(image.pixels().data(), image.width(), image.height(), image.width() * 4,
                   formatOf(image.layout()), releasePixels, keep);
    wrapped.setDevicePixelRatio(image.scale());
    return wrapped;
}

VRNImage VRNQtImage::fromQImage(const QImage& image) {
    if (image.isNull()) {
        return VRNImage();
    }
    const QImage::Format native = formatOf(VRNPixelLayout::BGRA);
    const VRNPixelLayout layout = kLittleEndian ? VRNPixelLayout::BGRA : VRNPixelLayout::RGBA;
    const QImage pixels = image.format() == native ? image : image.convertToFormat(native);
    VRNImage::Pixels bytes(static_cast<size_t>(pixels.width()) *
                           static_cast<size_t>(pixels.height()) * 4);
    for (int y = 0; y < pixels.height(); ++y) {
        std::copy_n(pixels.constScanLine(y), pixels.width() * 4,
                    bytes.begin() + static_cast<std::ptrdiff_t>(y) * pixels.width() * 4);
    }
    return VRNImage(pixels.width(), pixels.height(), pixels.devicePixelRatio(), std::move(bytes),
                    layout);
}

VRNQtImage::Canvas::Canvas(const QSize& pixelSize, double scale)
    : pixels_(static_cast<size_t>(std::max(0, pixelSize.width())) *
              static_cast<size_t>(std::max(0, pixelSize.height())) * 4),
      image_(pixels_.data(), pixelSize.width(), pixelSize.height(), pixelSize.width() * 4,
             formatOf(kLittleEndian ? VRNPixelLayout::BGRA : VRNPixelLayout::RGBA)),
      scale_(scale) {
    image_.setDevicePixelRatio(scale);
}

VRNImage VRNQtImage::Canvas::finish() {
    const int width = image_.width();
    const int height = image_.height();
    image_ = QImage();  // nothing draws into the pixels any more
    return VRNImage(width, height, scale_, std::move(pixels_),
                    kLittleEndian ? VRNPixelLayout::BGRA : VRNPixelLayout::RGBA);
}

}  // namespace vorna
