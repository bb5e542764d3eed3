#pragma once

#include <functional>
#include <mutex>

#include "flow/VRNGeometry.h"

namespace vorna {

class VRNAppRepository;

class VRNFloatingButtonVMProtocol {
public:
    virtual ~VRNFloatingButtonVMProtocol() = default;
    virtual void didPressVornaButton() = 0;
};

// What the floating report button does, without its looks: a tap hands over to the callback
// the invocation manager installs; the button's first place and every step of a drag are
// worked out here, so the view only moves a widget to the frame it is given.
class VRNFloatingButtonVM : public VRNFloatingButtonVMProtocol {
public:
    void didPressVornaButton() override;

    std::function<void()> vornaFloatingButtonInvocationCallback() const;
    void setVornaFloatingButtonInvocationCallback(std::function<void()> callback);

    // Where the button shows first: the stored place, or 15 points in from the left and bottom
    // edges of a screen `screenHeight` points high (a screen of height 0 gives y = -85). Each
    // stored coordinate falls back on its own.
    static VRNRect initialButtonFrame(const VRNAppRepository& repository, double screenHeight);
    // The first frame brought inside a screen of `screen` size: a place stored on a larger
    // screen, or at another scale, would otherwise leave the button where nobody can reach it.
    // What is stored does not change (only the end of a drag stores). Without a screen, the
    // first frame as it is.
    static VRNRect placedButtonFrame(const VRNAppRepository& repository, VRNSize screen);

    // One callback of the drag: the button's frame moved by the translation since the previous
    // callback and kept inside `container`. The place is stored (as single-precision floats)
    // only when the drag has ended; a cancelled drag moves the button and stores nothing.
    static VRNRect pannedButtonFrame(VRNPanState state, const VRNRect& frame, double translationX,
                                     double translationY, const VRNRect& container,
                                     VRNAppRepository& repository);

private:
    mutable std::mutex mutex_;
    std::function<void()> callback_;
};

}  // namespace vorna
