#pragma once

#include <QObject>
#include <QPointF>
#include <QPointer>

#include <memory>

#include "flow/VRNFloatingButtonTracker.h"
#include "flow/VRNFloatingButtonVM.h"

namespace vorna {

class VRNAppRepository;
class VRNFloatingButtonView;

// The floating button's controller: it hands the pointer's events to the kit's tracker, which
// tells a tap (opens a report) from a drag (moves the button, kept on the screen; the place
// where it ends is stored), and moves the button where the tracker says. Escape or the
// application losing the front cancel a drag: the button stays where it was dragged to and
// nothing is stored.
//
// The window hands over the pointer events that belong to the button as the window system
// delivered them: widgets get whole-point positions only, and the button's place keeps its
// fractions.
class VRNFloatingButtonVC : public QObject {
    Q_OBJECT

public:
    explicit VRNFloatingButtonVC(std::shared_ptr<VRNFloatingButtonVMProtocol> viewModel,
                                 std::shared_ptr<VRNAppRepository> repository = nullptr,
                                 QObject* parent = nullptr);
    ~VRNFloatingButtonVC() override;

    // The view, made on first use.
    VRNFloatingButtonView* getMainView();
    const std::shared_ptr<VRNFloatingButtonVMProtocol>& viewModel() const { return viewModel_; }

    // One callback of the drag with the translation since the previous one, in points.
    void panned(VRNPanState state, const QPointF& translation);
    void vornaButtonTapped();

    // A press, move or release on the button (or the rest of a press that began on it).
    void pointerEvent(QEvent* event);
    // The drag under way, if any, is cancelled.
    void cancelDrag();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void loadView();
    void viewDidLoad();
    void commonSetup();
    void setWatchingApplication(bool watching);

    std::shared_ptr<VRNAppRepository> appRepository_;
    std::shared_ptr<VRNFloatingButtonVMProtocol> viewModel_;
    QPointer<VRNFloatingButtonView> view_;
    VRNFloatingButtonTracker tracker_;
};

}  // namespace vorna
