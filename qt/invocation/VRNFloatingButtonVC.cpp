#include "qt/invocation/VRNFloatingButtonVC.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLineF>
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
      viewModel_(std::move(viewModel)) {}

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
    // While a press is under way, the whole application is watched for what cancels a drag.
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
    QAbstractButton* button = view_->vornaButton();
    const auto* mouse = static_cast<QMouseEvent*>(event);
    const QPointF now = mouse->globalPosition();
    switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
            if (mouse->button() != Qt::LeftButton) {
                return;
            }
            tracking_ = true;
            panning_ = false;
            ignoreRelease_ = false;
            pressGlobal_ = lastGlobal_ = now;
            button->setDown(true);
            QCoreApplication::instance()->installEventFilter(this);
            return;
        case QEvent::MouseMove:
            if (!tracking_) {
                return;
            }
            if (!panning_) {
                const int distance = QGuiApplication::styleHints()->startDragDistance();
                if (QLineF(pressGlobal_, now).length() < distance) {
                    return;
                }
                panning_ = true;
                button->setDown(false);
                panned(VRNPanState::Began, now - lastGlobal_);
            } else {
                panned(VRNPanState::Changed, now - lastGlobal_);
            }
            lastGlobal_ = now;
            return;
        case QEvent::MouseButtonRelease: {
            if (mouse->button() != Qt::LeftButton) {
                return;
            }
            if (ignoreRelease_) {
                ignoreRelease_ = false;
                return;
            }
            if (!tracking_) {
                return;
            }
            const bool wasPanning = panning_;
            endTracking();
            if (wasPanning) {
                panned(VRNPanState::Ended, now - lastGlobal_);
            } else if (view_->pointInside(view_->mapFromGlobal(now))) {
                vornaButtonTapped();
            }
            return;
        }
        default:
            return;
    }
}

void VRNFloatingButtonVC::cancelDrag() {
    if (!tracking_) {
        return;
    }
    const bool wasPanning = panning_;
    endTracking();
    ignoreRelease_ = true;
    if (wasPanning) {
        panned(VRNPanState::Cancelled, QPointF());
    }
}

void VRNFloatingButtonVC::endTracking() {
    tracking_ = false;
    panning_ = false;
    if (view_) {
        view_->vornaButton()->setDown(false);
    }
    if (auto* app = QCoreApplication::instance()) {
        app->removeEventFilter(this);
    }
}

}  // namespace vorna
