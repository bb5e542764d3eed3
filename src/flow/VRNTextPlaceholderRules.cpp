#include "flow/VRNTextPlaceholderRules.h"

#include "flow/VRNReportComposeViewModel.h"
#include "platform/VRNLocalizedString.h"

namespace vorna {

std::string VRNTextPlaceholderRules::localizedPlaceholder() {
    return VRNLocalizedString(kVRNDescriptionPlaceholder);
}

VRNTextEditDecision VRNTextPlaceholderRules::shouldChangeText(const VRNTextEdit& edit) {
    VRNTextEditDecision decision;
    const bool leavesNothing = edit.textLength + edit.replacementLength == edit.rangeLength;
    if (leavesNothing) {
        decision.allow = false;
        decision.caretToStart = true;
        if (edit.replacementLength == 0 && edit.rangeLength == edit.placeholderLength &&
            edit.placeholderColor) {
            // Deleting inside the sentence: it stays as it is.
        } else if (edit.replacementLength == 0 && edit.rangeLength == edit.textLength) {
            // The last real text goes: the sentence takes its place.
            decision.showPlaceholder = true;
            decision.resize = true;
        } else {
            decision.clearToRealText = true;
        }
        return decision;
    }
    if (edit.textIsPlaceholder) {
        // Typing over the sentence: what is typed replaces all of it.
        decision.caretToStart = true;
        decision.allow = edit.replacementLength > 0;
        decision.clearToRealText = decision.allow;
    }
    return decision;
}

}  // namespace vorna
