#pragma once

#include <QPointer>
#include <QRectF>
#include <QWidget>

#include <memory>

class QAbstractButton;

namespace vorna {

class VRNAppRepository;

// The floating button's view: a clear view over the whole screen holding the round button
// (70 × 70 points, the platform's plain blue, the bug icon drawn at 20 × 24 points). The
// button's frame is kept in points with fractions; the widget sits on the nearest pixel.
class VRNFloatingButtonView : public QWidget {
    Q_OBJECT

public:
    explicit VRNFloatingButtonView(std::shared_ptr<VRNAppRepository> repository,
                                   QWidget* parent = nullptr);

    QAbstractButton* vornaButton() const { return vornaButton_; }
    QRectF buttonFrame() const { return buttonFrame_; }
    void setButtonFrame(const QRectF& frame);

    // Only touches on the button belong to the view.
    bool pointInside(const QPointF& point) const;

    // The kit's image of that name drawn into `size` points at the screen's scale, stretched
    // to fill it; empty if the kit has no such image.
    static QPixmap imageWithImage(const QString& name, const QSizeF& size);

signals:
    void buttonFrameChanged(const QRectF& frame);

private:
    void commonSetup();

    std::shared_ptr<VRNAppRepository> appRepository_;
    QAbstractButton* vornaButton_ = nullptr;
    QRectF buttonFrame_;
};

}  // namespace vorna
