#pragma once

#include <QList>
#include <QPointer>

#include "invocation/VornaInvocationManager.h"

namespace vorna {

class VRNFloatingButtonWindow;
class VornaEdgePanRecognizer;

// The windows and gestures the invocation manager sets up, made of Qt widgets.
class VRNQtInvocationPlatform : public VRNInvocationPlatform {
public:
    // A new floating button window, one level above the host's windows, as large as the
    // screen (empty without one), shown, with a fresh view model whose tap calls `invoke`.
    void setupFloatingButtonWindow(std::function<void()> invoke) override;
    // A right-edge pan on the key window as it stands now; without one the pan is not set up.
    void setupRightEdgePan(std::shared_ptr<VRNEdgeSwipeHandler> handler) override;

    // What was set up and still exists.
    QList<VRNFloatingButtonWindow*> floatingWindows() const;
    QList<VornaEdgePanRecognizer*> edgePanRecognizers() const;

private:
    QList<QPointer<VRNFloatingButtonWindow>> floatingWindows_;
    QList<QPointer<VornaEdgePanRecognizer>> edgePanRecognizers_;
};

}  // namespace vorna
