#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "flow/VRNAnnotationColors.h"
#include "flow/VRNAnnotationToolbar.h"
#include "flow/VRNScreenshotLayout.h"
#include "flow/VRNStrokeCapture.h"
#include "platform/VRNDeviceProvider.h"
#include "platform/VRNImage.h"
#include "state/VRNAppRepository.h"
#include "support/TempDir.h"

namespace vorna {
namespace {

class StrokeCaptureTest : public testing::Test {
protected:
    void SetUp() override { pointsToDraw.reset(); }
    void TearDown() override { pointsToDraw.reset(); }

    VRNStrokeCapture capture{
        VRNStrokeCapture::Callbacks{[this] { ++redraws; },
                                    [this] {
                                        // The burn-in sees the whole stroke.
                                        ended.push_back(pointsToDraw ? pointsToDraw->size() : 0);
                                    }}};
    int redraws = 0;
    std::vector<size_t> ended;
};

TEST_F(StrokeCaptureTest, AStrokeIsBurntInWithItsPointsThenCleared) {
    capture.pressed(-1, {10, 10});
    capture.moved(-1, {20, 15.5});
    capture.moved(-1, {30, 40});
    ASSERT_TRUE(pointsToDraw);
    EXPECT_EQ(*pointsToDraw, (std::vector<VRNPoint>{{10, 10}, {20, 15.5}, {30, 40}}));
    EXPECT_EQ(VRNStrokeCapture::strokeToDraw(), &*pointsToDraw);
    EXPECT_EQ(redraws, 3);

    capture.released(-1);
    EXPECT_EQ(ended, std::vector<size_t>{3});
    EXPECT_FALSE(pointsToDraw);
    EXPECT_EQ(redraws, 4);  // the overlay clears
    EXPECT_FALSE(capture.isFollowing());
}

TEST_F(StrokeCaptureTest, ATapDrawsNothingButStillEndsTheStroke) {
    capture.pressed(0, {5, 5});
    ASSERT_TRUE(pointsToDraw);
    EXPECT_EQ(pointsToDraw->size(), 1u);
    EXPECT_EQ(VRNStrokeCapture::strokeToDraw(), nullptr);
    capture.released(0);
    EXPECT_EQ(ended, std::vector<size_t>{1});
}

TEST_F(StrokeCaptureTest, OnlyTheFirstPointerIsFollowed) {
    capture.pressed(1, {0, 0});
    capture.pressed(2, {100, 100});  // a second finger
    capture.moved(2, {110, 110});
    capture.moved(1, {1, 1});
    capture.released(2);
    EXPECT_TRUE(ended.empty());
    EXPECT_EQ(*pointsToDraw, (std::vector<VRNPoint>{{0, 0}, {1, 1}}));
    capture.released(1);
    EXPECT_EQ(ended, std::vector<size_t>{2});

    // Once the first has lifted, a new press is a new stroke.
    capture.pressed(2, {50, 50});
    EXPECT_EQ(*pointsToDraw, (std::vector<VRNPoint>{{50, 50}}));
}

TEST_F(StrokeCaptureTest, ACancelledStrokeStaysUntilTheNextPress) {
    capture.pressed(1, {0, 0});
    capture.moved(1, {5, 5});
    capture.cancelled();
    capture.moved(1, {9, 9});
    capture.released(1);
    EXPECT_TRUE(ended.empty());
    ASSERT_TRUE(pointsToDraw);
    EXPECT_EQ(*pointsToDraw, (std::vector<VRNPoint>{{0, 0}, {5, 5}}));
    EXPECT_NE(VRNStrokeCapture::strokeToDraw(), nullptr);

    capture.pressed(3, {7, 7});
    EXPECT_EQ(*pointsToDraw, (std::vector<VRNPoint>{{7, 7}}));
}

TEST(AnnotationToolbarTest, ItemsInOrderWithAndWithoutReset) {
    using Kind = VRNAnnotationToolbar::Kind;
    using Item = VRNAnnotationToolbar::Item;
    const Item small{Kind::FixedSpace, 15};
    const Item fixed{Kind::FixedSpace, 34};
    const Item right{Kind::FixedSpace, 45};
    const Item flex{Kind::FlexibleSpace};
    EXPECT_EQ(VRNAnnotationToolbar::items(false),
              (std::vector<Item>{small, flex, Item{Kind::Red}, fixed, Item{Kind::Black}, fixed,
                                 Item{Kind::White}, flex}));
    EXPECT_EQ(VRNAnnotationToolbar::items(true),
              (std::vector<Item>{small, Item{Kind::Reset}, flex, Item{Kind::Red}, fixed,
                                 Item{Kind::Black}, fixed, Item{Kind::White}, flex, right}));
}

class AnnotationColorsTest : public testing::Test {
protected:
    test::TempDir dir;
    VRNAppRepository repository{std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite")};
};

TEST_F(AnnotationColorsTest, ChoiceIsStoredAsAnIntegerAndReadBack) {
    EXPECT_FALSE(VRNAnnotationColors::storedIndex(repository));
    VRNAnnotationColors::storeIndex(repository, VRNAnnotationColors::kWhiteIndex);
    EXPECT_EQ(repository.lastUsedColor(), VRNDefaultsValue{int64_t{2}});
    EXPECT_EQ(VRNAnnotationColors::storedIndex(repository), 2);
    EXPECT_EQ(VRNAnnotationColors::colorAt(0), (VRNColor{1, 0, 0, 1}));
    EXPECT_EQ(VRNAnnotationColors::colorAt(1), (VRNColor{0, 0, 0, 1}));
    EXPECT_EQ(VRNAnnotationColors::colorAt(2), (VRNColor{1, 1, 1, 1}));
}

TEST_F(AnnotationColorsTest, StoredValuesOfOtherKindsGiveTheirIntegerValue) {
    const auto read = [this](VRNDefaultsValue value) {
        repository.setLastUsedColor(std::move(value));
        return VRNAnnotationColors::storedIndex(repository);
    };
    EXPECT_EQ(read(1.9), 1);
    EXPECT_EQ(read(-0.5), 0);
    EXPECT_EQ(read(true), 1);
    EXPECT_EQ(read(std::string(" 2 apples")), 2);
    EXPECT_EQ(read(std::string("white")), 0);
    EXPECT_EQ(read(1e300), std::numeric_limits<int64_t>::max());
    repository.setLastUsedColor(VRNData{2});
    EXPECT_THROW(VRNAnnotationColors::storedIndex(repository), std::invalid_argument);
}

TEST_F(AnnotationColorsTest, AnIndexOutsideTheThreeColoursThrows) {
    EXPECT_THROW(VRNAnnotationColors::colorAt(3), std::out_of_range);
    EXPECT_THROW(VRNAnnotationColors::colorAt(-1), std::out_of_range);
}

TEST(ScreenshotLayoutTest, PictureKeepsTheScreensAspectBetweenBarAndToolbar) {
    const VRNScreenInfo phone{375, 812, 750, 1624, 2};
    const double ratio = VRNScreenshotLayout::ratio(phone);
    EXPECT_DOUBLE_EQ(ratio, 812.0 / 375.0);
    EXPECT_DOUBLE_EQ(VRNScreenshotLayout::verticalOffset(phone), 40.6);
    const VRNRect bar = VRNScreenshotLayout::toolbarFrame({375, 812});
    EXPECT_EQ(bar, (VRNRect{0, 768, 375, 44}));
    // Top 44 + 40.6, bottom 768 − 40.6; width 642.8 / ratio = 296.87, centred; whole points.
    EXPECT_EQ(VRNScreenshotLayout::imageViewFrame({375, 812}, 44, bar.y, ratio, 40.6),
              (VRNRect{39, 85, 297, 642}));

    // A desktop screen: the band's height decides, the picture is centred across.
    const VRNScreenInfo desktop{1920, 1080, 1920, 1080, 1};
    EXPECT_EQ(VRNScreenshotLayout::imageViewFrame({1920, 1080}, 44, 1036,
                                                  VRNScreenshotLayout::ratio(desktop), 54),
              (VRNRect{174, 98, 1572, 884}));
}

TEST(ScreenshotLayoutTest, ACroppedPictureKeepsItsOwnAspectNotTheScreens) {
    const VRNScreenInfo desktop{1920, 1080, 3840, 2160, 2};
    // The application's windows cover 800 × 300 points of the screen, drawn at its scale.
    const VRNImage wide = VRNImage::filled(800, 300, 2, 200, 200, 200);
    const double ratio = VRNScreenshotLayout::ratio(wide, desktop);
    EXPECT_DOUBLE_EQ(ratio, 300.0 / 800.0);
    // The band (98 to 982) would want it 2357 points wide: it fits across instead, centred in
    // the band, the twentieth of the screen's height still above and below the band.
    EXPECT_EQ(VRNScreenshotLayout::imageViewFrame({1920, 1080}, 44, 1036, ratio,
                                                  VRNScreenshotLayout::verticalOffset(desktop)),
              (VRNRect{0, 180, 1920, 720}));

    // A tall, narrow window: the band's height decides.
    const VRNImage tall = VRNImage::filled(400, 900, 1, 0, 0, 0);
    EXPECT_EQ(VRNScreenshotLayout::imageViewFrame({1920, 1080}, 44, 1036,
                                                  VRNScreenshotLayout::ratio(tall, desktop), 54),
              (VRNRect{764, 98, 392, 884}));

    // Without pixels, there is still an area of the screen's aspect to draw on.
    EXPECT_DOUBLE_EQ(VRNScreenshotLayout::ratio(VRNImage(), desktop), 1080.0 / 1920.0);
    EXPECT_EQ(VRNScreenshotLayout::ratio(VRNImage(), VRNScreenInfo{}), 0);
}

TEST(ScreenshotLayoutTest, TooNarrowAViewFitsThePictureAcrossAndCentresItInTheBand) {
    // A 200-point-wide view cannot hold the 296.87 points the band asks for.
    EXPECT_EQ(VRNScreenshotLayout::imageViewFrame({200, 812}, 44, 768, 812.0 / 375.0, 40.6),
              (VRNRect{0, 189, 200, 434}));
}

TEST(ScreenshotLayoutTest, NoScreenOrNoRoomGivesAnEmptyPicture) {
    const VRNScreenInfo none{};
    EXPECT_EQ(VRNScreenshotLayout::ratio(none), 0);
    EXPECT_TRUE(VRNScreenshotLayout::imageViewFrame({375, 812}, 44, 768, 0, 0).isEmpty());
    EXPECT_TRUE(
        VRNScreenshotLayout::imageViewFrame({375, 100}, 44, 56, 812.0 / 375.0, 40.6).isEmpty());
}

}  // namespace
}  // namespace vorna
