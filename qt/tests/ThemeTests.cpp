#include <gtest/gtest.h>

#include <QFontInfo>
#include <QSignalSpy>

#include "qt/tests/QtTestSupport.h"
#include "qt/theme/Fonts.h"
#include "qt/theme/LargerTappableButton.h"
#include "qt/theme/VRNKitImages.h"
#include "support/LogCapture.h"

namespace vorna {
namespace {

TEST(FontsTests, TheFacadeRegistersTheFourFaces) {
    test::DisplayCounter facade;  // making a facade registers the kit's resources
    test::settle();
    for (const char* face : {Fonts::kRegular, Fonts::kMedium, Fonts::kSemiBold, Fonts::kBold}) {
        EXPECT_TRUE(Fonts::isRegistered(QString::fromLatin1(face))) << face;
    }
    const auto bold = Fonts::fontBoldOfSize(17);
    ASSERT_TRUE(bold);
    EXPECT_EQ(bold->weight(), QFont::Bold);
    EXPECT_EQ(bold->pixelSize(), 17);
    EXPECT_EQ(QFontInfo(*bold).family(), QStringLiteral("Inter"));
    ASSERT_TRUE(Fonts::fontSemiBoldOfSize(12.6));
    EXPECT_EQ(Fonts::fontSemiBoldOfSize(12.6)->pixelSize(), 13);
    EXPECT_EQ(Fonts::fontMediumOfSize(14)->weight(), QFont::Medium);
    EXPECT_EQ(Fonts::fontRegularOfSize(14)->weight(), QFont::Normal);
}

TEST(FontsTests, AFaceThatCannotBeRegisteredIsLoggedAndAbsent) {
    test::LogCapture log;
    Fonts::loadMyCustomFont(QStringLiteral("Broken-Face"));
    Fonts::loadMyCustomFont(QStringLiteral("Missing-Face"));
    EXPECT_FALSE(Fonts::isRegistered(QStringLiteral("Broken-Face")));
    EXPECT_FALSE(Fonts::isRegistered(QStringLiteral("Missing-Face")));
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 2u);
    for (const auto& line : lines) {
        EXPECT_EQ(line.rfind("Failed to load font: ", 0), 0u) << line;
    }
    EXPECT_NE(lines[0].find("Broken-Face"), std::string::npos);
    EXPECT_NE(lines[1].find("Missing-Face"), std::string::npos);
}

TEST(LargerTappableButtonTests, TouchAreaReachesTwentyPointsBeyondEachEdge) {
    QWidget window;
    window.setGeometry(0, 0, 400, 300);
    auto* button = new LargerTappableButton(QStringLiteral("Next"), &window);
    button->setGeometry(100, 100, 80, 40);
    EXPECT_EQ(button->horizontalClickableInset(), 20);
    EXPECT_EQ(button->verticalClickableInset(), 20);
    EXPECT_TRUE(button->pointInside(QPointF(-20, 10)));
    EXPECT_FALSE(button->pointInside(QPointF(-21, 10)));
    EXPECT_TRUE(button->pointInside(QPointF(100, 10)));
    EXPECT_FALSE(button->pointInside(QPointF(100.5, 10)));
    EXPECT_TRUE(button->pointInside(QPointF(10, -20)));
    EXPECT_FALSE(button->pointInside(QPointF(10, 61)));

    QSignalSpy clicked(button, &QAbstractButton::clicked);
    test::showWindow(&window);
    test::Pointer pointer(window.windowHandle());
    pointer.click(QPointF(80, 120));  // 20 points to the left
    EXPECT_EQ(clicked.count(), 1);
    pointer.click(QPointF(79, 120));  // 21 points
    EXPECT_EQ(clicked.count(), 1);
    pointer.click(QPointF(140, 160));  // 20 points below
    EXPECT_EQ(clicked.count(), 2);

    // A neighbour lying in the extra area keeps the clicks that land on it.
    auto* neighbour = new QPushButton(QStringLiteral("Back"), &window);
    neighbour->setGeometry(40, 100, 50, 40);
    neighbour->show();
    QSignalSpy neighbourClicked(neighbour, &QAbstractButton::clicked);
    pointer.click(QPointF(85, 120));
    EXPECT_EQ(neighbourClicked.count(), 1);
    EXPECT_EQ(clicked.count(), 2);
}

TEST(KitImagesTests, EveryImageOfTheKitDrawsAtTheScreensScale) {
    for (const char* name :
         {"bug-icon", "check-circle", "detective", "owl", "delete-icon", "back-arrow", "Close-icon",
          "Btn-red", "Btn-black", "Btn-white", "Circle-active-color", "path", "switchOn"}) {
        const QPixmap image = VRNKitImages::imageNamed(QString::fromLatin1(name), {20, 24}, 2);
        ASSERT_FALSE(image.isNull()) << name;
        EXPECT_EQ(image.size(), QSize(40, 48)) << name;
        EXPECT_EQ(image.deviceIndependentSize(), QSizeF(20, 24)) << name;
        const QImage pixels = image.toImage();
        bool drawn = false;
        for (int y = 0; y < pixels.height() && !drawn; ++y) {
            for (int x = 0; x < pixels.width() && !drawn; ++x) {
                drawn = qAlpha(pixels.pixel(x, y)) > 0;
            }
        }
        EXPECT_TRUE(drawn) << name;
    }
}

TEST(KitImagesTests, AMissingImageIsEmptyAndLogged) {
    test::LogCapture log;
    EXPECT_TRUE(VRNKitImages::imageNamed(QStringLiteral("no-such-image"), {20, 24}, 2).isNull());
    EXPECT_TRUE(VRNKitImages::iconNamed(QStringLiteral("no-such-image")).isNull());
    EXPECT_EQ(log.count("VRNKitImages: No image named \"no-such-image\" among the kit's resources"),
              2u);
}

}  // namespace
}  // namespace vorna
