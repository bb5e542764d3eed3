#pragma once

namespace vorna {

// The fitted height of the description field the last time its text had exactly three lines;
// 0.0 until then. Shared by every field of the process, touched on the main thread only.
extern double threeLinesHeight;

// How the field's text area is sized after a change of its text.
struct VRNTextGrowthResult {
    int lineCount = 0;
    double height = 0;  // the text area's height
    bool scrollEnabled = false;

    bool operator==(const VRNTextGrowthResult&) const = default;
};

// The field grows line by line with its text up to three lines, then keeps the three-line
// height and scrolls. The three-line height is not computed: it is the height measured when
// the text last had exactly three lines, so a text that jumps past three lines in one change
// (a paste) in a process that never measured three lines gets a height of 0.0.
class VRNTextGrowth {
public:
    // `fittedHeight`: the text's height at the measuring width, `verticalInsets` (the margins
    // above and below the text) included; `lineHeight`: the font's line height. Learns
    // threeLinesHeight when the text has exactly three lines.
    static VRNTextGrowthResult textDidChange(double fittedHeight, double verticalInsets,
                                             double lineHeight);
};

}  // namespace vorna
