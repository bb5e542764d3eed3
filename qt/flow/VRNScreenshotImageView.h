#pragma once

#include <QImage>
#include <QWidget>

#include "platform/VRNImage.h"

namespace vorna {

// The picture of the annotation screen: a kit image stretched over the view's bounds (the view
// has the picture's aspect). The view shows the image's own pixels; nothing is copied. It has
// no background of its own: where there is no image, the screen behind shows.
class VRNScreenshotImageView : public QWidget {
    Q_OBJECT

public:
    explicit VRNScreenshotImageView(QWidget* parent = nullptr);

    const VRNImage& image() const { return image_; }
    void setImage(VRNImage image);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    VRNImage image_;
    QImage shown_;  // over image_'s pixels
};

}  // namespace vorna
