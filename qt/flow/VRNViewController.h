#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

#include "flow/VRNFlowPlatform.h"

namespace vorna {

class VRNNavigationStack;

// A screen of the report flow on Qt: a view made on first use, and the widgets the navigation
// bar shows while the screen is on top (title in the middle, one button on each side). The
// controller owns its view and its bar widgets until the stack takes them in; it deletes what
// is still its own when it goes.
class VRNViewController : public QObject, public VRNFlowScreen {
    Q_OBJECT

public:
    ~VRNViewController() override;

    // The view: loadView(), then viewDidLoad(), on the first call.
    QWidget* view();
    bool isViewLoaded() const { return !view_.isNull(); }

    // The stack the screen is on; null before it is pushed and after it is popped.
    VRNNavigationStack* navigationController() const { return navigationController_; }

    // The bar's items for this screen. Setting one replaces (and deletes) the one before.
    QWidget* titleView() const { return titleView_; }
    void setTitleView(QWidget* view);
    QWidget* leftBarButton() const { return leftBarButton_; }
    void setLeftBarButton(QWidget* button);
    QWidget* rightBarButton() const { return rightBarButton_; }
    void setRightBarButton(QWidget* button);

    // How far the content must stay below the view's top to clear the navigation bar (the
    // safe area's top); 0 when the screen is on no stack.
    double safeAreaTop() const;

    // Called by the stack around showing the screen.
    virtual void viewWillAppear(bool animated);
    virtual void viewDidAppear(bool animated);
    // After the view got its size, each time it changes.
    virtual void viewDidLayoutSubviews();

protected:
    // Makes the screen's view (no parent).
    virtual QWidget* loadView() = 0;
    virtual void viewDidLoad();
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    friend class VRNNavigationStack;
    void setBarItem(QPointer<QWidget>& slot, QWidget* widget);

    QPointer<QWidget> view_;
    QPointer<QWidget> titleView_;
    QPointer<QWidget> leftBarButton_;
    QPointer<QWidget> rightBarButton_;
    VRNNavigationStack* navigationController_ = nullptr;
};

}  // namespace vorna
