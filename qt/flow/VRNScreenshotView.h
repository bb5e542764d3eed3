#pragma once

#include <QWidget>

#include <functional>
#include <vector>

#include "flow/VRNAnnotationToolbar.h"

namespace vorna {

class VRNOverlayView;
class VRNScreenshotImageView;

// The annotation screen's view: the picture with the drawing surface over it, and the toolbar
// along the bottom. The picture keeps its own aspect (the screen's until it is set up) and sits
// centred between the navigation bar and the toolbar, a twentieth of the screen's height away
// from each; the drawing surface covers the picture exactly. The toolbar has no background and
// no shadow: its items sit on the screen's own background.
class VRNScreenshotView : public QWidget {
    Q_OBJECT

public:
    explicit VRNScreenshotView(QWidget* parent = nullptr);

    double ratio() const { return ratio_; }
    double verticalOffset() const { return verticalOffset_; }
    VRNScreenshotImageView* screenshotImageView() const { return screenshotImageView_; }
    QWidget* toolBar() const { return toolBar_; }
    VRNOverlayView* overlayView() const { return overlayView_; }

    // The picture takes pointer input from now on and is placed by its constraints, at the
    // aspect of the image the picture view holds now.
    void setupScreenshotImageView();
    // How far below the view's top the navigation bar reaches.
    void setSafeAreaTop(double top);

    // Lays the toolbar out with these items, left to right; `viewFor` gives the widget of each
    // button item. Widgets of the toolbar that are not among the items are hidden. The items
    // already shown are left as they are.
    void setToolBarItems(const std::vector<VRNAnnotationToolbar::Item>& items,
                         const std::function<QWidget*(VRNAnnotationToolbar::Kind)>& viewFor);
    const std::vector<VRNAnnotationToolbar::Item>& toolBarItems() const { return toolBarItems_; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void layoutSubviews();

    double ratio_ = 0;
    double verticalOffset_ = 0;
    double safeAreaTop_ = 0;
    bool imageViewConstrained_ = false;
    // Children of this view, going with it.
    VRNScreenshotImageView* screenshotImageView_ = nullptr;
    QWidget* toolBar_ = nullptr;
    VRNOverlayView* overlayView_ = nullptr;
    std::vector<VRNAnnotationToolbar::Item> toolBarItems_;
};

}  // namespace vorna
