#pragma once

#include <QObject>
#include <QPointer>

#include <vector>

#include "platform/loop/VRNApplicationState.h"

namespace vorna {

class VRNNotificationCenter;

// Posts the application's life-cycle names from Qt's application states; docs/qt-lifecycle.md
// explains the mapping. Besides Qt's own states, an application all of whose windows have been
// minimised or hidden counts as being in the background, since desktops do not report one.
class VRNQtLifecycle : public QObject {
    Q_OBJECT

public:
    // A state of the application as the kit counts it.
    using State = VRNApplicationState;

    explicit VRNQtLifecycle(VRNNotificationCenter& center, QObject* parent = nullptr);

    State state() const { return state_; }

    // The names posted, in order, when the application goes from one state to another.
    static std::vector<const char*> notificationsForTransition(State from, State to);
    static State stateFor(Qt::ApplicationState state);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void scheduleUpdate();
    void update();
    bool windowsAway();

    VRNNotificationCenter& center_;
    State state_;
    bool hostHadWindow_ = false;
    bool updateScheduled_ = false;
};

}  // namespace vorna
