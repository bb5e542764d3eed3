#include "qt/invocation/VRNQtInvocationPlatform.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include "flow/VRNFloatingButtonVM.h"
#include "platform/VRNDeviceProvider.h"
#include "qt/invocation/VRNFloatingButtonVC.h"
#include "qt/invocation/VRNFloatingButtonWindow.h"
#include "qt/invocation/VornaEdgePanRecognizer.h"
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
    floatingWindows_.append(window);
}

void VRNQtInvocationPlatform::setupRightEdgePan(std::shared_ptr<VRNEdgeSwipeHandler> handler) {
    QWidget* keyWindow = VRNWindowStack::keyWindow();
    if (!keyWindow) {
        return;
    }
    auto* recognizer =
        new VornaEdgePanRecognizer(keyWindow, [handler](VRNScreenEdgePanRecognizer& pan) {
            handler->swiped(pan.state(), pan.translationInView().x(), [&pan] {
                pan.setEnabled(false);
                pan.setEnabled(true);
            });
        });
    recognizer->setEdges(Qt::RightEdge);
    edgePanRecognizers_.append(recognizer);
}

QList<VRNFloatingButtonWindow*> VRNQtInvocationPlatform::floatingWindows() const {
    return alive(floatingWindows_);
}

QList<VornaEdgePanRecognizer*> VRNQtInvocationPlatform::edgePanRecognizers() const {
    return alive(edgePanRecognizers_);
}

}  // namespace vorna
