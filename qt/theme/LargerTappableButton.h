#pragma once

#include <QPointer>
#include <QPushButton>

#include <cstdint>

namespace vorna {

// A button whose touch area reaches beyond its bounds by an inset on each side (20 points by
// default), for the small controls of the screens. The area is what pointInside says:
// every edge moved out by its inset and cut to a whole number, edges included.
//
// Qt hands a click to the widget under it, so a click in the extra area lands on the button's
// parent; the button watches its parent and takes such clicks (and the moves and release that
// follow) as its own. A sibling lying in the extra area keeps the clicks that land on it.
class LargerTappableButton : public QPushButton {
    Q_OBJECT

public:
    explicit LargerTappableButton(QWidget* parent = nullptr);
    explicit LargerTappableButton(const QString& text, QWidget* parent = nullptr);

    int32_t horizontalClickableInset() const { return horizontalClickableInset_; }
    void setHorizontalClickableInset(int32_t inset) { horizontalClickableInset_ = inset; }
    int32_t verticalClickableInset() const { return verticalClickableInset_; }
    void setVerticalClickableInset(int32_t inset) { verticalClickableInset_ = inset; }

    // Whether a point in the button's own coordinates is within its touch area.
    bool pointInside(const QPointF& point) const;

protected:
    bool hitButton(const QPoint& pos) const override;
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void watchParent();

    int32_t horizontalClickableInset_ = 20;
    int32_t verticalClickableInset_ = 20;
    QPointer<QWidget> watchedParent_;
    bool forwarding_ = false;
};

}  // namespace vorna
