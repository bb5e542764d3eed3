#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/storage/VRNKeyValueStore.h"

namespace vorna {

// The order of the four bytes of a pixel. RGBA is the order of the images the kit makes itself;
// BGRA is the order a toolkit's native 32-bit pixels have in memory on a little-endian machine,
// kept as it is so that a picture of the screen is never converted.
enum class VRNPixelLayout { RGBA, BGRA };

// A bitmap: four bytes a pixel, row after row with no padding, and the scale of the screen it
// was made for (pixels per point). Colour channels are premultiplied by alpha, as in the bitmap
// contexts the screens are drawn into, so a fully transparent pixel is all zeros. The pixels
// never change once made: copies of an image share them.
class VRNImage {
public:
    using Pixels = std::vector<uint8_t>;

    VRNImage() = default;
    VRNImage(int width, int height, double scale, Pixels pixels,
             VRNPixelLayout layout = VRNPixelLayout::RGBA);

    // A bitmap of width × height points at the given scale, every pixel the one colour (given
    // unpremultiplied).
    static VRNImage filled(double widthPoints, double heightPoints, double scale, uint8_t red,
                           uint8_t green, uint8_t blue, uint8_t alpha = 255);

    int width() const { return width_; }    // pixels
    int height() const { return height_; }  // pixels
    double scale() const { return scale_; }
    VRNPixelLayout layout() const { return layout_; }
    // The bytes, in the image's layout; empty for an empty image.
    const Pixels& pixels() const;
    // The pixels shared with every copy of the image.
    const std::shared_ptr<const Pixels>& sharedPixels() const { return pixels_; }
    bool isEmpty() const { return width_ <= 0 || height_ <= 0; }
    // The colour of one pixel as red, green, blue, alpha (premultiplied), whatever the layout.
    std::array<uint8_t, 4> rgbaAt(int x, int y) const;

private:
    int width_ = 0;
    int height_ = 0;
    double scale_ = 1;
    VRNPixelLayout layout_ = VRNPixelLayout::RGBA;
    std::shared_ptr<const Pixels> pixels_;
};

// JPEG encoding with libjpeg-turbo. `quality` is a fraction, 0 to 1 (0.7 → quality 70); the
// alpha channel is dropped. Nothing comes back for an empty image or when encoding fails (with a
// log line).
std::optional<VRNData> VRNJPEGRepresentation(const VRNImage& image, double quality);

// The image encoded in `data` (JPEG), at scale 1; an empty image, with a log line, when the
// bytes are not a picture the kit can read.
VRNImage VRNImageWithData(const VRNData& data);

// What the kit sends when a report carries no captured screenshot: a one-point white image.
VRNData VRNEmptyScreenshotJPEG();

}  // namespace vorna
