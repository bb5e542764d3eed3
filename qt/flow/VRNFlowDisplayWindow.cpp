#include "qt/flow/VRNFlowDisplayWindow.h"

#include <QEasingCurve>
#include <QGuiApplication>
#include <QPainter>
#include <QScreen>
#include <QTimer>
#include <QVariantAnimation>
#include <QWindow>

#include <utility>

#include "qt/flow/VRNNavigationStack.h"

namespace vorna {

// Paints the window's transition picture and takes the pointer while it shows.
class VRNFlowDisplayWindow::TransitionLayer : public QWidget {
public:
    explicit TransitionLayer(VRNFlowDisplayWindow* window) : QWidget(window), window_(window) {
        setAttribute(Qt::WA_OpaquePaintEvent);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        const VRNWindowAppearance& look = window_->appearance_;
        if (!window_->backdrop_.isNull()) {
            painter.drawImage(rect(), window_->backdrop_);
        } else {
            painter.fillRect(rect(), Qt::black);
        }
        if (window_->content_.isNull()) {
            return;
        }
        painter.setOpacity(std::clamp(look.alpha * look.contentAlpha, 0.0, 1.0));
        const QPointF centre = QRectF(rect()).center();
        painter.translate(centre);
        painter.scale(look.scale, look.scale);
        painter.translate(-centre);
        painter.drawImage(rect(), window_->content_);
    }

private:
    VRNFlowDisplayWindow* window_;
};

VRNFlowDisplayWindow::VRNFlowDisplayWindow(double level) : VRNKitWindow(level) {
    setObjectName(QStringLiteral("VRNFlowDisplayWindow"));
    layer_ = new TransitionLayer(this);
    layer_->hide();
}

VRNFlowDisplayWindow::~VRNFlowDisplayWindow() {
    // Going away mid-animation tells nobody: whoever asked is going away with the window.
    completion_ = nullptr;
    if (QVariantAnimation* running = animation_) {
        running->disconnect(this);
        delete running;
    }
    // The stack's view is a child of this window and goes with it; the stack must not delete
    // it a second time.
    if (stack_ && stack_->view()) {
        stack_->view()->setParent(nullptr);
        delete stack_->view();
    }
}

void VRNFlowDisplayWindow::setRootViewController(
    std::shared_ptr<VRNNavigationController> controller) {
    stack_ = std::dynamic_pointer_cast<VRNNavigationStack>(controller);
    if (!stack_) {
        return;
    }
    QWidget* content = stack_->view();
    content->setParent(this);
    content->setGeometry(rect());
    content->show();
    layer_->raise();
}

VRNRect VRNFlowDisplayWindow::frame() const {
    const QRect area = geometry();
    return VRNRect{static_cast<double>(area.x()), static_cast<double>(area.y()),
                   static_cast<double>(area.width()), static_cast<double>(area.height())};
}

void VRNFlowDisplayWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (stack_ && stack_->view()) {
        stack_->view()->setGeometry(rect());
    }
    layer_->setGeometry(rect());
}

void VRNFlowDisplayWindow::captureBackdrop() {
    // What the tester sees where the window is about to cover the screen.
    backdrop_ = QImage();
    QScreen* area = screen() ? screen() : QGuiApplication::primaryScreen();
    if (!area || width() <= 0 || height() <= 0) {
        return;
    }
    const QPoint origin = geometry().topLeft() - area->geometry().topLeft();
    backdrop_ = area->grabWindow(0, origin.x(), origin.y(), width(), height()).toImage();
}

void VRNFlowDisplayWindow::captureContent() {
    if (!stack_ || !stack_->view() || width() <= 0 || height() <= 0) {
        content_ = QImage();
        return;
    }
    stack_->view()->setGeometry(rect());
    // Drawn into the window's own picture, made once at the window's size and drawn over for
    // each transition: a fresh full-screen picture costs more to come by than to draw.
    const qreal ratio = devicePixelRatioF();
    const QSize pixels = (QSizeF(size()) * ratio).toSize();
    if (content_.size() != pixels) {
        content_ = QImage(pixels, QImage::Format_ARGB32_Premultiplied);
        content_.setDevicePixelRatio(ratio);
    }
    content_.fill(Qt::transparent);
    stack_->view()->render(&content_, QPoint(), QRegion(),
                           QWidget::DrawWindowBackground | QWidget::DrawChildren);
}

void VRNFlowDisplayWindow::makeKeyAndVisible() {
    if (backdrop_.isNull()) {
        captureBackdrop();
    }
    isHidden_ = false;
    show();
    raiseWindow();
    activateWindow();
}

void VRNFlowDisplayWindow::setHidden(bool hidden) {
    isHidden_ = hidden;
    if (hidden) {
        hide();
    } else {
        show();
        raiseWindow();
    }
}

bool VRNFlowDisplayWindow::isShowingTransition() const {
    return layer_ && layer_->isVisible();
}

bool VRNFlowDisplayWindow::isAnimating() const {
    return animation_ && animation_->state() == QAbstractAnimation::Running;
}

void VRNFlowDisplayWindow::setAppearance(const VRNWindowAppearance& appearance) {
    appearance_ = appearance;
    updateTransition();
}

void VRNFlowDisplayWindow::updateTransition() {
    const bool plain = appearance_ == VRNWindowAppearance{};
    if (plain && !isAnimating()) {
        layer_->hide();
        return;
    }
    if (layer_->isHidden()) {
        captureContent();
        layer_->setGeometry(rect());
        layer_->raise();
        layer_->show();
    }
    layer_->update();
}

QEasingCurve VRNFlowDisplayWindow::easingCurve(VRNAnimationCurve curve) {
    // The platform's own curves: cubic Béziers from (0, 0) to (1, 1).
    const auto bezier = [](QPointF c1, QPointF c2) {
        QEasingCurve easing(QEasingCurve::BezierSpline);
        easing.addCubicBezierSegment(c1, c2, QPointF(1, 1));
        return easing;
    };
    switch (curve) {
        case VRNAnimationCurve::EaseIn:
            return bezier(QPointF(0.42, 0), QPointF(1, 1));
        case VRNAnimationCurve::EaseOut:
            return bezier(QPointF(0, 0), QPointF(0.58, 1));
        case VRNAnimationCurve::EaseInOut:
            return bezier(QPointF(0.42, 0), QPointF(0.58, 1));
        case VRNAnimationCurve::Linear:
            break;
    }
    return QEasingCurve(QEasingCurve::Linear);
}

void VRNFlowDisplayWindow::animate(const VRNWindowAppearance& target, double duration, double delay,
                                   VRNAnimationCurve curve, std::function<void(bool)> completion) {
    // A new animation takes over from where a running one is; that one is told it was cut
    // short.
    stopAnimation();
    const VRNWindowAppearance from = appearance_;
    auto* animation = new QVariantAnimation(this);
    animation_ = animation;
    completion_ = std::move(completion);
    animation->setStartValue(0.0);
    animation->setEndValue(1.0);
    animation->setDuration(static_cast<int>(duration * 1000.0));
    animation->setEasingCurve(easingCurve(curve));
    connect(animation, &QVariantAnimation::valueChanged, this,
            [this, from, target](const QVariant& value) {
                const double t = value.toDouble();
                const auto mix = [t](double a, double b) { return a + (b - a) * t; };
                appearance_ = VRNWindowAppearance{mix(from.alpha, target.alpha),
                                                  mix(from.scale, target.scale),
                                                  mix(from.contentAlpha, target.contentAlpha)};
                updateTransition();
            });
    connect(animation, &QVariantAnimation::finished, this, [this, target, animation] {
        appearance_ = target;
        animation_ = nullptr;
        animation->deleteLater();
        updateTransition();
        if (auto done = std::exchange(completion_, nullptr)) {
            done(true);
        }
    });
    updateTransition();
    if (delay > 0) {
        QTimer::singleShot(static_cast<int>(delay * 1000.0), animation,
                           [animation] { animation->start(); });
    } else {
        animation->start();
    }
}

void VRNFlowDisplayWindow::stopAnimation() {
    if (QVariantAnimation* running = animation_) {
        animation_ = nullptr;
        running->disconnect(this);
        running->stop();
        running->deleteLater();
    }
    if (auto done = std::exchange(completion_, nullptr)) {
        done(false);
    }
}

}  // namespace vorna
