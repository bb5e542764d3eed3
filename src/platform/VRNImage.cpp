#include "platform/VRNImage.h"

#include <turbojpeg.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "vorna/VRNLog.h"

namespace vorna {
namespace {

struct TurboJPEGDeleter {
    void operator()(void* handle) const { tjDestroy(handle); }
};
struct TurboJPEGBufferDeleter {
    void operator()(unsigned char* buffer) const { tjFree(buffer); }
};

}  // namespace

VRNImage::VRNImage(int width, int height, double scale, std::vector<uint8_t> rgba)
    : width_(width), height_(height), scale_(scale), rgba_(std::move(rgba)) {
    const size_t expected = width_ > 0 && height_ > 0
                                ? static_cast<size_t>(width_) * static_cast<size_t>(height_) * 4
                                : 0;
    if (rgba_.size() != expected) {
        // A bitmap whose bytes do not match its size cannot be drawn or encoded safely.
        width_ = 0;
        height_ = 0;
        rgba_.clear();
    }
}

VRNImage VRNImage::filled(double widthPoints, double heightPoints, double scale, uint8_t red,
                          uint8_t green, uint8_t blue, uint8_t alpha) {
    const int width = std::max(0, static_cast<int>(std::lround(widthPoints * scale)));
    const int height = std::max(0, static_cast<int>(std::lround(heightPoints * scale)));
    const auto premultiplied = [alpha](uint8_t channel) {
        return static_cast<uint8_t>((channel * alpha + 127) / 255);
    };
    const uint8_t pixel[4] = {premultiplied(red), premultiplied(green), premultiplied(blue), alpha};
    std::vector<uint8_t> pixels(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
    for (size_t i = 0; i < pixels.size(); i += 4) {
        std::copy(pixel, pixel + 4, pixels.begin() + static_cast<std::ptrdiff_t>(i));
    }
    return VRNImage(width, height, scale, std::move(pixels));
}

std::optional<VRNData> VRNJPEGRepresentation(const VRNImage& image, double quality) {
    if (image.isEmpty()) {
        return std::nullopt;
    }
    std::unique_ptr<void, TurboJPEGDeleter> compressor(tjInitCompress());
    if (!compressor) {
        VRNLog("VRNImage: Failed to start JPEG encoding: %s", tjGetErrorStr());
        return std::nullopt;
    }
    const int jpegQuality =
        std::clamp(static_cast<int>(std::lround(std::clamp(quality, 0.0, 1.0) * 100)), 1, 100);
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    const int rc = tjCompress2(compressor.get(), image.rgba().data(), image.width(),
                               image.width() * 4, image.height(), TJPF_RGBA, &buffer, &size,
                               TJSAMP_420, jpegQuality, TJFLAG_ACCURATEDCT);
    std::unique_ptr<unsigned char, TurboJPEGBufferDeleter> owned(buffer);
    if (rc != 0) {
        VRNLog("VRNImage: Failed to encode JPEG: %s", tjGetErrorStr2(compressor.get()));
        return std::nullopt;
    }
    return VRNData(buffer, buffer + size);
}

VRNData VRNEmptyScreenshotJPEG() {
    static const VRNData bytes =
        VRNJPEGRepresentation(VRNImage::filled(1, 1, 1, 255, 255, 255), 0.7).value_or(VRNData{});
    return bytes;
}

}  // namespace vorna
