#include "qt/flow/InspectBugControl.h"

#include <QGraphicsOpacityEffect>
#include <QHBoxLayout>
#include <QLabel>

#include "qt/flow/VRNScreenStyle.h"
#include "qt/theme/VRNKitImages.h"
#include "theme/Colors.h"

namespace vorna {
namespace {

constexpr double kWidthShare = 0.8;
constexpr int kStackTop = 20;  // below the separator
constexpr int kStackSpacing = 8;
constexpr QSizeF kPathImageSize(24, 24);
constexpr double kHighlightedAlpha = 0.5;

}  // namespace

InspectBugControl::InspectBugControl(QWidget* parent) : QAbstractButton(parent) {
    commonSetup();
}

void InspectBugControl::commonSetup() {
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    // Reached by Tab; a click does not take the keyboard from the field being edited.
    setFocusPolicy(Qt::TabFocus);
    setCursor(Qt::PointingHandCursor);
    const QString title = VRNScreenStyle::localized("Inspect Bug");
    setText(title);
    setAccessibleName(title);

    separatorView_ = new QWidget(this);
    VRNScreenStyle::setFillColor(separatorView_, VRNScreenStyle::color(Colors::paleGrayColor()));

    mainStack_ = new QWidget(this);
    mainStack_->setAttribute(Qt::WA_TransparentForMouseEvents);
    auto* row = new QHBoxLayout(mainStack_);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(kStackSpacing);
    auto* picture = new QLabel(mainStack_);
    picture->setPixmap(
        VRNKitImages::imageNamed(QStringLiteral("path"), kPathImageSize, devicePixelRatioF()));
    picture->setFixedSize(kPathImageSize.toSize());
    row->addWidget(picture);
    titleLabel_ = new QLabel(title, mainStack_);
    titleLabel_->setFont(VRNScreenStyle::semiBoldFont(20));
    VRNScreenStyle::setTextColor(titleLabel_, VRNScreenStyle::color(Colors::black()));
    row->addWidget(titleLabel_, 1);

    stackOpacity_ = new QGraphicsOpacityEffect(mainStack_);
    stackOpacity_->setOpacity(1.0);
    // Without an effect drawn the row is painted as it is; the effect only shows when dimmed.
    stackOpacity_->setEnabled(false);
    mainStack_->setGraphicsEffect(stackOpacity_);

    connect(this, &QAbstractButton::pressed, this, [this] { setHighlighted(true); });
    connect(this, &QAbstractButton::released, this, [this] { setHighlighted(false); });
}

void InspectBugControl::setHighlighted(bool highlighted) {
    stackOpacity_->setOpacity(highlighted ? kHighlightedAlpha : 1.0);
    stackOpacity_->setEnabled(highlighted);
}

double InspectBugControl::stackAlpha() const {
    return stackOpacity_->isEnabled() ? stackOpacity_->opacity() : 1.0;
}

QSize InspectBugControl::sizeHint() const {
    return QSize(375, 1 + kStackTop + mainStack_->sizeHint().height());
}

void InspectBugControl::paintEvent(QPaintEvent*) {
    // The separator and the row draw themselves.
}

void InspectBugControl::resizeEvent(QResizeEvent* event) {
    QAbstractButton::resizeEvent(event);
    separatorView_->setGeometry(VRNScreenStyle::centredRect(width(), kWidthShare, 0, 1));
    mainStack_->setGeometry(VRNScreenStyle::centredRect(width(), kWidthShare, 1 + kStackTop,
                                                        mainStack_->sizeHint().height()));
}

}  // namespace vorna
