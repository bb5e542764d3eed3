#pragma once

#include <QColor>
#include <QObject>
#include <QPointer>
#include <QWidget>

#include <memory>
#include <vector>

#include "flow/VRNFlowPlatform.h"

class QVariantAnimation;

namespace vorna {

class VRNViewController;

// The flow's navigation controller on Qt: a stack of screens in one view, with a bar on top
// that shows the top screen's title and buttons. A push slides the new screen in from the
// right over the one below; a pop slides it back out. A presented screen covers the whole view,
// bar included; what it leaves transparent shows the screen beneath. While a screen slides, the
// view takes no input.
//
// The stack owns its screens; its view is handed to the window that shows it and goes with
// that window.
class VRNNavigationStack : public QObject, public VRNNavigationController {
    Q_OBJECT

public:
    static constexpr double kBarHeight = 44.0;     // points
    static constexpr int kTransitionMs = 350;      // a push or pop
    static constexpr double kBarSideMargin = 8.0;  // points from each edge to a bar button

    explicit VRNNavigationStack(std::shared_ptr<VRNViewController> root);
    ~VRNNavigationStack() override;

    // The view holding the screens and the bar; made with the stack.
    QWidget* view() const { return view_; }
    QWidget* navigationBar() const { return bar_; }

    void setBarAppearance(bool invisible, bool translucent, const VRNColor& tint) override;
    void pushViewController(std::shared_ptr<VRNFlowScreen> screen, bool animated) override;
    void presentViewController(std::shared_ptr<VRNFlowScreen> screen, bool animated) override;
    // The top screen goes; the root stays.
    void popViewControllerAnimated(bool animated);

    const std::vector<std::shared_ptr<VRNViewController>>& viewControllers() const {
        return stack_;
    }
    VRNViewController* topViewController() const;
    VRNViewController* presentedViewController() const { return presented_.get(); }
    bool isTransitioning() const;
    bool isBarInvisible() const { return barInvisible_; }
    bool isBarTranslucent() const { return barTranslucent_; }
    QColor barTintColor() const { return tint_; }

    // Shows the top screen's bar items (a screen calls it when it changes them).
    void updateBar();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void layoutScreens();
    QRect contentRect() const;
    void adopt(VRNViewController& controller);
    void release(VRNViewController& controller);
    void slide(VRNViewController* incoming, VRNViewController* outgoing, bool forward,
               std::function<void()> done);

    QPointer<QWidget> view_;
    QPointer<QWidget> bar_;
    QPointer<QWidget> inputBlocker_;
    QPointer<QVariantAnimation> transition_;
    std::vector<std::shared_ptr<VRNViewController>> stack_;
    std::shared_ptr<VRNViewController> presented_;
    std::shared_ptr<VRNViewController> leaving_;  // popped, kept until its slide is over
    bool barInvisible_ = false;
    bool barTranslucent_ = false;
    QColor tint_ = Qt::white;
};

}  // namespace vorna
