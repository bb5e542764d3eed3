#include "qt/flow/TitledLabelView.h"

#include <QLabel>

#include "qt/flow/VRNColumnLayout.h"
#include "qt/flow/VRNScreenStyle.h"
#include "qt/flow/VRNSeparatorView.h"
#include "theme/Colors.h"

namespace vorna {
namespace {

// The style of the view being set up: the constructor writes it, commonSetup reads it. It is
// shared by every view of the module, as the views are only ever made one at a time on the
// main thread.
int separatorStyle = 0;

constexpr double kTitleFontSize = 12;
constexpr double kDetailFontSize = 16;

QLabel* makeLabel(const QFont& font, const VRNColor& color, QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setFont(font);
    label->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    label->setWordWrap(true);
    // Facts are shown as gathered, never read as markup.
    label->setTextFormat(Qt::PlainText);
    VRNScreenStyle::setTextColor(label, VRNScreenStyle::color(color));
    return label;
}

}  // namespace

TitledLabelView::TitledLabelView(int style, QWidget* parent) : QWidget(parent) {
    separatorStyle = style;
    commonSetup();
}

TitledLabelView::~TitledLabelView() = default;

void TitledLabelView::commonSetup() {
    placement_ = VRNSeparatorPlacement::forStyle(separatorStyle);
    titleLabel_ =
        makeLabel(VRNScreenStyle::boldFont(kTitleFontSize), Colors::coolGreyColor(), this);
    detailLabel_ =
        makeLabel(VRNScreenStyle::regularFont(kDetailFontSize), Colors::gunmetalColor(), this);
    separatorView_ = new VRNSeparatorView(this);

    auto* layout = new VRNColumnLayout(this);
    layout->addWidget(titleLabel_);
    layout->addWidget(detailLabel_, 1.0, kTitleToDetail);
    layout->addWidget(separatorView_, placement_.widthFraction.value_or(1.0),
                      static_cast<int>(placement_.gapAbove));
    if (placement_.hidden) {
        // A hidden line still takes its point of height, as the row's other styles do.
        QSizePolicy policy = separatorView_->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        separatorView_->setSizePolicy(policy);
        separatorView_->hide();
    }
}

}  // namespace vorna
