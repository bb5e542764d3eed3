#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QLabel>
#include <QLayout>
#include <QPointingDevice>
#include <QTest>
#include <QTouchEvent>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "flow/VRNScreenshotVM.h"
#include "flow/VRNStrokeCapture.h"
#include "qt/flow/VRNNavigationStack.h"
#include "qt/flow/VRNOverlayView.h"
#include "qt/flow/VRNPlainButton.h"
#include "qt/flow/VRNScreenshotImageView.h"
#include "qt/flow/VRNScreenshotVC.h"
#include "qt/flow/VRNScreenshotView.h"
#include "qt/tests/QtTestSupport.h"
#include "qt/theme/Fonts.h"
#include "theme/VRNBranding.h"
#include "vorna/VornaReportData.h"

namespace vorna {
namespace {

struct Pixel {
    int r, g, b, a;
    bool operator==(const Pixel&) const = default;
};

Pixel pixelAt(const VRNImage& image, int x, int y) {
    const auto p = image.rgbaAt(x, y);
    return Pixel{p[0], p[1], p[2], p[3]};
}

Pixel pixelAt(const QImage& image, int x, int y) {
    const QColor c = image.pixelColor(x, y);
    return Pixel{c.red(), c.green(), c.blue(), c.alpha()};
}

// Within a JPEG's error of the colour.
bool near(Pixel p, Pixel expected, int tolerance = 24) {
    return std::abs(p.r - expected.r) <= tolerance && std::abs(p.g - expected.g) <= tolerance &&
           std::abs(p.b - expected.b) <= tolerance;
}

const Pixel kGrey{200, 200, 200, 255};
const Pixel kRed{255, 0, 0, 255};
const Pixel kBlack{0, 0, 0, 255};
const Pixel kWhite{255, 255, 255, 255};

class AnnotationTest : public testing::Test {
protected:
    void SetUp() override {
        Fonts::registerFonts();
        pointsToDraw.reset();
    }

    // The screen as the flow shows it: root of a stack whose bar is invisible and translucent.
    void show(VRNImage screenshot = VRNImage::filled(375, 812, 2, 200, 200, 200)) {
        viewModel = std::make_shared<VRNScreenshotVM>(std::move(screenshot), reportData);
        viewModel->setOnDidPressNextButton(
            [this](std::shared_ptr<VRNVornaReportData> data) { sent.push_back(std::move(data)); });
        viewModel->setOnDidPressCloseButton([this] { ++closes; });
        screen = std::make_shared<VRNScreenshotVC>(viewModel, std::make_shared<VRNBranding>(),
                                                   repository);
        stack = std::make_unique<VRNNavigationStack>(screen);
        stack->setBarAppearance(true, true, VRNColor{1, 1, 1, 1});
        stack->view()->resize(375, 812);
        test::showWindow(stack->view());
        pointer = std::make_unique<test::Pointer>(stack->view()->windowHandle());
    }

    VRNScreenshotImageView* imageView() const {
        return screen->screenshotView()->screenshotImageView();
    }
    VRNOverlayView* overlay() const { return screen->screenshotView()->overlayView(); }
    // A point of the picture, in the window.
    QPointF onPicture(double x, double y) const {
        return QPointF(imageView()->mapTo(stack->view(), QPoint(0, 0))) + QPointF(x, y);
    }
    void tap(QAbstractButton* button) {
        pointer->click(QPointF(button->mapTo(stack->view(), button->rect().center())));
    }
    // The toolbar's row: spaces by width, "flex" for flexible ones, buttons by name.
    std::vector<std::string> toolbarRow() const {
        std::vector<std::string> row;
        QLayout* layout = screen->screenshotView()->toolBar()->layout();
        for (int i = 0; i < layout->count(); ++i) {
            QLayoutItem* item = layout->itemAt(i);
            if (QSpacerItem* space = item->spacerItem()) {
                row.push_back(space->expandingDirections() & Qt::Horizontal
                                  ? "flex"
                                  : std::to_string(space->sizeHint().width()));
            } else if (item->widget() == screen->resetButton()) {
                row.emplace_back("reset");
            } else if (item->widget() == screen->redButton()) {
                row.emplace_back("red");
            } else if (item->widget() == screen->blackButton()) {
                row.emplace_back("black");
            } else if (item->widget() == screen->whiteButton()) {
                row.emplace_back("white");
            }
        }
        return row;
    }
    static QString markOf(QAbstractButton* button) {
        return static_cast<VRNPlainButton*>(button)->backgroundImageName();
    }

    test::ScopedScreen phone{375, 812, 2};
    test::TempDir dir;
    std::shared_ptr<VRNAppRepository> repository = std::make_shared<VRNAppRepository>(
        std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite"));
    std::shared_ptr<VRNVornaReportData> reportData =
        std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{});
    std::shared_ptr<VRNScreenshotVM> viewModel;
    std::vector<std::shared_ptr<VRNVornaReportData>> sent;
    int closes = 0;
    std::shared_ptr<VRNScreenshotVC> screen;
    std::unique_ptr<VRNNavigationStack> stack;
    std::unique_ptr<test::Pointer> pointer;
};

const std::vector<std::string> kRowWithoutReset{"15",    "flex", "red",   "34",
                                                "black", "34",   "white", "flex"};
const std::vector<std::string> kRowWithReset{"15",    "reset", "flex",  "red",  "34",
                                             "black", "34",    "white", "flex", "45"};

TEST_F(AnnotationTest, ATapDrawsNothingYetBurnsInThePictureAndShowsReset) {
    show();
    EXPECT_EQ(toolbarRow(), kRowWithoutReset);
    EXPECT_FALSE(screen->resetButton()->isVisible());

    pointer->click(onPicture(100, 200));
    const VRNImage& picture = viewModel->screenshotImage();
    // A new picture of the picture's view at the main screen's scale, shown as it is kept.
    EXPECT_EQ(picture.width(), 594);
    EXPECT_EQ(picture.height(), 1284);
    EXPECT_EQ(picture.scale(), 2);
    EXPECT_EQ(imageView()->image().sharedPixels(), picture.sharedPixels());
    EXPECT_NE(picture.sharedPixels(), screen->initialScreenshot().sharedPixels());
    EXPECT_EQ(pixelAt(picture, 200, 400), kGrey);
    EXPECT_FALSE(pointsToDraw);
    EXPECT_EQ(toolbarRow(), kRowWithReset);
    EXPECT_TRUE(screen->resetButton()->isVisible());
}

TEST_F(AnnotationTest, StrokesShowInTheChosenColourAndAddUp) {
    show();
    tap(screen->blackButton());
    EXPECT_EQ(repository->lastUsedColor(), VRNDefaultsValue{int64_t{1}});
    EXPECT_EQ(markOf(screen->blackButton()), QStringLiteral("Circle-active-color"));
    EXPECT_TRUE(markOf(screen->redButton()).isEmpty());

    // While the finger is down, only the drawing surface shows the stroke.
    pointer->press(onPicture(50, 100));
    pointer->move(onPicture(150, 100));
    pointer->move(onPicture(250, 100));
    EXPECT_EQ(pixelAt(imageView()->grab().toImage(), 150, 100), kBlack);
    EXPECT_EQ(pixelAt(viewModel->screenshotImage(), 300, 200), kGrey);
    pointer->release(onPicture(250, 100));
    EXPECT_EQ(pixelAt(viewModel->screenshotImage(), 300, 199), kBlack);
    EXPECT_EQ(pixelAt(viewModel->screenshotImage(), 300, 200), kBlack);
    EXPECT_EQ(pixelAt(viewModel->screenshotImage(), 300, 190), kGrey);

    tap(screen->whiteButton());
    EXPECT_EQ(repository->lastUsedColor(), VRNDefaultsValue{int64_t{2}});
    pointer->drag(onPicture(100, 150), onPicture(100, 300));
    EXPECT_EQ(pixelAt(viewModel->screenshotImage(), 200, 450), kWhite);
    EXPECT_EQ(pixelAt(viewModel->screenshotImage(), 300, 200), kBlack);  // still there
    // The screen shows the picture it keeps.
    EXPECT_TRUE(near(pixelAt(imageView()->grab().toImage(), 100, 225), kWhite, 2));
}

TEST_F(AnnotationTest, ResetShowsTheScreenshotButNextSendsTheLastDrawing) {
    show();
    pointer->drag(onPicture(50, 100), onPicture(250, 100));
    tap(screen->resetButton());
    EXPECT_EQ(imageView()->image().sharedPixels(), screen->initialScreenshot().sharedPixels());
    EXPECT_TRUE(near(pixelAt(imageView()->grab().toImage(), 150, 100), kGrey, 2));
    EXPECT_EQ(toolbarRow(), kRowWithoutReset);
    EXPECT_FALSE(screen->resetButton()->isVisible());

    tap(screen->nextButton());
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0], reportData);
    const auto& file = reportData->screenshotFile();
    ASSERT_TRUE(file);
    EXPECT_EQ(file->name(), "screenshot.jpg");
    ASSERT_TRUE(file->data());
    const VRNImage jpeg = VRNImageWithData(*file->data());
    EXPECT_EQ(jpeg.width(), 594);
    EXPECT_EQ(jpeg.height(), 1284);
    EXPECT_TRUE(near(pixelAt(jpeg, 300, 200), kRed)) << pixelAt(jpeg, 300, 200).g;
    EXPECT_TRUE(near(pixelAt(jpeg, 300, 100), kGrey));

    // The next stroke starts again from the untouched screenshot.
    pointer->drag(onPicture(50, 300), onPicture(250, 300));
    EXPECT_EQ(pixelAt(viewModel->screenshotImage(), 300, 200), kGrey);
    EXPECT_EQ(pixelAt(viewModel->screenshotImage(), 300, 600), kRed);
}

TEST_F(AnnotationTest, TheStoredColourIsTheFirstOneAndRedWhenNoneIsStored) {
    show();
    EXPECT_EQ(overlay()->drawingColor(), QColor(Qt::red));
    EXPECT_EQ(markOf(screen->redButton()), QStringLiteral("Circle-active-color"));
    EXPECT_TRUE(markOf(screen->whiteButton()).isEmpty());

    repository->setLastUsedColor(int64_t{2});
    auto next = std::make_shared<VRNScreenshotVC>(viewModel, nullptr, repository);
    next->view();
    EXPECT_EQ(next->screenshotView()->overlayView()->drawingColor(), QColor(Qt::white));
    EXPECT_EQ(markOf(next->whiteButton()), QStringLiteral("Circle-active-color"));
    EXPECT_TRUE(markOf(next->redButton()).isEmpty());
    EXPECT_TRUE(markOf(next->blackButton()).isEmpty());
}

TEST_F(AnnotationTest, AStoredColourOutsideTheThreeReachesTheHostAsOutOfRange) {
    for (const int64_t index : {int64_t{3}, int64_t{-1}}) {
        repository->setLastUsedColor(index);
        auto broken = std::make_shared<VRNScreenshotVC>(
            std::make_shared<VRNScreenshotVM>(VRNImage(), reportData), nullptr, repository);
        EXPECT_THROW(broken->view(), std::out_of_range);
        // Nor does a flow made around such a screen hold anything back.
        auto root = std::make_shared<VRNScreenshotVC>(
            std::make_shared<VRNScreenshotVM>(VRNImage(), reportData), nullptr, repository);
        EXPECT_THROW(VRNNavigationStack{root}, std::out_of_range);
    }
}

TEST_F(AnnotationTest, OnlyTheFirstFingerDrawsAndACancelledTouchLeavesItsStroke) {
    show();
    const std::unique_ptr<QPointingDevice> device(QTest::createTouchDevice());
    QWidget* window = stack->view();
    const auto at = [this](double x, double y) { return onPicture(x, y).toPoint(); };
    QTest::touchEvent(window, device.get()).press(0, at(50, 100));
    QTest::touchEvent(window, device.get()).stationary(0).press(1, at(50, 400));
    QTest::touchEvent(window, device.get()).move(0, at(250, 100)).move(1, at(250, 400));
    QTest::touchEvent(window, device.get()).stationary(0).release(1, at(250, 400));
    EXPECT_EQ(toolbarRow(), kRowWithoutReset);  // the second finger ends nothing
    QTest::touchEvent(window, device.get()).release(0, at(250, 100));
    const VRNImage picture = viewModel->screenshotImage();
    EXPECT_EQ(pixelAt(picture, 300, 200), kRed);
    EXPECT_EQ(pixelAt(picture, 300, 800), kGrey);
    EXPECT_EQ(toolbarRow(), kRowWithReset);

    // A cancelled touch is burnt into nothing; its stroke shows until the next press.
    QTest::touchEvent(window, device.get()).press(2, at(50, 500));
    QTest::touchEvent(window, device.get()).move(2, at(250, 500));
    QTouchEvent cancel(QEvent::TouchCancel, device.get());
    QCoreApplication::sendEvent(overlay(), &cancel);
    QTest::touchEvent(window, device.get()).release(2, at(250, 500));
    EXPECT_EQ(viewModel->screenshotImage().sharedPixels(), picture.sharedPixels());
    ASSERT_TRUE(pointsToDraw);
    EXPECT_EQ(pointsToDraw->size(), 2u);
    test::settle();
    EXPECT_EQ(pixelAt(imageView()->grab().toImage(), 150, 500), kRed);

    pointer->click(onPicture(20, 20));
    EXPECT_FALSE(pointsToDraw);
    EXPECT_EQ(pixelAt(viewModel->screenshotImage(), 300, 1000), kGrey);
    EXPECT_EQ(pixelAt(viewModel->screenshotImage(), 300, 200), kRed);
}

TEST_F(AnnotationTest, ToolbarKeepsTheColoursCentredWithAndWithoutReset) {
    show();
    QWidget* toolBar = screen->screenshotView()->toolBar();
    EXPECT_EQ(toolBar->geometry(), QRect(0, 768, 375, 44));
    // 15 + 3 × 32 + 2 × 34 points fixed; the two flexible spaces share the other 196.
    EXPECT_EQ(screen->redButton()->geometry(), QRect(113, 6, 32, 32));
    EXPECT_EQ(screen->blackButton()->geometry(), QRect(179, 6, 32, 32));
    EXPECT_EQ(screen->whiteButton()->geometry(), QRect(245, 6, 32, 32));

    pointer->click(onPicture(100, 100));
    EXPECT_EQ(screen->resetButton()->geometry().x(), 15);
    // The right space balances Reset: the colours stay within a few points of where they were.
    EXPECT_NEAR(screen->blackButton()->geometry().x(), 179, 4);
    EXPECT_EQ(screen->blackButton()->geometry().x() - screen->redButton()->geometry().x(), 66);
}

TEST_F(AnnotationTest, LayoutAndBarOfA375x812Screen) {
    show();
    // Top 44 + 812 / 20, bottom 768 − 812 / 20, the screen's aspect, centred.
    EXPECT_EQ(imageView()->geometry(), QRect(39, 85, 297, 642));
    EXPECT_EQ(overlay()->geometry(), QRect(0, 0, 297, 642));

    EXPECT_EQ(screen->leftBarButton(), screen->closeButton());
    EXPECT_EQ(screen->closeButton()->size(), QSize(46, 46));
    EXPECT_TRUE(stack->navigationBar()->isAncestorOf(screen->closeButton()));
    const auto* title = qobject_cast<QLabel*>(screen->titleView());
    ASSERT_TRUE(title);
    EXPECT_EQ(title->text(), QStringLiteral("First, mark the bug"));
    EXPECT_EQ(title->palette().color(QPalette::WindowText), QColor(Qt::white));
    EXPECT_EQ(screen->rightBarButton(), screen->nextButton());
    EXPECT_EQ(screen->nextButton()->text(), QStringLiteral("Next"));
    EXPECT_EQ(static_cast<VRNPlainButton*>(screen->nextButton())->titleColor(),
              QColor(0xfb, 0xc0, 0x1b));

    const QImage shown = stack->view()->grab().toImage();
    EXPECT_EQ(pixelAt(shown, 20, 400), (Pixel{0x11, 0x44, 0xf1, 255}));
    EXPECT_TRUE(near(pixelAt(shown, 180, 400), kGrey, 2));

    tap(screen->closeButton());
    EXPECT_EQ(closes, 1);
    tap(screen->nextButton());
    EXPECT_EQ(sent.size(), 1u);
}

TEST_F(AnnotationTest, AWidePictureOfTheWindowsKeepsItsOwnAspect) {
    // The windows took 800 × 300 points of the screen: on the phone-sized screen the picture
    // fits across, centred in the band, neither stretched to the screen's aspect nor cut.
    show(VRNImage::filled(800, 300, 2, 200, 200, 200));
    EXPECT_DOUBLE_EQ(screen->screenshotView()->ratio(), 300.0 / 800.0);
    EXPECT_EQ(imageView()->geometry(), QRect(0, 336, 375, 140));
    const QImage shown = stack->view()->grab().toImage();
    EXPECT_EQ(pixelAt(shown, 187, 300), (Pixel{0x11, 0x44, 0xf1, 255}));  // above it
    EXPECT_TRUE(near(pixelAt(shown, 187, 400), kGrey, 2));
    EXPECT_EQ(pixelAt(shown, 187, 500), (Pixel{0x11, 0x44, 0xf1, 255}));  // below it

    // A stroke keeps the aspect: the new picture is the view's, at the screen's scale.
    pointer->drag(onPicture(50, 70), onPicture(300, 70));
    EXPECT_EQ(viewModel->screenshotImage().width(), 750);
    EXPECT_EQ(viewModel->screenshotImage().height(), 280);
    EXPECT_EQ(pixelAt(viewModel->screenshotImage(), 200, 140), kRed);
}

TEST_F(AnnotationTest, WithoutAScreenTheScreenIsEmptyAndNextSendsAFileWithoutData) {
    test::ScopedScreen none(0, 0, 0);
    show(VRNImage());
    EXPECT_TRUE(imageView()->geometry().isEmpty());
    EXPECT_EQ(pixelAt(stack->view()->grab().toImage(), 187, 400), (Pixel{0x11, 0x44, 0xf1, 255}));

    pointer->drag(QPointF(20, 100), QPointF(350, 700));
    EXPECT_EQ(toolbarRow(), kRowWithoutReset);
    tap(screen->nextButton());
    ASSERT_EQ(sent.size(), 1u);
    ASSERT_TRUE(reportData->screenshotFile());
    EXPECT_EQ(reportData->screenshotFile()->name(), "screenshot.jpg");
    EXPECT_FALSE(reportData->screenshotFile()->data());
}

}  // namespace
}  // namespace vorna
