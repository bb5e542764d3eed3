#pragma once

#include <QtGui/qwindowdefs.h>

namespace vorna {

// Sends the shake gesture to `window`, or to the key window when none is given (nothing happens
// without one), as a shake of the device or of a desktop window does: it opens a report when
// the kit was started with VornaInvocationEventMotion. For hosts with a shake of their own, a
// menu entry or a button ("Report a bug"). Call it on the GUI thread.
void VRNDeliverShake(QWindow* window = nullptr);

}  // namespace vorna
