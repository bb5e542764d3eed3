#include "qt/invocation/VRNQtInvocationPlatform.h"

#include <QApplication>
#include <QScreen>
#include <QTimer>
#include <QVariant>
#include <QWidget>

#include "flow/VRNFloatingButtonVM.h"
#include "platform/VRNDeviceProvider.h"
#include "qt/invocation/VRNFloatingButtonVC.h"
#include "qt/invocation/VRNFloatingButtonWindow.h"
#include "qt/invocation/VRNHostWindowWatcher.h"
#include "qt/invocation/VornaEdgePanRecognizer.h"
#include "qt/platform/VRNKitWindow.h"
#include "qt/platform/VRNWindowStack.h"

namespace vorna {
namespace {

// The objects of the list that still exist: the host may delete a window the kit set up on.
template <class T>
QList<T*> alive(const QList<QPointer<T>>& objects) {
    QList<T*> result;
    for (const auto& object : objects) {
        if (object) {
            result.append(object.data());
        }
    }
    return result;
}

constexpr const char* kHandlerKey = "vornaEdgeSwipeHandler";

}  // namespace

void VRNQtInvocationPlatform::setupFloatingButtonWindow(std::function<void()> invoke) {
    auto* window = new VRNFloatingButtonWindow();
    const VRNScreenInfo screen = VRNDeviceProvider::current()->mainScreen();
    const QScreen* qscreen = QGuiApplication::primaryScreen();
    const QPoint origin = qscreen ? qscreen->geometry().topLeft() : QPoint();
    window->setGeometry(
        QRect(origin, QSize(static_cast<int>(screen.width), static_cast<int>(screen.height))));

    auto viewModel = std::make_shared<VRNFloatingButtonVM>();
    viewModel->setVornaFloatingButtonInvocationCallback(std::move(invoke));
    window->setRootViewController(new VRNFloatingButtonVC(viewModel));
    window->show();
    // Owned by the window: it goes with it.
    new VRNHostWindowWatcher(
        [window](QWidget*, VRNHostWindowWatcher::Change) {
            // After the host's window has been put on top by its own showing or activation.
            QTimer::singleShot(0, window, [window] { window->stayAbove(); });
        },
        window);
    floatingWindows_.append(window);
}

VRNQtInvocationPlatform::~VRNQtInvocationPlatform() {
    qDeleteAll(alive(edgePanWatchers_));
}

void VRNQtInvocationPlatform::setupRightEdgePan(std::shared_ptr<VRNEdgeSwipeHandler> handler) {
    const std::weak_ptr<VRNEdgeSwipeHandler> weak = handler;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && VRNKitWindow::isHostWindow(window)) {
            attachEdgePan(window, weak);
        }
    }
    // A host opens windows after the kit started: each gets the pan when first shown.
    auto* watcher = new VRNHostWindowWatcher(nullptr, qApp);
    watcher->setCallback([this, weak, watcher](QWidget* window, VRNHostWindowWatcher::Change change) {
        if (weak.expired()) {
            watcher->deleteLater();
        } else if (change == VRNHostWindowWatcher::Change::Shown) {
            attachEdgePan(window, weak);
        }
    });
    edgePanWatchers_.append(watcher);
}

void VRNQtInvocationPlatform::attachEdgePan(QWidget* window,
                                            const std::weak_ptr<VRNEdgeSwipeHandler>& weak) {
    // A window shown again keeps the one pan it has for this handler.
    const auto key = QVariant::fromValue(reinterpret_cast<quintptr>(weak.lock().get()));
    for (VornaEdgePanRecognizer* existing : alive(edgePanRecognizers_)) {
        if (existing->view() == window && existing->property(kHandlerKey) == key) {
            return;
        }
    }
    auto* recognizer = new VornaEdgePanRecognizer(window, [weak](VRNScreenEdgePanRecognizer& pan) {
        if (auto handler = weak.lock()) {
            handler->swiped(pan.state(), pan.translationInView().x(), [&pan] {
                pan.setEnabled(false);
                pan.setEnabled(true);
            });
        }
    });
    recognizer->setEdges(Qt::RightEdge);
    recognizer->setProperty(kHandlerKey, key);
    edgePanRecognizers_.append(recognizer);
}

QList<VRNFloatingButtonWindow*> VRNQtInvocationPlatform::floatingWindows() const {
    return alive(floatingWindows_);
}

QList<VornaEdgePanRecognizer*> VRNQtInvocationPlatform::edgePanRecognizers() const {
    return alive(edgePanRecognizers_);
}

}  // namespace vorna
