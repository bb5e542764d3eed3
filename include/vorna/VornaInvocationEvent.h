#pragma once

#include <cstdint>

namespace vorna {

// The ways a tester can open a report, as a bit set.
using VornaInvocationEvent = uint64_t;

inline constexpr VornaInvocationEvent VornaInvocationEventMotion = 1;          // shake gesture
inline constexpr VornaInvocationEvent VornaInvocationEventFloatingButton = 2;  // round button
inline constexpr VornaInvocationEvent VornaInvocationEventScreenshot = 4;      // system screenshot
inline constexpr VornaInvocationEvent VornaInvocationEventRightEdgePan = 8;  // swipe from the right
inline constexpr VornaInvocationEvent VornaInvocationEventReserved = 16;     // no effect

}  // namespace vorna
