#pragma once

#include <QWidget>

namespace vorna {

// The 1-point pale grey line between the parts of the flow's screens.
class VRNSeparatorView : public QWidget {
    Q_OBJECT

public:
    static constexpr int kThickness = 1;

    explicit VRNSeparatorView(QWidget* parent = nullptr);

    QSize sizeHint() const override { return QSize(0, kThickness); }

protected:
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace vorna
