#include "qt/flow/VRNScreenshotView.h"

#include <QHBoxLayout>

#include "flow/VRNScreenshotLayout.h"
#include "platform/VRNDeviceProvider.h"
#include "qt/flow/VRNOverlayView.h"
#include "qt/flow/VRNScreenshotImageView.h"

namespace vorna {
namespace {

QRect toQRect(const VRNRect& rect) {
    return QRect(static_cast<int>(rect.x), static_cast<int>(rect.y), static_cast<int>(rect.width),
                 static_cast<int>(rect.height));
}

}  // namespace

VRNScreenshotView::VRNScreenshotView(QWidget* parent) : QWidget(parent) {
    const VRNScreenInfo screen = VRNDeviceProvider::current()->mainScreen();
    ratio_ = VRNScreenshotLayout::ratio(screen);
    verticalOffset_ = VRNScreenshotLayout::verticalOffset(screen);

    // Until it is set up, the picture lets the pointer through, drawing surface and all.
    screenshotImageView_ = new VRNScreenshotImageView(this);
    screenshotImageView_->setAttribute(Qt::WA_TransparentForMouseEvents);

    // A plain row: no panel, no shadow, no gaps but the items' own spaces.
    toolBar_ = new QWidget(this);
    toolBar_->setObjectName(QStringLiteral("toolBar"));
    auto* row = new QHBoxLayout(toolBar_);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);

    overlayView_ = new VRNOverlayView(screenshotImageView_);
    layoutSubviews();
}

void VRNScreenshotView::setupScreenshotImageView() {
    // The picture covers the application's windows, not the screen: its own aspect wins.
    ratio_ = VRNScreenshotLayout::ratio(screenshotImageView_->image(),
                                        VRNDeviceProvider::current()->mainScreen());
    screenshotImageView_->setAttribute(Qt::WA_TransparentForMouseEvents, false);
    imageViewConstrained_ = true;
    layoutSubviews();
}

void VRNScreenshotView::setSafeAreaTop(double top) {
    if (safeAreaTop_ != top) {
        safeAreaTop_ = top;
        layoutSubviews();
    }
}

void VRNScreenshotView::setToolBarItems(
    const std::vector<VRNAnnotationToolbar::Item>& items,
    const std::function<QWidget*(VRNAnnotationToolbar::Kind)>& viewFor) {
    auto* row = static_cast<QHBoxLayout*>(toolBar_->layout());
    if (items == toolBarItems_ && row->count() == static_cast<int>(items.size())) {
        return;  // already shown: every stroke asks for Reset again
    }
    toolBarItems_ = items;
    while (QLayoutItem* item = row->takeAt(0)) {
        if (QWidget* widget = item->widget()) {
            widget->hide();
        }
        delete item;  // a spacer, or the layout's wrapper of a widget (the widget stays)
    }
    for (const VRNAnnotationToolbar::Item& item : items) {
        switch (item.kind) {
            case VRNAnnotationToolbar::Kind::FixedSpace:
                row->addSpacing(static_cast<int>(item.width));
                break;
            case VRNAnnotationToolbar::Kind::FlexibleSpace:
                row->addStretch(1);
                break;
            default:
                if (QWidget* widget = viewFor(item.kind)) {
                    if (widget->parentWidget() != toolBar_) {
                        widget->setParent(toolBar_);
                    }
                    row->addWidget(widget, 0, Qt::AlignVCenter);
                    widget->show();
                }
                break;
        }
    }
    row->activate();
}

void VRNScreenshotView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    layoutSubviews();
}

void VRNScreenshotView::layoutSubviews() {
    const VRNSize bounds{static_cast<double>(width()), static_cast<double>(height())};
    const VRNRect bar = VRNScreenshotLayout::toolbarFrame(bounds);
    toolBar_->setGeometry(toQRect(bar));
    if (imageViewConstrained_) {
        screenshotImageView_->setGeometry(toQRect(VRNScreenshotLayout::imageViewFrame(
            bounds, safeAreaTop_, bar.y, ratio_, verticalOffset_)));
    }
    // The drawing surface is pinned to the picture's four edges.
    overlayView_->setGeometry(screenshotImageView_->rect());
}

}  // namespace vorna
