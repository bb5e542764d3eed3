#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <cstdlib>
#include <vector>

#include "platform/VRNImage.h"
#include "support/LogCapture.h"

namespace vorna {
namespace {

struct Decoded {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> rgb;
};

Decoded decode(const VRNData& jpeg) {
    Decoded out;
    tjhandle handle = tjInitDecompress();
    int subsampling = 0;
    int colorspace = 0;
    if (tjDecompressHeader3(handle, jpeg.data(), jpeg.size(), &out.width, &out.height, &subsampling,
                            &colorspace) == 0) {
        out.rgb.resize(static_cast<size_t>(out.width) * static_cast<size_t>(out.height) * 3);
        if (tjDecompress2(handle, jpeg.data(), jpeg.size(), out.rgb.data(), out.width, 0,
                          out.height, TJPF_RGB, 0) != 0) {
            out = Decoded{};
        }
    }
    tjDestroy(handle);
    return out;
}

// Left half red, right half blue.
VRNImage twoColours(int width, int height) {
    std::vector<uint8_t> pixels(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            uint8_t* p = &pixels[(static_cast<size_t>(y) * static_cast<size_t>(width) +
                                  static_cast<size_t>(x)) *
                                 4];
            const bool left = x < width / 2;
            p[0] = left ? 220 : 10;
            p[1] = 20;
            p[2] = left ? 30 : 230;
            p[3] = 255;
        }
    }
    return VRNImage(width, height, 2, std::move(pixels));
}

TEST(ImageTests, JPEGKeepsSizeAndColours) {
    const auto jpeg = VRNJPEGRepresentation(twoColours(64, 48), 0.7);
    ASSERT_TRUE(jpeg);
    const auto decoded = decode(*jpeg);
    ASSERT_EQ(decoded.width, 64);
    ASSERT_EQ(decoded.height, 48);
    const auto near = [](int a, int b) { return std::abs(a - b) <= 12; };
    const uint8_t* left = &decoded.rgb[(20 * 64 + 8) * 3];
    const uint8_t* right = &decoded.rgb[(20 * 64 + 56) * 3];
    EXPECT_TRUE(near(left[0], 220) && near(left[1], 20) && near(left[2], 30));
    EXPECT_TRUE(near(right[0], 10) && near(right[1], 20) && near(right[2], 230));
}

TEST(ImageTests, QualityIsAFractionOfTheEncodersScaleAndEncodingIsRepeatable) {
    const VRNImage image = twoColours(96, 64);
    const auto atSeventy = VRNJPEGRepresentation(image, 0.7);
    ASSERT_TRUE(atSeventy);
    EXPECT_EQ(VRNJPEGRepresentation(image, 0.7), atSeventy);

    // The same bytes as asking the encoder for quality 70 directly.
    tjhandle handle = tjInitCompress();
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    ASSERT_EQ(
        tjCompress2(handle, image.pixels().data(), image.width(), image.width() * 4, image.height(),
                    TJPF_RGBA, &buffer, &size, TJSAMP_420, 70, TJFLAG_ACCURATEDCT),
        0);
    const VRNData direct(buffer, buffer + size);
    tjFree(buffer);
    tjDestroy(handle);
    EXPECT_EQ(*atSeventy, direct);

    const auto best = VRNJPEGRepresentation(image, 1.0);
    const auto worst = VRNJPEGRepresentation(image, 0.0);
    ASSERT_TRUE(best && worst);
    EXPECT_GT(best->size(), atSeventy->size());
    EXPECT_LT(worst->size(), atSeventy->size());
}

TEST(ImageTests, NothingToEncodeGivesNothing) {
    EXPECT_FALSE(VRNJPEGRepresentation(VRNImage(), 0.7));
    // Bytes that do not match the size make an empty image rather than a read past the end.
    const VRNImage mismatched(4, 4, 1, std::vector<uint8_t>(10));
    EXPECT_TRUE(mismatched.isEmpty());
    EXPECT_TRUE(mismatched.pixels().empty());
    EXPECT_FALSE(VRNJPEGRepresentation(mismatched, 0.7));
    EXPECT_TRUE(VRNImage::filled(0, 0, 2, 255, 255, 255).isEmpty());
}

TEST(ImageTests, FilledImagesArePremultiplied) {
    EXPECT_EQ(VRNImage::filled(1, 1, 1, 200, 100, 0, 128).pixels(),
              (std::vector<uint8_t>{100, 50, 0, 128}));
    EXPECT_EQ(VRNImage::filled(1, 1, 1, 200, 100, 50, 0).pixels(),
              (std::vector<uint8_t>{0, 0, 0, 0}));
}

TEST(ImageTests, EitherByteOrderEncodesTheSamePictureAndDecodesBack) {
    const VRNImage rgba = twoColours(96, 64);
    VRNImage::Pixels swapped = rgba.pixels();
    for (size_t i = 0; i < swapped.size(); i += 4) {
        std::swap(swapped[i], swapped[i + 2]);
    }
    const VRNImage bgra(96, 64, 2, std::move(swapped), VRNPixelLayout::BGRA);
    EXPECT_EQ(bgra.rgbaAt(8, 20), rgba.rgbaAt(8, 20));
    const auto jpeg = VRNJPEGRepresentation(bgra, 0.7);
    ASSERT_TRUE(jpeg);
    EXPECT_EQ(jpeg, VRNJPEGRepresentation(rgba, 0.7));

    const auto near = [](int a, int b) { return std::abs(a - b) <= 12; };
    const VRNImage decoded = VRNImageWithData(*jpeg);
    ASSERT_EQ(decoded.width(), 96);
    ASSERT_EQ(decoded.height(), 64);
    EXPECT_EQ(decoded.scale(), 1);
    const auto left = decoded.rgbaAt(8, 20);
    EXPECT_TRUE(near(left[0], 220) && near(left[1], 20) && near(left[2], 30) && left[3] == 255);

    // Copies share their pixels.
    const VRNImage copy = decoded;
    EXPECT_EQ(copy.sharedPixels(), decoded.sharedPixels());

    // Bytes that are no picture, or that announce one larger than the kit reads, give nothing.
    test::LogCapture log;
    EXPECT_TRUE(VRNImageWithData(VRNData{0xde, 0xad}).isEmpty());
    EXPECT_TRUE(VRNImageWithData({}).isEmpty());
    VRNData truncated(*jpeg);
    truncated.resize(truncated.size() / 3);
    (void)VRNImageWithData(truncated);  // whatever libjpeg makes of half a picture, no crash
    ASSERT_FALSE(log.lines().empty());
    EXPECT_EQ(log.lines()[0], "VRNImage: The data is not a picture the kit can read (2 bytes)");
}

TEST(ImageTests, EmptyScreenshotIsOneWhitePixel) {
    const auto decoded = decode(VRNEmptyScreenshotJPEG());
    ASSERT_EQ(decoded.width, 1);
    ASSERT_EQ(decoded.height, 1);
    EXPECT_GE(decoded.rgb[0], 250);
    EXPECT_GE(decoded.rgb[1], 250);
    EXPECT_GE(decoded.rgb[2], 250);
}

}  // namespace
}  // namespace vorna
