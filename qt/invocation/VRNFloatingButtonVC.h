#pragma once

#include <QObject>
#include <QPointF>
#include <QPointer>

#include <memory>

#include "flow/VRNFloatingButtonVM.h"

namespace vorna {

class VRNAppRepository;
class VRNFloatingButtonView;

// The floating button's controller. A press on the button that is released without moving is
// a tap and opens a report; once the pointer has moved the drag distance, the press becomes a
// drag that moves the button, kept on the screen, and the place where it ends is stored.
// Escape or the application losing the front cancel a drag: the button stays where it was
// dragged to and nothing is stored.
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
    void endTracking();

    std::shared_ptr<VRNAppRepository> appRepository_;
    std::shared_ptr<VRNFloatingButtonVMProtocol> viewModel_;
    QPointer<VRNFloatingButtonView> view_;

    bool tracking_ = false;       // a press on the button is under way
    bool panning_ = false;        // ... and has become a drag
    bool ignoreRelease_ = false;  // the drag was cancelled; its release means nothing
    QPointF pressGlobal_;
    QPointF lastGlobal_;
};

}  // namespace vorna
