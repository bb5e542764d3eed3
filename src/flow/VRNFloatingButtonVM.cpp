#include "flow/VRNFloatingButtonVM.h"

#include "state/VRNAppRepository.h"
#include "state/VRNConstants.h"

namespace vorna {
namespace {

constexpr double kDimension = static_cast<double>(ROUND_BUTTON_DIMENSION);
constexpr double kOffset = static_cast<double>(ROUND_BUTTON_OFFSET);

// The place is kept as a single-precision number, so a coordinate reads back as the float
// nearest to it.
double asStoredFloat(double value) {
    return static_cast<double>(static_cast<float>(value));
}

// The right (bottom) limit is compared with the container's width (height) alone, not with its
// far edge: the container is the view that covers the screen from its origin.
double clamped(double candidate, double size, double origin, double extent) {
    if (candidate < origin || candidate + size > extent) {
        return candidate < origin ? origin : extent - size;
    }
    return candidate;
}

}  // namespace

void VRNFloatingButtonVM::didPressVornaButton() {
    const auto callback = vornaFloatingButtonInvocationCallback();
    if (callback) {
        callback();
    }
}

std::function<void()> VRNFloatingButtonVM::vornaFloatingButtonInvocationCallback() const {
    std::lock_guard lock(mutex_);
    return callback_;
}

void VRNFloatingButtonVM::setVornaFloatingButtonInvocationCallback(std::function<void()> callback) {
    std::lock_guard lock(mutex_);
    callback_ = std::move(callback);
}

VRNRect VRNFloatingButtonVM::initialButtonFrame(const VRNAppRepository& repository,
                                                double screenHeight) {
    const auto storedX = repository.floatingButtonFrameX();
    const auto storedY = repository.floatingButtonFrameY();
    const double x = storedX ? asStoredFloat(*storedX) : kOffset;
    const double y = storedY ? asStoredFloat(*storedY) : screenHeight - kDimension - kOffset;
    return VRNRect{x, y, kDimension, kDimension};
}

VRNRect VRNFloatingButtonVM::placedButtonFrame(const VRNAppRepository& repository,
                                               VRNSize screen) {
    VRNRect frame = initialButtonFrame(repository, screen.height);
    if (screen.width <= 0 || screen.height <= 0) {
        return frame;
    }
    frame.x = clamped(frame.x, frame.width, 0, screen.width);
    frame.y = clamped(frame.y, frame.height, 0, screen.height);
    return frame;
}

VRNRect VRNFloatingButtonVM::pannedButtonFrame(VRNPanState state, const VRNRect& frame,
                                               double translationX, double translationY,
                                               const VRNRect& container,
                                               VRNAppRepository& repository) {
    const double x = clamped(frame.x + translationX, frame.width, container.x, container.width);
    const double y = clamped(frame.y + translationY, frame.height, container.y, container.height);
    if (state == VRNPanState::Ended) {
        repository.setFloatingButtonFrameX(asStoredFloat(x));
        repository.setFloatingButtonFrameY(asStoredFloat(y));
    }
    return VRNRect{x, y, frame.width, frame.height};
}

}  // namespace vorna
