#pragma once

#include <QLabel>
#include <QPointer>
#include <QWidget>

#include "flow/VRNSeparatorPlacement.h"
#include "qt/flow/VRNSeparatorView.h"

namespace vorna {

// One fact of the inspect screen: its title in small grey capitals, its value 6 points under
// it, and a line under the value placed by the separator style (see VRNSeparatorPlacement).
class TitledLabelView : public QWidget {
    Q_OBJECT

public:
    static constexpr int kTitleToDetail = 6;

    explicit TitledLabelView(int style, QWidget* parent = nullptr);
    ~TitledLabelView() override;

    QLabel* titleLabel() const { return titleLabel_; }
    QLabel* detailLabel() const { return detailLabel_; }
    VRNSeparatorView* separatorView() const { return separatorView_; }
    // The style the view was set up with.
    const VRNSeparatorPlacement& separatorPlacement() const { return placement_; }

private:
    void commonSetup();

    QPointer<QLabel> titleLabel_;
    QPointer<QLabel> detailLabel_;
    QPointer<VRNSeparatorView> separatorView_;
    VRNSeparatorPlacement placement_;
};

}  // namespace vorna
