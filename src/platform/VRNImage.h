#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/VRNKeyValueStore.h"

namespace vorna {

// A bitmap: RGBA8 pixels, row after row with no padding, and the scale of the screen it was
// made for (pixels per point). Colour channels are premultiplied by alpha, as in the bitmap
// contexts the screens are drawn into, so a fully transparent pixel is all zeros.
class VRNImage {
public:
    VRNImage() = default;
    VRNImage(int width, int height, double scale, std::vector<uint8_t> rgba);

    // A bitmap of width × height points at the given scale, every pixel the one colour (given
    // unpremultiplied).
    static VRNImage filled(double widthPoints, double heightPoints, double scale, uint8_t red,
                           uint8_t green, uint8_t blue, uint8_t alpha = 255);

    int width() const { return width_; }    // pixels
    int height() const { return height_; }  // pixels
    double scale() const { return scale_; }
    const std::vector<uint8_t>& rgba() const { return rgba_; }
    bool isEmpty() const { return width_ <= 0 || height_ <= 0; }

private:
    int width_ = 0;
    int height_ = 0;
    double scale_ = 1;
    std::vector<uint8_t> rgba_;
};

// JPEG encoding with libjpeg-turbo. `quality` is a fraction, 0 to 1 (0.7 → quality 70); the
// alpha channel is dropped. Nothing comes back for an empty image or when encoding fails (with a
// log line).
std::optional<VRNData> VRNJPEGRepresentation(const VRNImage& image, double quality);

// What the kit sends when a report carries no captured screenshot: a one-point white image.
VRNData VRNEmptyScreenshotJPEG();

}  // namespace vorna
