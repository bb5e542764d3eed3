#pragma once

#include <QImage>

#include "platform/VRNImage.h"

namespace vorna {

// Pictures between the kit and Qt. A picture in Qt's native byte order changes hands without a
// copy: the QImage reads the kit image's pixels (it keeps them alive), and a QImage that owns its
// pixels is taken over as it is.
class VRNQtImage {
public:
    // A QImage over the image's pixels, at its scale; a null QImage for an empty image.
    static QImage toQImage(const VRNImage& image);
    // The image's pixels at its device pixel ratio; premultiplied, in the kit's layout for Qt's
    // native order (a copy only where the format needs converting).
    static VRNImage fromQImage(const QImage& image);
    // A bitmap of `pixelSize` in Qt's native order whose pixels become the kit image's when
    // `finish` is called: Qt draws into it, and nothing is copied. Transparent at first.
    class Canvas {
    public:
        Canvas(const QSize& pixelSize, double scale);
        QImage& image() { return image_; }
        VRNImage finish();

    private:
        VRNImage::Pixels pixels_;
        QImage image_;
        double scale_;
    };
};

}  // namespace vorna
