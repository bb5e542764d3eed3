#include <gtest/gtest.h>

#include <QDialog>
#include <QPainter>

#include "qt/invocation/VRNFloatingButtonVC.h"
#include "qt/invocation/VRNFloatingButtonWindow.h"
#include "qt/invocation/VRNScreenshotService.h"
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

TEST(ScreenshotServiceTests, FloatingButtonIsNeverInThePicture) {
    test::ScopedScreen screen(375, 812);
    test::TempDir dir;
    Swatch host(Qt::red);
    host.setGeometry(0, 0, 375, 812);
    test::showWindow(&host);
    auto button = floatingButton(dir);
    const auto service = VRNScreenshotService::sharedInstance();

    const VRNImage withButton = service->takeScreenshot();
    button.reset();
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

TEST(ScreenshotServiceTests, EveryWindowIsDrawnAtTheTopLeftInStackOrder) {
    test::ScopedScreen screen(375, 812);
    Swatch host(Qt::red);
    host.setGeometry(100, 300, 200, 100);
    test::showWindow(&host);

    VRNImage image = VRNScreenshotService::sharedInstance()->takeScreenshot();
    ASSERT_EQ(image.width(), 375);
    EXPECT_EQ(pixelAt(image, 0, 0), kRed);
    EXPECT_EQ(pixelAt(image, 199, 99), kRed);
    EXPECT_EQ(pixelAt(image, 10, 50), kBlack);
    EXPECT_EQ(pixelAt(image, 200, 50), kNothing);   // no window there: transparent
    EXPECT_EQ(pixelAt(image, 150, 350), kNothing);  // where the window really is

    // An alert shown later covers the host's content where it draws.
    Swatch alert(Qt::blue, nullptr, Qt::Dialog);
    alert.setGeometry(120, 320, 60, 40);
    test::showWindow(&alert);
    image = VRNScreenshotService::sharedInstance()->takeScreenshot();
    EXPECT_EQ(pixelAt(image, 30, 20), kBlue);
    EXPECT_EQ(pixelAt(image, 70, 20), kRed);
    EXPECT_EQ(pixelAt(image, 30, 60), kRed);

    // Hidden windows are not part of what the tester sees.
    alert.hide();
    test::settle();
    image = VRNScreenshotService::sharedInstance()->takeScreenshot();
    EXPECT_EQ(pixelAt(image, 30, 20), kRed);
}

TEST(ScreenshotServiceTests, DrawnAtTheScreensScale) {
    test::ScopedScreen screen(100, 50, 2);
    Swatch host(Qt::red);
    host.setGeometry(0, 0, 100, 50);
    test::showWindow(&host);
    const VRNImage image = VRNScreenshotService::sharedInstance()->takeScreenshot();
    EXPECT_EQ(image.width(), 200);
    EXPECT_EQ(image.height(), 100);
    EXPECT_EQ(image.scale(), 2);
    EXPECT_EQ(pixelAt(image, 19, 40), kRed);
    EXPECT_EQ(pixelAt(image, 20, 40), kBlack);
    EXPECT_EQ(pixelAt(image, 21, 40), kBlack);
    EXPECT_EQ(pixelAt(image, 22, 40), kRed);
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
