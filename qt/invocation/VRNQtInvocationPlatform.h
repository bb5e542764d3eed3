#pragma once

#include <QList>
#include <QPointer>

#include "invocation/VornaInvocationManager.h"

class QWidget;

namespace vorna {

class VRNFloatingButtonWindow;
class VornaEdgePanRecognizer;
class VRNHostWindowWatcher;

// The windows and gestures the invocation manager sets up, made of Qt widgets.
class VRNQtInvocationPlatform : public VRNInvocationPlatform {
public:
    ~VRNQtInvocationPlatform() override;

    // A new floating button window, one level above the host's windows, as large as the
    // screen (empty without one), shown, with a fresh view model whose tap calls `invoke`.
    void setupFloatingButtonWindow(std::function<void()> invoke) override;
    // A right-edge pan on each of the host's windows: those on screen now and every one shown
    // later, for as long as the handler lives.
    void setupRightEdgePan(std::shared_ptr<VRNEdgeSwipeHandler> handler) override;

    // What was set up and still exists.
    QList<VRNFloatingButtonWindow*> floatingWindows() const;
    QList<VornaEdgePanRecognizer*> edgePanRecognizers() const;

private:
    void attachEdgePan(QWidget* window, const std::weak_ptr<VRNEdgeSwipeHandler>& handler);

    QList<QPointer<VRNFloatingButtonWindow>> floatingWindows_;
    QList<QPointer<VornaEdgePanRecognizer>> edgePanRecognizers_;
    QList<QPointer<VRNHostWindowWatcher>> edgePanWatchers_;
};

}  // namespace vorna
