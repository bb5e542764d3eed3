#pragma once

#include <QEasingCurve>
#include <QImage>
#include <QPointer>

#include <memory>

#include "flow/VRNFlowPlatform.h"
#include "qt/platform/VRNKitWindow.h"

class QVariantAnimation;

namespace vorna {

class VRNNavigationStack;

// The report flow's window: frameless, above every window of the host and above the floating
// button, covering the area the flow was given, holding the navigation stack's view.
//
// A top-level window cannot be scaled, and without a compositing window manager it cannot be
// translucent either. So while its look is anything but plain (scaled, faded), the window
// paints, over its whole area, what lay beneath it when the transition began (grabbed from the
// screen) and over that a picture of its content, scaled about the centre and faded. The
// picture is the same as a scaled, translucent window's; at rest the live widgets show. While a
// transition runs the window takes no input.
class VRNFlowDisplayWindow : public VRNKitWindow, public VRNFlowWindow {
    Q_OBJECT

public:
    explicit VRNFlowDisplayWindow(double level);
    ~VRNFlowDisplayWindow() override;

    void setRootViewController(std::shared_ptr<VRNNavigationController> controller) override;
    void makeKeyAndVisible() override;
    void setHidden(bool hidden) override;
    bool isHidden() const override { return isHiddenState(); }
    VRNRect frame() const override;
    double windowLevel() const override { return VRNKitWindow::windowLevel(); }
    VRNWindowAppearance appearance() const override { return appearance_; }
    void setAppearance(const VRNWindowAppearance& appearance) override;
    void animate(const VRNWindowAppearance& target, double duration, double delay,
                 VRNAnimationCurve curve, std::function<void(bool)> completion) override;

    const std::shared_ptr<VRNNavigationStack>& navigationStack() const { return stack_; }
    // Whether the transition picture is showing (the look is not plain).
    bool isShowingTransition() const;
    bool isAnimating() const;

    // The timing curves as the platform draws them.
    static QEasingCurve easingCurve(VRNAnimationCurve curve);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    bool isHiddenState() const { return isHidden_; }
    void updateTransition();
    void captureBackdrop();
    void captureContent();
    void stopAnimation();

    class TransitionLayer;
    std::shared_ptr<VRNNavigationStack> stack_;
    QPointer<TransitionLayer> layer_;
    QPointer<QVariantAnimation> animation_;
    std::function<void(bool)> completion_;
    VRNWindowAppearance appearance_;
    QImage backdrop_;
    QImage content_;
    bool isHidden_ = true;
};

}  // namespace vorna
