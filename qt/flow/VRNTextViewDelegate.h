#pragma once

#include <QString>

namespace vorna {

class VRNCustomControlTextView;

// Told by the text view about its edits. Every edit of the tester (typed keys, deletions, the
// input method's commits, paste, cut, dropped text) is asked for before it happens and reported
// after.
class VRNTextViewDelegate {
public:
    // The text from `start` for `length` units is about to become `replacement`. The delegate may
    // change the text before it answers; an allowed edit is then made on what is left (clamped
    // to it).
    virtual bool textViewShouldChangeText(VRNCustomControlTextView* textView, int start, int length,
                                          const QString& replacement) = 0;
    virtual void textViewDidChange(VRNCustomControlTextView* textView) = 0;
    virtual void textViewDidChangeSelection(VRNCustomControlTextView* textView) = 0;

protected:
    ~VRNTextViewDelegate() = default;
};

}  // namespace vorna
