#pragma once

#include <QObject>
#include <QPointF>
#include <QPointer>

#include <functional>

#include "invocation/VornaInvocationManager.h"

class QWidget;

namespace vorna {

// A pan that starts at an edge of a view: the screen-edge pan of a phone, on a window. The
// press must land within 20 points of the edge; the gesture begins once the pointer has moved
// 10 points away from the edge, and from then on reports every move (changed) until the button
// is released (ended). Disabling it while it runs cancels it; it then waits for the next press.
// It looks at the events reaching the view's window and passes every one of them on.
class VRNScreenEdgePanRecognizer : public QObject {
    Q_OBJECT

public:
    using State = VRNEdgeSwipeHandler::GestureState;
    using Action = std::function<void(VRNScreenEdgePanRecognizer&)>;

    static constexpr double kEdgeZone = 20.0;    // points
    static constexpr double kHysteresis = 10.0;  // points

    // Attaches to `view`; the recognizer is owned by the view.
    VRNScreenEdgePanRecognizer(QWidget* view, Action action);

    QWidget* view() const { return view_; }
    Qt::Edges edges() const { return edges_; }
    void setEdges(Qt::Edges edges) { edges_ = edges; }
    State state() const { return state_; }
    // How far the pointer has moved since the press, in points of the view.
    QPointF translationInView() const { return translation_; }
    bool isEnabled() const { return enabled_; }
    void setEnabled(bool enabled);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool startsAtEdge(const QPointF& inView) const;
    void fire(State state);

    QPointer<QWidget> view_;
    Action action_;
    Qt::Edges edges_;
    State state_ = State::Possible;
    bool tracking_ = false;
    bool enabled_ = true;
    QPointF start_;
    QPointF translation_;
};

}  // namespace vorna
