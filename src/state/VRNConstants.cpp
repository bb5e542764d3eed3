#include "state/VRNConstants.h"

#ifndef VORNA_VERSION_STRING
#define VORNA_VERSION_STRING "1.0.0"
#endif

namespace vorna {

std::atomic<int64_t> delay{initialDelay};
std::atomic<int64_t> delayInterval{initialDelayInterval};
std::atomic<bool> reauthorizationPending{false};
std::atomic<bool> retryUploadNeeded{false};
std::atomic<bool> timerRunning{false};
std::atomic<bool> monitoring{false};

const char* const VornaVersionString = "Vorna " VORNA_VERSION_STRING " (C++ kit for Linux)";

}  // namespace vorna
