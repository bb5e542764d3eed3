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

VRNImage::VRNImage(int width, int height, double scale, Pixels pixels, VRNPixelLayout layout)
    : width_(width), height_(height), scale_(scale), layout_(layout) {
    const size_t expected = width_ > 0 && height_ > 0
                                ? static_cast<size_t>(width_) * static_cast<size_t>(height_) * 4
                                : 0;
    if (pixels.size() != expected || expected == 0) {
        // A bitmap whose bytes do not match its size cannot be drawn or encoded safely.
        width_ = 0;
        height_ = 0;
        return;
    }
    pixels_ = std::make_shared<const Pixels>(std::move(pixels));
}

const VRNImage::Pixels& VRNImage::pixels() const {
    static const Pixels none;
    return pixels_ ? *pixels_ : none;
}

std::array<uint8_t, 4> VRNImage::rgbaAt(int x, int y) const {
    if (isEmpty() || x < 0 || y < 0 || x >= width_ || y >= height_) {
        return {0, 0, 0, 0};
    }
    const uint8_t* p =
        pixels_->data() +
        (static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x)) * 4;
    if (layout_ == VRNPixelLayout::BGRA) {
        return {p[2], p[1], p[0], p[3]};
    }
    return {p[0], p[1], p[2], p[3]};
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
    const int format = image.layout() == VRNPixelLayout::BGRA ? TJPF_BGRA : TJPF_RGBA;
    const int rc = tjCompress2(compressor.get(), image.pixels().data(), image.width(),
                               image.width() * 4, image.height(), format, &buffer, &size,
                               TJSAMP_420, jpegQuality, TJFLAG_ACCURATEDCT);
    std::unique_ptr<unsigned char, TurboJPEGBufferDeleter> owned(buffer);
    if (rc != 0) {
        VRNLog("VRNImage: Failed to encode JPEG: %s", tjGetErrorStr2(compressor.get()));
        return std::nullopt;
    }
    return VRNData(buffer, buffer + size);
}

VRNImage VRNImageWithData(const VRNData& data) {
    std::unique_ptr<void, TurboJPEGDeleter> decompressor(tjInitDecompress());
    if (!decompressor) {
        VRNLog("VRNImage: Failed to start JPEG decoding: %s", tjGetErrorStr());
        return VRNImage();
    }
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colorspace = 0;
    // The header is read first so that a picture's size is known, and checked, before its
    // pixels are allocated.
    if (data.empty() ||
        tjDecompressHeader3(decompressor.get(), data.data(),
                            static_cast<unsigned long>(data.size()), &width, &height, &subsampling,
                            &colorspace) != 0 ||
        width <= 0 || height <= 0 || width > 32768 || height > 32768) {
        VRNLog("VRNImage: The data is not a picture the kit can read (%zu bytes)", data.size());
        return VRNImage();
    }
    VRNImage::Pixels pixels(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
    if (tjDecompress2(decompressor.get(), data.data(), static_cast<unsigned long>(data.size()),
                      pixels.data(), width, width * 4, height, TJPF_RGBA,
                      TJFLAG_ACCURATEDCT) != 0) {
        VRNLog("VRNImage: Failed to decode JPEG: %s", tjGetErrorStr2(decompressor.get()));
        return VRNImage();
    }
    return VRNImage(width, height, 1, std::move(pixels));
}

VRNData VRNEmptyScreenshotJPEG() {
    static const VRNData bytes =
        VRNJPEGRepresentation(VRNImage::filled(1, 1, 1, 255, 255, 255), 0.7).value_or(VRNData{});
    return bytes;
}

}  // namespace vorna
