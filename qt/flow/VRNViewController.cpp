#include "qt/flow/VRNViewController.h"

#include <QEvent>

#include "qt/flow/VRNNavigationStack.h"

namespace vorna {

VRNViewController::~VRNViewController() {
    // Whatever the stack did not take in is this controller's to delete.
    for (QPointer<QWidget>* widget : {&titleView_, &leftBarButton_, &rightBarButton_, &view_}) {
        if (*widget && !(*widget)->parent()) {
            delete widget->data();
        }
    }
}

QWidget* VRNViewController::view() {
    if (!view_) {
        view_ = loadView();
        view_->installEventFilter(this);
        viewDidLoad();
    }
    return view_;
}

void VRNViewController::setBarItem(QPointer<QWidget>& slot, QWidget* widget) {
    if (slot && slot != widget) {
        slot->deleteLater();
    }
    slot = widget;
    if (navigationController_) {
        navigationController_->updateBar();
    }
}

void VRNViewController::setTitleView(QWidget* view) {
    setBarItem(titleView_, view);
}

void VRNViewController::setLeftBarButton(QWidget* button) {
    setBarItem(leftBarButton_, button);
}

void VRNViewController::setRightBarButton(QWidget* button) {
    setBarItem(rightBarButton_, button);
}

double VRNViewController::safeAreaTop() const {
    return navigationController_ ? VRNNavigationStack::kBarHeight : 0.0;
}

void VRNViewController::viewWillAppear(bool) {}
void VRNViewController::viewDidAppear(bool) {}
void VRNViewController::viewDidLayoutSubviews() {}
void VRNViewController::viewDidLoad() {}

bool VRNViewController::eventFilter(QObject* watched, QEvent* event) {
    if (watched == view_ && event->type() == QEvent::Resize) {
        viewDidLayoutSubviews();
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace vorna
