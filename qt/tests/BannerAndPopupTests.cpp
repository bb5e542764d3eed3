#include <gtest/gtest.h>

#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>
#include <QTranslator>

#include "flow/VRNMessageBannerManager.h"
#include "flow/VRNReportingDisabledPopupVM.h"
#include "platform/loop/VRNVirtualRunLoop.h"
#include "qt/flow/VRNAttributedLabel.h"
#include "qt/flow/VRNMessageBannerVC.h"
#include "qt/flow/VRNMessageBannerWindow.h"
#include "qt/flow/VRNNavigationStack.h"
#include "qt/flow/VRNReportingDisabledPopupVC.h"
#include "qt/flow/VRNViewController.h"
#include "qt/tests/QtTestSupport.h"
#include "qt/theme/Fonts.h"
#include "theme/Colors.h"

namespace vorna {
namespace {

// A screen of the host's colour with a button, for what the popup covers.
class ScreenBeneath : public VRNViewController {
public:
    int clicks = 0;
    QPointer<QPushButton> button;

protected:
    QWidget* loadView() override {
        auto* view = new QWidget();
        view->setAutoFillBackground(true);
        QPalette palette = view->palette();
        palette.setColor(QPalette::Window, Qt::red);
        view->setPalette(palette);
        button = new QPushButton(QStringLiteral("Beneath"), view);
        button->setGeometry(10, 100, 100, 40);
        QObject::connect(button, &QPushButton::clicked, [this] { ++clicks; });
        return view;
    }
};

// Translates the banner's text, as a host's translation file would.
class GermanTranslator : public QTranslator {
public:
    QString translate(const char* context, const char* sourceText, const char*,
                      int) const override {
        if (QLatin1String(context) == QLatin1String("Vorna") &&
            QLatin1String(sourceText) == QLatin1String("Bug submitted successfully.")) {
            return QStringLiteral("Fehlerbericht erfolgreich gesendet.");
        }
        return QString();
    }
    bool isEmpty() const override { return false; }
};

QColor over(const QColor& top, const QColor& beneath) {
    const double a = top.alphaF();
    return QColor::fromRgbF(static_cast<float>(top.redF() * a + beneath.redF() * (1 - a)),
                            static_cast<float>(top.greenF() * a + beneath.greenF() * (1 - a)),
                            static_cast<float>(top.blueF() * a + beneath.blueF() * (1 - a)));
}

void expectColorNear(const QColor& actual, const QColor& expected, int tolerance = 2) {
    EXPECT_NEAR(actual.red(), expected.red(), tolerance) << qPrintable(actual.name());
    EXPECT_NEAR(actual.green(), expected.green(), tolerance) << qPrintable(actual.name());
    EXPECT_NEAR(actual.blue(), expected.blue(), tolerance) << qPrintable(actual.name());
}

class ReportingDisabledPopupTest : public testing::Test {
protected:
    void SetUp() override {
        Fonts::registerFonts();
        viewModel = std::make_shared<VRNReportingDisabledPopupVM>();
        viewModel->setDismissCallback([this] { ++dismissals; });
        beneath = std::make_shared<ScreenBeneath>();
        stack = std::make_unique<VRNNavigationStack>(beneath);
        stack->setBarAppearance(true, true, Colors::whiteColor());  // as in the flow
        popup = std::make_shared<VRNReportingDisabledPopupVC>(viewModel);
        stack->presentViewController(popup, false);
        stack->view()->resize(375, 812);
        test::showWindow(stack->view());
    }

    test::ScopedScreen screen{375, 812};
    std::shared_ptr<VRNReportingDisabledPopupVM> viewModel;
    std::shared_ptr<ScreenBeneath> beneath;
    std::unique_ptr<VRNNavigationStack> stack;
    std::shared_ptr<VRNReportingDisabledPopupVC> popup;
    int dismissals = 0;
};

TEST_F(ReportingDisabledPopupTest, ShowsItsTextsInTheirFacesOverTheScreenBeneath) {
    EXPECT_EQ(popup->titleLabel()->text(), QStringLiteral("Reporting disabled"));
    EXPECT_EQ(popup->descriptionLabel()->text(),
              QStringLiteral("App's administrator has disabled bug reporting for now ") +
                  QChar(QChar::ObjectReplacementCharacter) +
                  QStringLiteral(" Try restarting the app or contact admin."));
    EXPECT_EQ(popup->dismissButton()->text(), QStringLiteral("Dismiss"));

    EXPECT_EQ(popup->titleLabel()->font().pixelSize(), 26);
    EXPECT_EQ(popup->titleLabel()->font().weight(), QFont::Bold);
    EXPECT_EQ(popup->titleLabel()->palette().color(QPalette::WindowText), QColor(0x31, 0x30, 0x30));
    EXPECT_EQ(popup->descriptionLabel()->font().pixelSize(), 18);
    EXPECT_EQ(popup->descriptionLabel()->font().weight(), QFont::Normal);
    EXPECT_EQ(popup->descriptionLabel()->textColor(), QColor(0x5E, 0x6D, 0x7F));
    EXPECT_EQ(popup->descriptionLabel()->lineSpacing(), 2);
    const QPushButton* dismiss = popup->dismissButton();
    EXPECT_EQ(dismiss->font().pixelSize(), 20);
    EXPECT_EQ(dismiss->font().weight(), QFont::Bold);
    // Its content insets: 20 above and below the title, 40 on each side.
    const QSize title = QFontMetrics(dismiss->font()).size(Qt::TextShowMnemonic, dismiss->text());
    EXPECT_EQ(dismiss->sizeHint(), title + QSize(80, 40));

    // The veil lets the screen beneath show through; the card is white with rounded corners.
    const QImage picture = stack->view()->grab().toImage();
    const QColor veil = over(QColor(0x5A, 0x74, 0x98, 77), Qt::red);
    expectColorNear(picture.pixelColor(5, 5), veil);
    expectColorNear(picture.pixelColor(370, 800), veil);
    const QRect card = popup->reportDisabledPopupView()->geometry();
    EXPECT_EQ(card.center().x(), 375 / 2);
    EXPECT_EQ(card.width(), 335);
    expectColorNear(picture.pixelColor(card.left() + 15, card.top() + 2), Qt::white);
    expectColorNear(picture.pixelColor(card.left() + 1, card.top() + 1), veil, 12);
    // Title, description and button from top to bottom inside the card.
    const auto inCard = [&](const QWidget* widget) { return widget->geometry(); };
    EXPECT_LT(inCard(popup->titleLabel()).bottom(), inCard(popup->descriptionLabel()).top());
    EXPECT_LT(inCard(popup->descriptionLabel()).bottom(), inCard(dismiss).top());
    EXPECT_LE(inCard(dismiss).bottom(), card.height());
}

TEST_F(ReportingDisabledPopupTest, DismissReachesTheCallbackOnceAndNothingReachesTheScreenBeneath) {
    test::Pointer pointer(stack->view()->windowHandle());
    const QPushButton* dismiss = popup->dismissButton();
    pointer.click(QPointF(dismiss->mapTo(stack->view(), dismiss->rect().center())));
    EXPECT_EQ(dismissals, 1);

    // The veil covers the screen's button: the press is the popup's, and it does nothing.
    pointer.click(QPointF(beneath->button->geometry().center()));
    EXPECT_EQ(beneath->clicks, 0);
    EXPECT_EQ(dismissals, 1);
}

TEST_F(ReportingDisabledPopupTest, TheOwlSitsCentredOnTheCapitalsOfItsLine) {
    const VRNAttributedLabel* description = popup->descriptionLabel();
    (void)stack->view()->grab();  // the owl is placed as the text is drawn
    ASSERT_EQ(description->attachments().size(), 1u);
    const QRectF owl = description->attachments().front().frame;
    EXPECT_EQ(owl.size(), VRNReportingDisabledPopupVC::kOwlSize);

    const int at = description->text().indexOf(QChar(QChar::ObjectReplacementCharacter));
    const QTextBlock block = description->document()->findBlock(at);
    const QTextLine line = block.layout()->lineForTextPosition(at - block.position());
    ASSERT_TRUE(line.isValid());
    const double top = block.layout()->position().y() + line.y();
    const double baseline = top + line.ascent();
    const double capHeight = QFontMetricsF(description->font()).capHeight();
    EXPECT_NEAR(owl.center().y(), baseline - capHeight / 2, 0.01);
    EXPECT_NEAR(owl.left(), block.layout()->position().x() + line.cursorToX(at), 0.01);
    // It stays within its line: nothing of it runs into the next one.
    EXPECT_GE(owl.top(), top);
    EXPECT_LE(owl.bottom(), top + line.height());
}

class MessageBannerTest : public testing::Test {
protected:
    test::ScopedScreen screen{375, 812};
    const QRect bounds{0, 0, 375, 812};
};

TEST_F(MessageBannerTest, BannerIsAStripNearTheBottomWithTheCheckMarkAndTheText) {
    VRNMessageBannerWindow window(bounds);
    EXPECT_EQ(window.windowLevel(), 2.0);
    EXPECT_EQ(window.geometry(), bounds);
    test::showWindow(&window, false);

    VRNMessageBannerVC* banner = window.rootViewController();
    EXPECT_EQ(banner->view()->geometry(), bounds);
    EXPECT_EQ(banner->bannerView()->geometry(), QRect(10, 812 - 10 - 60, 355, 60));
    EXPECT_EQ(banner->imageView()->geometry(), QRect(18, 18, 30, 30));
    const QRect label = banner->label()->geometry();
    EXPECT_EQ(label.left(), 18 + 30 + 18);
    EXPECT_EQ(label.right() + 1, 355 - 18);
    EXPECT_NEAR(label.center().y(), 30, 1);
    EXPECT_EQ(banner->label()->alignment(), Qt::AlignCenter);
    EXPECT_EQ(banner->label()->palette().color(QPalette::WindowText), QColor(Qt::white));

    // Clear around the banner, black at 60 % on it, nothing in its rounded corners.
    const QImage picture = window.grab().toImage();
    EXPECT_EQ(picture.pixelColor(100, 300).alpha(), 0);
    const QColor inside = picture.pixelColor(10 + 200, 742 + 5);
    EXPECT_NEAR(inside.alpha(), 153, 2);
    EXPECT_EQ(inside.red(), 0);
    EXPECT_EQ(picture.pixelColor(10, 742).alpha(), 0);
    EXPECT_EQ(picture.pixelColor(10 + 354, 742 + 59).alpha(), 0);
    EXPECT_NEAR(picture.pixelColor(10 + 10, 742).alpha(), 153, 2);

    // Where the window system can shape windows, the window is only the strip: a transparent
    // window shows black without a compositing window manager.
    const QRegion shape = window.mask();
    EXPECT_EQ(shape.boundingRect(), QRect(10, 742, 355, 60));
    EXPECT_TRUE(shape.contains(QPoint(10 + 177, 742 + 30)));
    EXPECT_FALSE(shape.contains(QPoint(10, 742)));  // a rounded corner
    EXPECT_FALSE(shape.contains(QPoint(100, 300)));
}

TEST_F(MessageBannerTest, TextIsTheKeyWithoutATranslationAndTheHostsWithOne) {
    {
        VRNMessageBannerWindow window(bounds);
        EXPECT_EQ(window.rootViewController()->label()->text(),
                  QStringLiteral("Bug submitted successfully."));
    }
    GermanTranslator german;
    ASSERT_TRUE(QCoreApplication::installTranslator(&german));
    VRNMessageBannerWindow window(bounds);
    EXPECT_EQ(window.rootViewController()->label()->text(),
              QStringLiteral("Fehlerbericht erfolgreich gesendet."));
    QCoreApplication::removeTranslator(&german);
}

TEST_F(MessageBannerTest, AClickOnTheBannerReachesTheWindowBeneathAndTheFocusStaysThere) {
    QWidget host;
    host.setGeometry(bounds);
    auto* button = new QPushButton(QStringLiteral("Beneath"), &host);
    button->setGeometry(100, 740, 175, 60);  // under the banner's text
    int clicks = 0;
    QObject::connect(button, &QPushButton::clicked, [&clicks] { ++clicks; });
    test::showWindow(&host);

    VRNMessageBannerWindow window(bounds);
    test::showWindow(&window, false);
    EXPECT_TRUE(window.windowFlags().testFlag(Qt::WindowTransparentForInput));
    EXPECT_TRUE(window.windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus));

    test::Pointer pointer(window.windowHandle());
    pointer.click(QPointF(187.5, 772));
    EXPECT_EQ(clicks, 1);
    pointer.click(QPointF(20, 20));  // beside the button: the host's, which ignores it
    EXPECT_EQ(clicks, 1);
    EXPECT_EQ(QApplication::activeWindow(), &host);
}

TEST_F(MessageBannerTest, ManagerShowsAndHidesTheWindowOnItsRunLoop) {
    auto loop = std::make_shared<VRNVirtualRunLoop>();
    VRNMessageBannerWindow* window = nullptr;
    auto manager = std::make_shared<VRNMessageBannerManager>(loop, [&] {
        auto made = std::make_shared<VRNMessageBannerWindow>(bounds);
        window = made.get();
        return made;
    });
    ASSERT_TRUE(window);
    const auto shown = [&] {
        test::settle();
        return window->isVisible() && !window->isHidden();
    };
    // Made shown: the first banner of the process is on screen at once.
    EXPECT_TRUE(shown());
    manager->showBanner();
    loop->advance(2.99);
    EXPECT_TRUE(shown());
    loop->advance(0.01);
    EXPECT_FALSE(shown());

    // From hidden: shown half a second after the call, hidden three seconds after it.
    manager->showBanner();
    loop->advance(0.49);
    EXPECT_FALSE(shown());
    loop->advance(0.01);
    EXPECT_TRUE(shown());
    loop->advance(2.49);
    EXPECT_TRUE(shown());
    loop->advance(0.01);
    EXPECT_FALSE(shown());

    // A second report two seconds after the first: the first call's hide ends the second
    // banner after half a second, and its own hide finds it hidden already.
    manager->showBanner();
    loop->advance(2.0);
    manager->showBanner();
    loop->advance(0.5);
    EXPECT_TRUE(shown());
    loop->advance(0.5);
    EXPECT_FALSE(shown());
    loop->advance(1.99);
    EXPECT_FALSE(shown());
    loop->advance(0.01);
    EXPECT_FALSE(shown());
    EXPECT_FALSE(loop->hasPendingTimers());
}

}  // namespace
}  // namespace vorna
