#pragma once

#include <QColor>
#include <QPainterPath>
#include <QString>
#include <QWidget>

class QToolButton;

namespace vorna {

// The white card the compose and inspect screens are laid out on, its top corners rounded: the
// shape follows the card's size.
class VRNRoundedCard : public QWidget {
public:
    VRNRoundedCard(double cornerRadius, QWidget* parent);

    const QPainterPath& shape() const { return shape_; }
    // The shape for the card's bounds now (done again at each resize).
    void updateShape();
    // A rectangle whose top-left and top-right corners are rounded.
    static QPainterPath topRoundedPath(const QRectF& bounds, double radius);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    double cornerRadius_;
    QPainterPath shape_;
};

// The bar items the two screens share.
class VRNCardScreenParts {
public:
    // The title in the middle of the bar: white, semibold 26, centred in a clear container.
    static QWidget* titleView(const QString& text);
    // The back arrow, tinted like the bar's buttons, in a 44-point button with no frame.
    static QToolButton* backButton(const QColor& tint, double scale);
};

}  // namespace vorna
