#include <gtest/gtest.h>

#include "flow/VRNShadowDepth.h"
#include "flow/VRNTextGrowth.h"
#include "flow/VRNTextPlaceholderRules.h"

namespace vorna {
namespace {

constexpr int64_t kSentence = 31;  // "Describe the bug and tap Submit"

VRNTextEdit onPlaceholder(int64_t rangeLength, int64_t replacementLength) {
    return VRNTextEdit{kSentence, true, true, kSentence, rangeLength, replacementLength};
}

VRNTextEdit onRealText(int64_t textLength, int64_t rangeLength, int64_t replacementLength) {
    return VRNTextEdit{textLength, false, false, kSentence, rangeLength, replacementLength};
}

TEST(ResizingTextPlaceholderRules, TypingOverTheSentenceReplacesAllOfIt) {
    const auto typed = VRNTextPlaceholderRules::shouldChangeText(onPlaceholder(0, 1));
    EXPECT_EQ(typed, (VRNTextEditDecision{.allow = true,
                                          .showPlaceholder = false,
                                          .clearToRealText = true,
                                          .caretToStart = true,
                                          .resize = false}));
    // A paste as long as the sentence is typing too, not a deletion.
    EXPECT_TRUE(VRNTextPlaceholderRules::shouldChangeText(onPlaceholder(0, kSentence)).allow);
}

TEST(ResizingTextPlaceholderRules, DeletingInsideTheSentenceChangesNothing) {
    // Backspace at the pinned caret, forward delete, and all of the sentence selected.
    for (const int64_t range : {int64_t{0}, int64_t{1}, kSentence}) {
        const auto decision = VRNTextPlaceholderRules::shouldChangeText(onPlaceholder(range, 0));
        EXPECT_FALSE(decision.allow) << range;
        EXPECT_TRUE(decision.caretToStart) << range;
        EXPECT_FALSE(decision.showPlaceholder || decision.clearToRealText || decision.resize)
            << range;
    }
}

TEST(ResizingTextPlaceholderRules, DeletingTheLastRealTextBringsTheSentenceBack) {
    const auto last = VRNTextPlaceholderRules::shouldChangeText(onRealText(1, 1, 0));
    EXPECT_EQ(last, (VRNTextEditDecision{.allow = false,
                                         .showPlaceholder = true,
                                         .clearToRealText = false,
                                         .caretToStart = true,
                                         .resize = true}));
    // A real text as long as the sentence, all selected and deleted: the colour tells it from
    // the sentence.
    EXPECT_TRUE(VRNTextPlaceholderRules::shouldChangeText(onRealText(kSentence, kSentence, 0))
                    .showPlaceholder);
    // Anything short of all of it is an ordinary edit.
    EXPECT_EQ(VRNTextPlaceholderRules::shouldChangeText(onRealText(5, 4, 0)),
              VRNTextEditDecision{});
    EXPECT_EQ(VRNTextPlaceholderRules::shouldChangeText(onRealText(5, 5, 1)),
              VRNTextEditDecision{});
}

TEST(ResizingTextPlaceholderRules, RealTextThatSpellsTheSentenceIsTakenForIt) {
    // Typed in black, the sentence still counts as the placeholder: the next key replaces it.
    VRNTextEdit edit = onRealText(kSentence, 0, 1);
    edit.textIsPlaceholder = true;
    const auto decision = VRNTextPlaceholderRules::shouldChangeText(edit);
    EXPECT_TRUE(decision.allow);
    EXPECT_TRUE(decision.clearToRealText);
    // ... while the caret stays free in it.
    EXPECT_FALSE(VRNTextPlaceholderRules::pinsCaret(true, false));
    EXPECT_TRUE(VRNTextPlaceholderRules::pinsCaret(true, true));
}

class ResizingTextGrowth : public testing::Test {
protected:
    void SetUp() override { threeLinesHeight = 0.0; }
    void TearDown() override { threeLinesHeight = 0.0; }

    static constexpr double kInsets = 16;
    static constexpr double kLine = 21.5;
    static double fitted(int lines) { return kInsets + lines * kLine; }
};

TEST_F(ResizingTextGrowth, GrowsLineByLineThenScrollsAtTheThreeLineHeight) {
    EXPECT_EQ(VRNTextGrowth::textDidChange(fitted(1), kInsets, kLine),
              (VRNTextGrowthResult{1, fitted(1), false}));
    EXPECT_EQ(VRNTextGrowth::textDidChange(fitted(2), kInsets, kLine),
              (VRNTextGrowthResult{2, fitted(2), false}));
    EXPECT_EQ(VRNTextGrowth::textDidChange(fitted(3), kInsets, kLine),
              (VRNTextGrowthResult{3, fitted(3), false}));
    EXPECT_EQ(threeLinesHeight, fitted(3));
    EXPECT_EQ(VRNTextGrowth::textDidChange(fitted(4), kInsets, kLine),
              (VRNTextGrowthResult{4, fitted(3), true}));
    // Back to two lines: the fitted height again, no scrolling.
    EXPECT_EQ(VRNTextGrowth::textDidChange(fitted(2), kInsets, kLine),
              (VRNTextGrowthResult{2, fitted(2), false}));
}

TEST_F(ResizingTextGrowth, LinesAreCountedRoundedDown) {
    // A height just short of three lines is two lines, and teaches nothing.
    EXPECT_EQ(VRNTextGrowth::textDidChange(fitted(3) - 0.01, kInsets, kLine).lineCount, 2);
    EXPECT_EQ(threeLinesHeight, 0.0);
    EXPECT_EQ(VRNTextGrowth::textDidChange(fitted(3) + kLine - 0.01, kInsets, kLine).lineCount, 3);
    EXPECT_EQ(threeLinesHeight, fitted(3) + kLine - 0.01);
}

TEST_F(ResizingTextGrowth, AJumpPastThreeLinesTakesTheLastThreeLineHeightMeasured) {
    // Nothing measured yet in this process: the height is 0.0, not a computed one.
    EXPECT_EQ(VRNTextGrowth::textDidChange(fitted(10), kInsets, kLine),
              (VRNTextGrowthResult{10, 0.0, true}));
    // Measured once in any field, it holds for every field, whatever its font.
    VRNTextGrowth::textDidChange(fitted(3), kInsets, kLine);
    EXPECT_EQ(VRNTextGrowth::textDidChange(16 + 10 * 30.0, 16, 30.0).height, fitted(3));
}

TEST(ResizingTextShadowDepth, FollowsTheOffsetUpToTenPoints) {
    EXPECT_EQ(VRNShadowDepth::depthAfterScroll(0, 4, true), 4);
    EXPECT_EQ(VRNShadowDepth::depthAfterScroll(4, 9.75, true), 9.75);
    // 10.4 counts as 10 whole points, which is no longer under the greatest depth.
    EXPECT_EQ(VRNShadowDepth::depthAfterScroll(9.75, 10.4, true), 10);
    EXPECT_EQ(VRNShadowDepth::depthAfterScroll(10, 25, true), 10);
    EXPECT_EQ(VRNShadowDepth::depthAfterScroll(10, 3, true), 3);
}

TEST(ResizingTextShadowDepth, PullingPastTheTopShrinksItThenRemovesIt) {
    // Resting at the top leaves the shadow as it was; each pull beyond takes its share.
    EXPECT_EQ(VRNShadowDepth::depthAfterScroll(10, 0, true), 10);
    EXPECT_EQ(VRNShadowDepth::depthAfterScroll(10, -3, true), 7);
    EXPECT_EQ(VRNShadowDepth::depthAfterScroll(7, -7, true), 0);
    EXPECT_EQ(VRNShadowDepth::depthAfterScroll(7, -40, true), 0);
    // Content that stops at its top: being there is the end of the pull.
    EXPECT_EQ(VRNShadowDepth::depthAfterScroll(10, 0, false), 0);
    EXPECT_EQ(VRNShadowDepth::depthAfterScroll(0, 4, false), 4);
}

}  // namespace
}  // namespace vorna
