#pragma once

#include <QObject>

#include <functional>

class QWidget;

namespace vorna {

// Tells when one of the host's own top-level windows (an ordinary window or a dialog, never one
// of the kit's) is shown or activated, for what the kit keeps beside the host's windows: the
// floating button stays above them and the edge swipe is on each of them. It watches the
// application's events and passes every one of them on.
class VRNHostWindowWatcher : public QObject {
    Q_OBJECT

public:
    enum class Change { Shown, Activated };
    using Callback = std::function<void(QWidget* window, Change change)>;

    explicit VRNHostWindowWatcher(Callback callback, QObject* parent = nullptr);
    void setCallback(Callback callback) { callback_ = std::move(callback); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    Callback callback_;
};

}  // namespace vorna
