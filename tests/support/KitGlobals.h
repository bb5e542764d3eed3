#pragma once

#include "state/VRNConstants.h"

namespace vorna::test {

// Puts the kit's process-wide retry and monitoring state back to what a fresh process has, so
// that one test's retries do not leak into the next.
inline void resetKitGlobals() {
    delay = 5;
    reauthorizationPending = false;
    monitoring = false;
    delayInterval = initialDelayInterval;
    timerRunning = false;
    retryUploadNeeded = false;
}

}  // namespace vorna::test
