#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointF>
#include <QPointer>

class QWidget;
class QWindow;

namespace vorna {

// The application's windows as the kit sees them: a stack ordered by window level, like a
// phone's window list. Qt does not say how its top-level windows are stacked, so the stack
// keeps its own order: a window comes to the front of its level when it is shown or becomes
// active. Windows shown before the stack existed keep the order in which they were created.
//
// Only shown windows count. Qt keeps many hidden top-level widgets around (menus, tool tips,
// completer pop-ups, dialogs that were closed) that are no part of what the tester sees.
class VRNWindowStack : public QObject {
    Q_OBJECT

public:
    // Levels, as on a phone: ordinary windows, then status-bar-like and alert-like ones.
    static constexpr double VRNWindowLevelNormal = 0;
    static constexpr double VRNWindowLevelStatusBar = 1000;
    static constexpr double VRNWindowLevelAlert = 2000;

    // Watches the application's windows; one per application, made by the binding.
    explicit VRNWindowStack(QObject* parent = nullptr);
    ~VRNWindowStack() override;

    // The stack of the running application; null before the binding has made it.
    static VRNWindowStack* current();

    // A window's level: a kit window's own, else alert level for pop-ups and tool tips,
    // status-bar level for windows that stay on top, normal level for the rest.
    static double windowLevel(const QWidget* window);

    // Shown top-level widgets, back to front.
    static QList<QWidget*> windows();
    // The window the keyboard goes to: the active window, or, while the window system has not
    // activated one yet, the front-most shown window of the host that can take focus.
    static QWidget* keyWindow();
    // The front-most shown window under a point of the desktop that takes input, leaving out
    // `except` (the kit's own overlay).
    static QWidget* windowAt(const QPointF& globalPosition, const QWidget* except);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    quint64 raisedOrder(QWindow* window) const;

    QHash<QWindow*, quint64> raised_;
    quint64 counter_ = 0;
};

}  // namespace vorna
