#pragma once

#include "qt/invocation/VRNScreenEdgePanRecognizer.h"

namespace vorna {

// The kit's right-edge pan: a screen-edge pan that adds nothing, so that the kit's recognizer
// can be told apart from any the host attaches.
class VornaEdgePanRecognizer : public VRNScreenEdgePanRecognizer {
    Q_OBJECT

public:
    using VRNScreenEdgePanRecognizer::VRNScreenEdgePanRecognizer;
};

}  // namespace vorna
