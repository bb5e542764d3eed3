#pragma once

#include <QColor>
#include <QWidget>

#include <functional>

#include "flow/VRNStrokeCapture.h"

namespace vorna {

// The clear drawing surface over the annotation screen's picture. It follows one pointer (the
// mouse's left button, or the first finger that touches it; other fingers are ignored), collects
// the stroke into `pointsToDraw` and draws only that stroke, in `drawingColor` with round caps
// and joins. When the stroke ends it asks for the picture to be burnt in (NeedScreenshotBlock),
// then clears itself: finished strokes live only in the picture. A touch the window system
// cancels leaves its stroke showing until the next press.
class VRNOverlayView : public QWidget {
    Q_OBJECT

public:
    static constexpr double lineWidth = 2.0;  // points

    explicit VRNOverlayView(QWidget* parent = nullptr);

    QColor drawingColor() const { return drawingColor_; }
    void setDrawingColor(const QColor& color);

    // Runs when a stroke ends, while the stroke is still drawn.
    void setNeedScreenshotBlock(std::function<void()> block);

protected:
    bool event(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void strokeChanged();

    VRNStrokeCapture capture_;
    QColor drawingColor_ = Qt::red;
    QRectF shownStroke_;  // what the last paint of a stroke covered
};

}  // namespace vorna
