#pragma once

#include <cstdint>
#include <string>

namespace vorna {

// An edit of the description field as it is about to happen: the text now, and which part of
// it the edit replaces with how much. Lengths count UTF-16 code units, as the field's text does.
struct VRNTextEdit {
    int64_t textLength = 0;
    bool textIsPlaceholder = false;  // the text equals the placeholder sentence
    bool placeholderColor = false;   // the text is drawn in the placeholder's colour
    int64_t placeholderLength = 0;
    int64_t rangeLength = 0;
    int64_t replacementLength = 0;
};

// What the field does about an edit. The steps run in this order: the placeholder is shown or
// the text is emptied and turned into real text, the caret goes to the start, the field measures
// itself again; then the edit is made if it is allowed (on what is left of the text).
struct VRNTextEditDecision {
    bool allow = true;
    bool showPlaceholder = false;
    bool clearToRealText = false;
    bool caretToStart = false;
    bool resize = false;

    bool operator==(const VRNTextEditDecision&) const = default;
};

// The description field shows a grey sentence until the tester types. The sentence is text of
// the field, so every edit is looked at before it happens: typing over the sentence replaces it,
// deleting inside it does nothing, and deleting all real text brings it back.
class VRNTextPlaceholderRules {
public:
    // The sentence as the tester reads it: the host's translation when it has one.
    static std::string localizedPlaceholder();

    static VRNTextEditDecision shouldChangeText(const VRNTextEdit& edit);

    // The caret never sits inside the sentence: while it shows, any selection goes back to an
    // empty one at the start.
    static bool pinsCaret(bool textIsPlaceholder, bool placeholderColor) {
        return textIsPlaceholder && placeholderColor;
    }
};

}  // namespace vorna
