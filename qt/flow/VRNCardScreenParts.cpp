#include "qt/flow/VRNCardScreenParts.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QToolButton>

#include "qt/flow/VRNScreenStyle.h"
#include "qt/theme/VRNKitImages.h"
#include "theme/Colors.h"

namespace vorna {
namespace {

constexpr QSizeF kBackArrowSize(24, 24);
constexpr int kBarButtonSide = 44;
constexpr double kTitleSize = 26;

// The kit's image in one colour, as a bar button's image takes the bar's tint.
QPixmap tintedImage(const QString& name, const QSizeF& size, double scale, const QColor& tint) {
    QPixmap pixmap = VRNKitImages::imageNamed(name, size, scale);
    if (!pixmap.isNull()) {
        QPainter painter(&pixmap);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(QRectF(QPointF(0, 0), size), tint);
    }
    return pixmap;
}

}  // namespace

VRNRoundedCard::VRNRoundedCard(double cornerRadius, QWidget* parent)
    : QWidget(parent), cornerRadius_(cornerRadius) {}

QPainterPath VRNRoundedCard::topRoundedPath(const QRectF& bounds, double radius) {
    QPainterPath path;
    path.moveTo(bounds.bottomLeft());
    path.lineTo(bounds.left(), bounds.top() + radius);
    path.arcTo(QRectF(bounds.left(), bounds.top(), 2 * radius, 2 * radius), 180, -90);
    path.lineTo(bounds.right() - radius, bounds.top());
    path.arcTo(QRectF(bounds.right() - 2 * radius, bounds.top(), 2 * radius, 2 * radius), 90, -90);
    path.lineTo(bounds.bottomRight());
    path.closeSubpath();
    return path;
}

void VRNRoundedCard::updateShape() {
    shape_ = topRoundedPath(QRectF(rect()), cornerRadius_);
    update();
}

void VRNRoundedCard::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    updateShape();
}

void VRNRoundedCard::paintEvent(QPaintEvent*) {
    // Antialiased, not a widget mask: a mask's edge is jagged.
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(shape_, Qt::white);
}

QWidget* VRNCardScreenParts::titleView(const QString& text) {
    auto* container = new QWidget();
    container->setAttribute(Qt::WA_TranslucentBackground);
    auto* centred = new QHBoxLayout(container);
    centred->setContentsMargins(0, 0, 0, 0);
    auto* title = new QLabel(text, container);
    title->setObjectName(QStringLiteral("titleLabel"));
    title->setFont(VRNScreenStyle::semiBoldFont(kTitleSize));
    title->setAlignment(Qt::AlignCenter);
    VRNScreenStyle::setTextColor(title, VRNScreenStyle::color(Colors::whiteColor()));
    centred->addWidget(title, 0, Qt::AlignCenter);
    return container;
}

QToolButton* VRNCardScreenParts::backButton(const QColor& tint, double scale) {
    auto* back = new QToolButton();
    back->setObjectName(QStringLiteral("backButton"));
    back->setAccessibleName(QStringLiteral("Back"));
    back->setIcon(QIcon(tintedImage(QStringLiteral("back-arrow"), kBackArrowSize, scale, tint)));
    back->setIconSize(kBackArrowSize.toSize());
    back->setFixedSize(kBarButtonSide, kBarButtonSide);
    back->setCursor(Qt::PointingHandCursor);
    back->setFocusPolicy(Qt::NoFocus);
    back->setStyleSheet(QStringLiteral("QToolButton { border: none; background: transparent; }"));
    return back;
}

}  // namespace vorna
