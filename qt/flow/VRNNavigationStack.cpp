#include "qt/flow/VRNNavigationStack.h"

#include <QEasingCurve>
#include <QEvent>
#include <QPainter>
#include <QTimer>
#include <QVariantAnimation>

#include "qt/flow/VRNViewController.h"
#include "qt/theme/VRNQtColor.h"

namespace vorna {
namespace {

// The bar: transparent unless it is to be seen; its items are laid out by the stack.
class NavigationBar : public QWidget {
public:
    explicit NavigationBar(QWidget* parent) : QWidget(parent) {}
    bool invisible = true;

protected:
    void paintEvent(QPaintEvent*) override {
        if (!invisible) {
            QPainter(this).fillRect(rect(), QColor(247, 247, 247, 240));
        }
    }
};

// Takes every press while a screen slides, so that nothing is tapped half-way.
class InputBlocker : public QWidget {
public:
    explicit InputBlocker(QWidget* parent) : QWidget(parent) {
        setAttribute(Qt::WA_NoSystemBackground);
    }
};

}  // namespace

VRNNavigationStack::VRNNavigationStack(std::shared_ptr<VRNViewController> root)
    : view_(new QWidget()) {
    view_->setObjectName(QStringLiteral("VRNNavigationStack"));
    view_->installEventFilter(this);
    auto* bar = new NavigationBar(view_);
    bar_ = bar;
    inputBlocker_ = new InputBlocker(view_);
    inputBlocker_->hide();
    if (root) {
        try {
            adopt(*root);
        } catch (...) {
            // A root screen whose set-up fails leaves nothing behind: the error is the host's
            // to see, not a half-made stack.
            root->navigationController_ = nullptr;
            delete view_.data();
            throw;
        }
        stack_.push_back(std::move(root));
        stack_.back()->view()->show();
    }
    layoutScreens();
    updateBar();
}

VRNNavigationStack::~VRNNavigationStack() {
    if (transition_) {
        transition_->stop();
    }
    // The screens' views and bar items live in the view; they go with it, before the screens.
    delete view_.data();
    for (auto& controller : stack_) {
        controller->navigationController_ = nullptr;
    }
    if (presented_) {
        presented_->navigationController_ = nullptr;
    }
    if (leaving_) {
        leaving_->navigationController_ = nullptr;
    }
}

VRNViewController* VRNNavigationStack::topViewController() const {
    return stack_.empty() ? nullptr : stack_.back().get();
}

bool VRNNavigationStack::isTransitioning() const {
    return transition_ && transition_->state() == QAbstractAnimation::Running;
}

void VRNNavigationStack::setBarAppearance(bool invisible, bool translucent, const VRNColor& tint) {
    barInvisible_ = invisible;
    barTranslucent_ = translucent;
    tint_ = VRNQtColor::toQColor(tint);
    static_cast<NavigationBar*>(bar_.data())->invisible = invisible;
    QPalette palette = bar_->palette();
    palette.setColor(QPalette::ButtonText, tint_);
    palette.setColor(QPalette::WindowText, tint_);
    bar_->setPalette(palette);
    layoutScreens();
    bar_->update();
}

void VRNNavigationStack::adopt(VRNViewController& controller) {
    controller.navigationController_ = this;
    QWidget* screen = controller.view();
    screen->setParent(view_);
    screen->setGeometry(contentRect());
    bar_->raise();
}

void VRNNavigationStack::release(VRNViewController& controller) {
    controller.navigationController_ = nullptr;
    // The screen's widgets are its own again, to delete when it goes.
    for (QWidget* widget :
         {controller.titleView(), controller.leftBarButton(), controller.rightBarButton(),
          controller.isViewLoaded() ? controller.view() : nullptr}) {
        if (widget) {
            widget->hide();
            widget->setParent(nullptr);
        }
    }
}

QRect VRNNavigationStack::contentRect() const {
    // A translucent bar lets the screens run under it; an opaque one sits above them.
    const int top = barTranslucent_ ? 0 : static_cast<int>(kBarHeight);
    return QRect(0, top, view_->width(), std::max(0, view_->height() - top));
}

void VRNNavigationStack::layoutScreens() {
    if (!view_) {
        return;
    }
    bar_->setGeometry(0, 0, view_->width(), static_cast<int>(kBarHeight));
    if (!isTransitioning()) {
        for (auto& controller : stack_) {
            if (controller->isViewLoaded()) {
                controller->view()->setGeometry(contentRect());
            }
        }
    }
    if (presented_ && presented_->isViewLoaded()) {
        presented_->view()->setGeometry(view_->rect());
    }
    inputBlocker_->setGeometry(view_->rect());
    updateBar();
}

void VRNNavigationStack::updateBar() {
    if (!bar_) {
        return;
    }
    VRNViewController* top = topViewController();
    // Only the top screen's items show.
    for (auto& controller : stack_) {
        for (QWidget* item :
             {controller->titleView(), controller->leftBarButton(), controller->rightBarButton()}) {
            if (item && controller.get() != top) {
                item->hide();
            }
        }
    }
    if (!top) {
        return;
    }
    const int barWidth = bar_->width();
    const int barHeight = bar_->height();
    const auto place = [this](QWidget* item) {
        if (item->parent() != bar_) {
            item->setParent(bar_);
        }
        item->adjustSize();
        item->show();
    };
    if (QWidget* left = top->leftBarButton()) {
        place(left);
        left->move(static_cast<int>(kBarSideMargin), (barHeight - left->height()) / 2);
    }
    if (QWidget* right = top->rightBarButton()) {
        place(right);
        right->move(barWidth - static_cast<int>(kBarSideMargin) - right->width(),
                    (barHeight - right->height()) / 2);
    }
    if (QWidget* title = top->titleView()) {
        place(title);
        title->move((barWidth - title->width()) / 2, (barHeight - title->height()) / 2);
    }
}

void VRNNavigationStack::slide(VRNViewController* incoming, VRNViewController* outgoing,
                               bool forward, std::function<void()> done) {
    const QRect rest = contentRect();
    const int width = rest.width();
    auto* animation = new QVariantAnimation(this);
    transition_ = animation;
    animation->setDuration(kTransitionMs);
    animation->setStartValue(0.0);
    animation->setEndValue(1.0);
    animation->setEasingCurve(QEasingCurve::OutCubic);
    QWidget* in = incoming->view();
    QWidget* out = outgoing ? outgoing->view() : nullptr;
    // Forward: the new screen comes in from the right while the one below moves a third of
    // the way left; back: the same, the other way round.
    const auto step = [rest, width, in, out, forward](double t) {
        const double front = forward ? 1.0 - t : t;  // share of the width the top screen is off
        QWidget* top = forward ? in : out;
        QWidget* below = forward ? out : in;
        if (top) {
            top->move(rest.x() + static_cast<int>(width * front), rest.y());
        }
        if (below) {
            below->move(rest.x() - static_cast<int>(width * (1.0 - front) / 3.0), rest.y());
        }
    };
    in->setGeometry(rest);
    in->show();
    if (forward) {
        in->raise();
    } else if (out) {
        out->raise();
    }
    bar_->raise();
    inputBlocker_->raise();
    inputBlocker_->show();
    step(0.0);
    connect(animation, &QVariantAnimation::valueChanged, this,
            [step](const QVariant& value) { step(value.toDouble()); });
    connect(animation, &QVariantAnimation::finished, this, [this, done = std::move(done)] {
        inputBlocker_->hide();
        if (done) {
            done();
        }
    });
    animation->start(QAbstractAnimation::DeleteWhenStopped);
}

void VRNNavigationStack::pushViewController(std::shared_ptr<VRNFlowScreen> screen, bool animated) {
    auto controller = std::dynamic_pointer_cast<VRNViewController>(screen);
    if (!controller || isTransitioning()) {
        return;
    }
    const std::shared_ptr<VRNViewController> below = stack_.empty() ? nullptr : stack_.back();
    stack_.push_back(controller);
    adopt(*controller);
    controller->viewWillAppear(animated);
    updateBar();
    if (presented_ && presented_->isViewLoaded()) {
        presented_->view()->raise();
    }
    const auto finish = [this, below, controller, animated] {
        if (below && below->isViewLoaded()) {
            below->view()->hide();
            below->view()->move(contentRect().topLeft());
        }
        controller->view()->setGeometry(contentRect());
        controller->viewDidAppear(animated);
    };
    if (!animated || !below) {
        controller->view()->show();
        controller->view()->raise();
        bar_->raise();
        finish();
        return;
    }
    slide(controller.get(), below.get(), true, finish);
}

void VRNNavigationStack::popViewControllerAnimated(bool animated) {
    if (stack_.size() < 2 || isTransitioning()) {
        return;
    }
    leaving_ = stack_.back();
    stack_.pop_back();
    VRNViewController* top = stack_.back().get();
    top->viewWillAppear(animated);
    updateBar();
    // The screen that leaves may be the one whose button asked for the pop: it is let go of
    // once the event that asked is over.
    const auto finish = [this, top, animated] {
        if (leaving_) {
            release(*leaving_);
            QTimer::singleShot(0, this, [this] { leaving_.reset(); });
        }
        top->view()->setGeometry(contentRect());
        top->viewDidAppear(animated);
    };
    if (!animated) {
        top->view()->show();
        finish();
        return;
    }
    slide(top, leaving_.get(), false, finish);
}

void VRNNavigationStack::presentViewController(std::shared_ptr<VRNFlowScreen> screen,
                                               bool animated) {
    auto controller = std::dynamic_pointer_cast<VRNViewController>(screen);
    if (!controller) {
        return;
    }
    presented_ = std::move(controller);
    QWidget* shown = presented_->view();
    shown->setParent(view_);
    shown->setGeometry(view_->rect());
    presented_->viewWillAppear(animated);
    shown->show();
    shown->raise();
    presented_->viewDidAppear(animated);
}

bool VRNNavigationStack::eventFilter(QObject* watched, QEvent* event) {
    if (watched == view_ && event->type() == QEvent::Resize) {
        layoutScreens();
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace vorna
