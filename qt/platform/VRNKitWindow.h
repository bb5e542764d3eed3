#pragma once

#include <QWidget>

class QWindow;

namespace vorna {

// A top-level window of the kit's own: the floating button, the report flow, the banner. It
// has a window level above the host's ordinary windows, no frame, stays above the host's
// windows, and is no part of the host's life cycle (whatever the host does, only the floating
// button follows it to the background).
// Every window the kit makes is one of these; nothing else marks them.
class VRNKitWindow : public QWidget {
    Q_OBJECT

public:
    // `flags` are added to the kit's own (frameless, stays on top, no shadow).
    explicit VRNKitWindow(double level, Qt::WindowFlags flags = {});

    double windowLevel() const { return level_; }
    void setWindowLevel(double level) { level_ = level; }

    // Puts the window in front of the others; nothing where no window system stacks windows
    // (offscreen, minimal), whose platforms would only answer with a warning.
    void raiseWindow();

    static bool isKitWindow(const QWidget* window);
    static bool isKitWindow(const QWindow* window);
    // The host's own top-level windows: ordinary windows and dialogs that the kit did not make
    // (not pop-ups, tool tips or tool windows).
    static bool isHostWindow(const QWidget* window);
    static bool isHostWindow(const QWindow* window);

protected:
    // A window made with Qt::WindowDoesNotAcceptFocus never keeps the activation: platforms
    // that activate every window they show get it handed back to the host's window.
    bool event(QEvent* event) override;

private:
    double level_;
};

}  // namespace vorna
