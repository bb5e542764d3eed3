#include "qt/invocation/VRNFloatingButtonVC.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QStyleHints>

#include "qt/invocation/VRNFloatingButtonView.h"
#include "state/VRNAppRepository.h"

namespace vorna {

VRNFloatingButtonVC::VRNFloatingButtonVC(std::shared_ptr<VRNFloatingButtonVMProtocol> viewModel,
                                         std::shared_ptr<VRNAppRepository> repository,
                                         QObject* parent)
    : QObject(parent),
      appRepository_(repository ? std::move(repository) : VRNAppRepository::sharedInstance()),
      viewModel_(std::move(viewModel)),
      tracker_(VRNFloatingButtonTracker::Callbacks{
          [this](VRNPanState state, VRNPoint step) { panned(state, QPointF(step.x, step.y)); },
          [this] { vornaButtonTapped(); },
          [this](bool down) {
              if (view_) {
                  view_->vornaButton()->setDown(down);
              }
          },
          [this](bool tracking) { setWatchingApplication(tracking); }}) {}

VRNFloatingButtonVC::~VRNFloatingButtonVC() {
    if (auto* app = QCoreApplication::instance()) {
        app->removeEventFilter(this);
    }
}

VRNFloatingButtonView* VRNFloatingButtonVC::getMainView() {
    if (!view_) {
        loadView();
        viewDidLoad();
    }
    return view_;
}

void VRNFloatingButtonVC::loadView() {
    view_ = new VRNFloatingButtonView(appRepository_);
}

void VRNFloatingButtonVC::viewDidLoad() {
    commonSetup();
}

void VRNFloatingButtonVC::commonSetup() {
    // Taps and drags are told apart here rather than by the button, so that a drag never ends
    // in a click: the button itself takes no pointer events.
    view_->vornaButton()->setAttribute(Qt::WA_TransparentForMouseEvents);
}

void VRNFloatingButtonVC::vornaButtonTapped() {
    if (viewModel_) {
        viewModel_->didPressVornaButton();
    }
}

void VRNFloatingButtonVC::panned(VRNPanState state, const QPointF& translation) {
    if (!view_) {
        return;
    }
    const QRectF frame = view_->buttonFrame();
    const QRectF container = QRectF(QPointF(0, 0), QSizeF(view_->size()));
    const VRNRect moved = VRNFloatingButtonVM::pannedButtonFrame(
        state, VRNRect{frame.x(), frame.y(), frame.width(), frame.height()}, translation.x(),
        translation.y(),
        VRNRect{container.x(), container.y(), container.width(), container.height()},
        *appRepository_);
    view_->setButtonFrame(QRectF(moved.x, moved.y, moved.width, moved.height));
}

bool VRNFloatingButtonVC::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
        case QEvent::KeyPress:
            if (watched->isWindowType() &&
                static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
                cancelDrag();
            }
            break;
        case QEvent::ApplicationStateChange:
            if (QGuiApplication::applicationState() != Qt::ApplicationActive) {
                cancelDrag();
            }
            break;
        default:
            break;
    }
    return false;
}

void VRNFloatingButtonVC::pointerEvent(QEvent* event) {
    if (!view_) {
        return;
    }
    const auto* mouse = static_cast<QMouseEvent*>(event);
    const QPointF now = mouse->globalPosition();
    const VRNPoint at{now.x(), now.y()};
    switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
            if (mouse->button() == Qt::LeftButton) {
                tracker_.press(at);
            }
            return;
        case QEvent::MouseMove:
            tracker_.move(at, QGuiApplication::styleHints()->startDragDistance());
            return;
        case QEvent::MouseButtonRelease:
            if (mouse->button() == Qt::LeftButton) {
                tracker_.release(at, view_->pointInside(view_->mapFromGlobal(now)));
            }
            return;
        default:
            return;
    }
}

void VRNFloatingButtonVC::cancelDrag() {
    tracker_.cancel();
}

void VRNFloatingButtonVC::setWatchingApplication(bool watching) {
    // While a press is under way, the whole application is watched for what cancels a drag.
    if (auto* app = QCoreApplication::instance()) {
        if (watching) {
            app->installEventFilter(this);
        } else {
            app->removeEventFilter(this);
        }
    }
}

}  // namespace vorna
