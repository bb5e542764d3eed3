#include <gtest/gtest.h>

#include <QDialog>
#include <QPainter>

#include "qt/invocation/VRNFloatingButtonVC.h"
#include "qt/invocation/VRNFloatingButtonWindow.h"
#include "qt/invocation/VRNScreenshotService.h"
#include "qt/platform/VRNKitWindow.h"
#include "qt/platform/VRNWindowStack.h"
#include "qt/tests/QtTestSupport.h"
#include "support/LogCapture.h"

namespace vorna {
namespace {

// A window filled with one colour, with a black line one point wide at x = 10.
class Swatch : public QWidget {
public:
    explicit Swatch(QColor color, QWidget* parent = nullptr, Qt::WindowFlags flags = {})
        : QWidget(parent, flags), color_(color) {}

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect(), color_);
        painter.fillRect(QRectF(10, 0, 1, height()), Qt::black);
    }

private:
    QColor color_;
};

struct Pixel {
    int r, g, b, a;
    bool operator==(const Pixel&) const = default;
};

Pixel pixelAt(const VRNImage& image, int x, int y) {
    const auto p = image.rgbaAt(x, y);
    return Pixel{p[0], p[1], p[2], p[3]};
}

const Pixel kRed{255, 0, 0, 255};
const Pixel kBlue{0, 0, 255, 255};
const Pixel kBlack{0, 0, 0, 255};
const Pixel kNothing{0, 0, 0, 0};

std::unique_ptr<VRNFloatingButtonWindow> floatingButton(const test::TempDir& dir) {
    auto window = std::make_unique<VRNFloatingButtonWindow>();
    window->setGeometry(0, 0, 375, 812);
    window->setRootViewController(
        new VRNFloatingButtonVC(std::make_shared<VRNFloatingButtonVM>(),
                                std::make_shared<VRNAppRepository>(
                                    std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite"))));
    test::showWindow(window.get(), false);
    return window;
}

TEST(ScreenshotServiceTests, KitWindowsAreNeverInThePicture) {
    test::ScopedScreen screen(375, 812);
    test::TempDir dir;
    Swatch host(Qt::red);
    host.setGeometry(0, 0, 375, 812);
    test::showWindow(&host);
    auto button = floatingButton(dir);
    // A window of the kit's beside the host's (a banner, say) does not widen the picture.
    VRNKitWindow banner(VRNWindowStack::VRNWindowLevelStatusBar);
    banner.setGeometry(380, 0, 200, 60);
    test::showWindow(&banner, false);
    const auto service = VRNScreenshotService::sharedInstance();

    const VRNImage withButton = service->takeScreenshot();
    button.reset();
    banner.hide();
    test::settle();
    const VRNImage hostAlone = service->takeScreenshot();
    ASSERT_EQ(withButton.width(), 375);
    ASSERT_EQ(withButton.height(), 812);
    EXPECT_EQ(withButton.pixels(), hostAlone.pixels());
    EXPECT_EQ(pixelAt(withButton, 50, 762), kRed);  // where the button was

    // And it is the host window as Qt itself draws it.
    const QImage grabbed =
        host.grab().toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    ASSERT_EQ(grabbed.size(), QSize(375, 812));
    ASSERT_EQ(hostAlone.layout(), VRNPixelLayout::BGRA);
    EXPECT_EQ(
        0, std::memcmp(grabbed.constBits(), hostAlone.pixels().data(), hostAlone.pixels().size()));
}

// A dialog of the host's: a real QDialog filled with one colour, with a black line one point
// wide at x = 10.
class SwatchDialog : public QDialog {
public:
    SwatchDialog(QColor color, QWidget* parent) : QDialog(parent) {
        QPalette palette;
        palette.setColor(QPalette::Window, color);
        setPalette(palette);
        setAutoFillBackground(true);
        auto* line = new QWidget(this);
        line->setGeometry(10, 0, 1, 1000);
        QPalette black;
        black.setColor(QPalette::Window, Qt::black);
        line->setPalette(black);
        line->setAutoFillBackground(true);
    }
};

TEST(ScreenshotServiceTests, WindowsAreDrawnAtTheirPlacesCroppedToTheAreaTheyCover) {
    test::ScopedScreen screen(1280, 800);
    Swatch main(Qt::red);
    main.setGeometry(100, 80, 640, 480);
    test::showWindow(&main);
    SwatchDialog dialog(Qt::blue, &main);
    dialog.setGeometry(400, 280, 200, 100);  // (300, 200) of the main window
    test::showWindow(&dialog);

    VRNImage image = VRNScreenshotService::sharedInstance()->takeScreenshot();
    // The main window's area, not the screen's.
    ASSERT_EQ(image.width(), 640);
    ASSERT_EQ(image.height(), 480);
    EXPECT_EQ(pixelAt(image, 0, 0), kRed);
    EXPECT_EQ(pixelAt(image, 10, 0), kBlack);
    EXPECT_EQ(pixelAt(image, 639, 479), kRed);
    // The dialog lands over the fields it covers on screen, over its main window.
    EXPECT_EQ(pixelAt(image, 299, 199), kRed);
    EXPECT_EQ(pixelAt(image, 300, 200), kBlue);
    EXPECT_EQ(pixelAt(image, 310, 250), kBlack);
    EXPECT_EQ(pixelAt(image, 499, 299), kBlue);
    EXPECT_EQ(pixelAt(image, 500, 300), kRed);

    // A window above and to the left of the main window widens the picture; what lies between
    // windows is transparent.
    Swatch palette(Qt::green, nullptr, Qt::Tool);
    palette.setGeometry(20, 30, 50, 50);
    test::showWindow(&palette, false);
    image = VRNScreenshotService::sharedInstance()->takeScreenshot();
    ASSERT_EQ(image.width(), 720);
    ASSERT_EQ(image.height(), 530);
    EXPECT_EQ(pixelAt(image, 0, 0), (Pixel{0, 255, 0, 255}));
    EXPECT_EQ(pixelAt(image, 40, 100), kNothing);
    EXPECT_EQ(pixelAt(image, 80, 50), kRed);
    EXPECT_EQ(pixelAt(image, 380, 250), kBlue);
    EXPECT_EQ(pixelAt(image, 379, 250), kRed);
}

TEST(ScreenshotServiceTests, MinimisedAndHiddenWindowsAreLeftOut) {
    test::ScopedScreen screen(1280, 800);
    Swatch main(Qt::red);
    main.setGeometry(10, 10, 300, 200);  // clear of the screen's edge, frame and all
    test::showWindow(&main);
    Swatch other(Qt::blue);
    other.setGeometry(110, 110, 400, 300);
    test::showWindow(&other);
    const auto service = VRNScreenshotService::sharedInstance();
    ASSERT_EQ(service->takeScreenshot().width(), 500);

    other.showMinimized();
    test::settle();
    VRNImage image = service->takeScreenshot();
    EXPECT_EQ(image.width(), 300);
    EXPECT_EQ(image.height(), 200);
    EXPECT_EQ(pixelAt(image, 150, 150), kRed);

    other.showNormal();
    other.hide();
    test::settle();
    image = service->takeScreenshot();
    EXPECT_EQ(image.width(), 300);
    EXPECT_EQ(pixelAt(image, 150, 150), kRed);
}

TEST(ScreenshotServiceTests, DrawnAtTheScreensScale) {
    test::ScopedScreen screen(400, 300, 2);
    Swatch host(Qt::red);
    host.setGeometry(50, 40, 100, 50);
    test::showWindow(&host);
    Swatch dialog(Qt::blue, &host, Qt::Dialog);
    dialog.setGeometry(110, 60, 20, 20);
    test::showWindow(&dialog);

    const VRNImage image = VRNScreenshotService::sharedInstance()->takeScreenshot();
    EXPECT_EQ(image.width(), 200);
    EXPECT_EQ(image.height(), 100);
    EXPECT_EQ(image.scale(), 2);
    EXPECT_EQ(pixelAt(image, 19, 10), kRed);
    EXPECT_EQ(pixelAt(image, 20, 10), kBlack);
    EXPECT_EQ(pixelAt(image, 21, 10), kBlack);
    EXPECT_EQ(pixelAt(image, 22, 10), kRed);
    // The dialog is 60 points right of and 20 below the host's corner: 120 and 40 pixels.
    EXPECT_EQ(pixelAt(image, 119, 50), kRed);
    EXPECT_EQ(pixelAt(image, 120, 40), kBlue);
    EXPECT_EQ(pixelAt(image, 140, 50), kBlack);
    EXPECT_EQ(pixelAt(image, 142, 50), kBlue);
    EXPECT_EQ(pixelAt(image, 159, 79), kBlue);
    EXPECT_EQ(pixelAt(image, 160, 80), kRed);
}

TEST(ScreenshotServiceTests, NothingButTheKitOnScreenGivesNoPicture) {
    test::ScopedScreen screen(375, 812);
    test::TempDir dir;
    auto button = floatingButton(dir);
    Swatch host(Qt::red);
    host.setGeometry(0, 0, 375, 812);
    test::showWindow(&host);
    host.showMinimized();
    test::settle();
    const auto service = VRNScreenshotService::sharedInstance();
    test::LogCapture log;
    const VRNImage image = service->takeScreenshot();
    EXPECT_TRUE(image.isEmpty());
    EXPECT_FALSE(service->getImageData(image));
    EXPECT_TRUE(log.contains("VRNScreenshotService: No window to take a picture of"));
}

TEST(ScreenshotServiceTests, NoScreenGivesNoPicture) {
    test::ScopedScreen none(0, 0, 0);
    Swatch host(Qt::red);
    test::showWindow(&host);
    const auto service = VRNScreenshotService::sharedInstance();
    test::LogCapture log;
    const VRNImage image = service->takeScreenshot();
    EXPECT_TRUE(image.isEmpty());
    EXPECT_FALSE(service->getImageData(image));
    EXPECT_TRUE(log.contains("VRNScreenshotService: No screen to take a picture of"));
}

}  // namespace
}  // namespace vorna
