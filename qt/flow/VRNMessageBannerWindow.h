#pragma once

#include <QPointer>
#include <QRect>

#include <memory>

#include "flow/VRNFlowPlatform.h"
#include "qt/platform/VRNKitWindow.h"
#include "qt/platform/VRNPointerPassThrough.h"

class QWindow;

namespace vorna {

class VRNMessageBannerVC;

// The banner's own window: two levels above the host's ordinary windows, as large as the main
// screen, clear but for the banner. It is only something to read: it never takes a click or
// the keyboard focus. Where the window system honours windows that are transparent for input,
// the system itself sends the pointer to the windows beneath; where it does not (offscreen,
// some embedded platforms), whatever pointer event still reaches this window is handed, in
// that window's coordinates, to the front-most window of the application beneath the pointer.
class VRNMessageBannerWindow : public VRNKitWindow, public VRNBannerWindow {
    Q_OBJECT

public:
    explicit VRNMessageBannerWindow(const QRect& mainScreenBounds);
    ~VRNMessageBannerWindow() override;

    VRNMessageBannerVC* rootViewController() const { return rootViewController_.get(); }

    // The banner manager's show and hide.
    void setHidden(bool hidden) override;
    bool isHidden() const override;

protected:
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void updateShape();
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::shared_ptr<VRNMessageBannerVC> rootViewController_;
    VRNPointerPassThrough passThrough_{this};
};

}  // namespace vorna
