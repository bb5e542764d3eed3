#include "qt/flow/EmailEntryView.h"

#include <QLabel>
#include <QLineEdit>

#include <cmath>

#include "qt/flow/VRNScreenStyle.h"
#include "theme/Colors.h"

namespace vorna {
namespace {

constexpr double kWidthShare = 0.8;
constexpr int kFieldTop = 20;   // below the separator
constexpr int kDetailTop = 15;  // below the field

int innerWidth(int width) {
    return static_cast<int>(std::lround(width * kWidthShare));
}

}  // namespace

EmailEntryView::EmailEntryView(QWidget* parent) : QWidget(parent) {
    commonSetup();
}

void EmailEntryView::commonSetup() {
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);

    separatorView_ = new QWidget(this);
    VRNScreenStyle::setFillColor(separatorView_, VRNScreenStyle::color(Colors::paleGrayColor()));

    const QColor slate = VRNScreenStyle::color(Colors::slateColor());
    textField_ = new QLineEdit(this);
    textField_->setFont(VRNScreenStyle::regularFont(18));
    textField_->setFrame(false);
    textField_->setPlaceholderText(VRNScreenStyle::localized("Your email"));
    textField_->setInputMethodHints(Qt::ImhEmailCharactersOnly);
    QPalette palette = textField_->palette();
    palette.setColor(QPalette::Text, slate);
    palette.setColor(QPalette::PlaceholderText, slate);
    palette.setColor(QPalette::Base, Qt::transparent);
    textField_->setPalette(palette);

    detailLabel_ = new QLabel(
        VRNScreenStyle::localized("Optional, if you're available for a follow-up"), this);
    detailLabel_->setFont(VRNScreenStyle::regularFont(15));
    detailLabel_->setWordWrap(true);
    VRNScreenStyle::setTextColor(detailLabel_, VRNScreenStyle::color(Colors::regularGrayColor()));
}

int EmailEntryView::heightForWidth(int width) const {
    return 1 + kFieldTop + textField_->sizeHint().height() + kDetailTop +
           detailLabel_->heightForWidth(innerWidth(width));
}

QSize EmailEntryView::sizeHint() const {
    return QSize(375, heightForWidth(375));
}

QSize EmailEntryView::minimumSizeHint() const {
    return QSize(0, heightForWidth(width() > 0 ? width() : 375));
}

void EmailEntryView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    separatorView_->setGeometry(VRNScreenStyle::centredRect(width(), kWidthShare, 0, 1));
    const int fieldHeight = textField_->sizeHint().height();
    textField_->setGeometry(
        VRNScreenStyle::centredRect(width(), kWidthShare, 1 + kFieldTop, fieldHeight));
    const int detailY = 1 + kFieldTop + fieldHeight + kDetailTop;
    const int inner = innerWidth(width());
    detailLabel_->setGeometry(VRNScreenStyle::centredRect(width(), kWidthShare, detailY,
                                                          detailLabel_->heightForWidth(inner)));
}

}  // namespace vorna
