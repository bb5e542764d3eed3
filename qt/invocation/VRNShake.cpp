#include "vorna/qt/VRNShake.h"

#include "qt/invocation/VRNMotionListener.h"

namespace vorna {

void VRNDeliverShake(QWindow* window) {
    VRNMotionListener::deliverShake(window);
}

}  // namespace vorna
