#pragma once

#include <QAbstractButton>

class QGraphicsOpacityEffect;
class QLabel;

namespace vorna {

// The row that opens the inspect screen: a separator (0.8 of the width), and 20 points below
// it the "path" picture beside "Inspect Bug", in a row 0.8 of the width. The whole control is
// the button: it fires (clicked) when released inside, and its row shows at half alpha while
// it is held down.
class InspectBugControl : public QAbstractButton {
    Q_OBJECT

public:
    explicit InspectBugControl(QWidget* parent = nullptr);

    QWidget* mainStack() const { return mainStack_; }
    QLabel* titleLabel() const { return titleLabel_; }
    QWidget* separatorView() const { return separatorView_; }
    // The row's alpha: 0.5 while held down, 1.0 otherwise.
    double stackAlpha() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void commonSetup();
    void setHighlighted(bool highlighted);

    QWidget* separatorView_ = nullptr;
    QWidget* mainStack_ = nullptr;
    QLabel* titleLabel_ = nullptr;
    QGraphicsOpacityEffect* stackOpacity_ = nullptr;
};

}  // namespace vorna
