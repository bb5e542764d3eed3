#include <gtest/gtest.h>

#include <QClipboard>
#include <QDesktopServices>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QTranslator>
#include <QUrl>
#include <QWheelEvent>

#include <optional>
#include <string>
#include <vector>

#include "flow/VRNReportComposeViewModel.h"
#include "platform/VRNImage.h"
#include "qt/flow/AttachmentCollectionView.h"
#include "qt/flow/EmailEntryView.h"
#include "qt/flow/InspectBugControl.h"
#include "qt/flow/LabeledHyperlinkView.h"
#include "qt/flow/VRNImageAttachmentCell.h"
#include "qt/flow/VRNNavigationStack.h"
#include "qt/flow/VRNReportComposeViewController.h"
#include "qt/flow/VRNResizingTextView.h"
#include "qt/platform/VRNQtImage.h"
#include "qt/tests/ManualAnimationClock.h"
#include "qt/tests/QtTestSupport.h"
#include "qt/theme/Fonts.h"
#include "qt/theme/LargerTappableButton.h"
#include "qt/theme/VRNQtColor.h"
#include "theme/Colors.h"
#include "vorna/VornaFile.h"
#include "vorna/VornaReportData.h"

namespace vorna {
namespace {

// Receives what the views ask the desktop to open, instead of a browser.
class UrlCatcher : public QObject {
    Q_OBJECT

public:
    UrlCatcher() {
        QDesktopServices::setUrlHandler(QStringLiteral("http"), this, "open");
        QDesktopServices::setUrlHandler(QStringLiteral("https"), this, "open");
    }
    ~UrlCatcher() override {
        QDesktopServices::unsetUrlHandler(QStringLiteral("http"));
        QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
    }
    QList<QUrl> opened;

public slots:
    void open(const QUrl& url) { opened.append(url); }
};

class ComposeViewsTest : public testing::Test {
protected:
    void SetUp() override {
        Fonts::registerFonts();
        window.resize(375, 400);
    }
    QWidget window;
};

TEST_F(ComposeViewsTest, TheAttachmentStripShowsOneCellPerPicture) {
    auto* strip = new AttachmentCollectionView(&window);
    strip->setGeometry(0, 0, 375, strip->sizeHint().height());
    strip->setTopSeparatorWidthShare(0.8);
    strip->setAttachments({VRNImage::filled(300, 600, 1, 200, 10, 10)});
    test::showWindow(&window);

    EXPECT_EQ(strip->height(), 267);
    EXPECT_EQ(strip->titleLabel()->text(), QStringLiteral("Attachment"));
    EXPECT_EQ(strip->topSeparatorView()->geometry(), QRect(38, 0, 300, 1));
    EXPECT_EQ(strip->titleLabel()->geometry(), QRect(38, 21, 300, 35));
    EXPECT_EQ(strip->collectionView()->geometry(), QRect(0, 56, 375, 180));
    EXPECT_EQ(strip->bottomSeparatorView()->geometry(), QRect(0, 266, 375, 1));

    ASSERT_EQ(strip->numberOfItems(), 1);
    VRNImageAttachmentCell* cell = strip->cellAt(0);
    EXPECT_EQ(cell->geometry(), QRect(0, 10, 100, 160));
    EXPECT_EQ(cell->imageView()->geometry(), QRect(0, 20, 80, 140));
    EXPECT_EQ(cell->image().size(), QSize(300, 600));
    // The picture is drawn whole, its proportions kept: 70 × 140 in the middle of the 80.
    const QImage drawn = cell->imageView()->grab().toImage();
    EXPECT_EQ(drawn.pixelColor(40, 70).red(), 200);
    EXPECT_NE(drawn.pixelColor(2, 70).red(), 200);
    // The delete button is there, round and in its corner, but never shown.
    EXPECT_EQ(cell->deleteButton()->geometry(), QRect(75, 5, 20, 20));
    EXPECT_FALSE(cell->deleteButton()->isVisible());

    strip->setAttachments({});
    EXPECT_EQ(strip->numberOfItems(), 0);
}

TEST_F(ComposeViewsTest, TheInspectRowDimsWhileHeldAndFiresOnReleaseInside) {
    auto* control = new InspectBugControl(&window);
    control->setGeometry(0, 0, 375, control->sizeHint().height());
    int clicks = 0;
    QObject::connect(control, &QAbstractButton::clicked, [&clicks] { ++clicks; });
    test::showWindow(&window);
    EXPECT_EQ(control->separatorView()->geometry(), QRect(38, 0, 300, 1));
    EXPECT_EQ(control->mainStack()->y(), 21);
    EXPECT_EQ(control->titleLabel()->text(), QStringLiteral("Inspect Bug"));

    test::Pointer pointer(window.windowHandle());
    const QPointF middle(187, control->height() - 10);
    pointer.press(middle);
    EXPECT_EQ(control->stackAlpha(), 0.5);
    pointer.release(middle);
    EXPECT_EQ(control->stackAlpha(), 1.0);
    EXPECT_EQ(clicks, 1);

    // Dragged off before the release: it brightens again and does not fire.
    pointer.press(middle);
    pointer.move(QPointF(187, 300));
    EXPECT_EQ(control->stackAlpha(), 1.0);
    pointer.release(QPointF(187, 300));
    EXPECT_EQ(clicks, 1);
}

TEST_F(ComposeViewsTest, ReadHereOpensTheHelpPage) {
    UrlCatcher catcher;
    auto* row = new LabeledHyperlinkView(&window);
    row->setGeometry(0, 0, 375, row->sizeHint().height());
    test::showWindow(&window);
    EXPECT_EQ(row->questionLabel()->text(), QStringLiteral("How to report better bugs?"));
    EXPECT_EQ(row->separatorView()->geometry(), QRect(38, 0, 300, 1));
    ASSERT_FALSE(row->helpUrl().isEmpty());

    QLabel* link = row->linkView();
    EXPECT_EQ(link->palette().color(QPalette::Link), QColor(0x00, 0x8D, 0xFF));
    const QPoint onLink = link->rect().center();
    QTest::mouseClick(link, Qt::LeftButton, Qt::NoModifier, onLink);
    ASSERT_EQ(catcher.opened.size(), 1);
    EXPECT_EQ(catcher.opened.first(), QUrl(row->helpUrl()));
    // The question beside it is no link.
    QTest::mouseClick(row->questionLabel(), Qt::LeftButton);
    EXPECT_EQ(catcher.opened.size(), 1);
}

// A host translator: the placeholder sentence in the host's language, under the kit's context.
class HostTranslator : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* sourceText, const char*,
                      int) const override {
        if (QLatin1String(context) == QLatin1String("Vorna") &&
            QLatin1String(sourceText) == QLatin1String("Describe the bug and tap Submit")) {
            return QStringLiteral("Décrivez le bogue puis touchez Envoyer");
        }
        return QString();
    }
};

// The first screen of the flow under the compose screen, so that back has somewhere to go.
class BelowScreen : public VRNViewController {
protected:
    QWidget* loadView() override { return new QWidget(); }
};

// The compose screen pushed onto the flow's stack, in a phone-sized window, with a real view
// model whose callbacks record what the coordinator would get.
class ComposeScreenTest : public testing::Test {
protected:
    void SetUp() override { Fonts::registerFonts(); }

    void open(std::optional<std::string> description = std::nullopt,
              std::optional<std::string> email = std::nullopt, QSize size = QSize(375, 812)) {
        report = std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{});
        report->setGatheredDataDict(VRNGatheredDataDict{{"VRN_AppVersion", std::string("1.2")}});
        report->setScreenshotFile(std::make_shared<VRNVornaFile>("screenshot.jpg", screenshot()));
        viewModel = std::make_shared<VRNReportComposeViewModel>(report, center);
        viewModel->setSubmitButtonPressed(
            [this](std::shared_ptr<VRNVornaReportData>, std::optional<std::string> address) {
                ++submits;
                submittedEmail = std::move(address);
            });
        viewModel->setBackButtonPressed(
            [this](std::optional<std::string> text) { kept.push_back(std::move(text)); });
        viewModel->setOnDidPressInspectButton([this] { ++inspects; });
        viewModel->setBugDescription(std::move(description));
        viewModel->setEmailAddress(std::move(email));

        stack = std::make_unique<VRNNavigationStack>(std::make_shared<BelowScreen>());
        stack->setBarAppearance(true, true, VRNColor::withRGB(255, 255, 255));
        stack->view()->resize(size);
        test::showWindow(stack->view());
        screen = std::make_shared<VRNReportComposeViewController>(viewModel);
        stack->pushViewController(screen, true);
        clock.advance(VRNNavigationStack::kTransitionMs + 50);
        test::settle();
    }

    // A picture of a phone screen, as the annotation screen would leave it.
    static VRNVornaFile::Bytes screenshot() {
        QImage picture(375, 812, QImage::Format_ARGB32_Premultiplied);
        picture.fill(QColor(0xE8, 0xF0, 0xFA));
        QPainter painter(&picture);
        painter.fillRect(QRect(0, 0, 375, 90), QColor(0x11, 0x44, 0xF1));
        painter.setPen(QPen(Qt::red, 6));
        painter.drawEllipse(QRect(90, 300, 200, 120));
        painter.end();
        return *VRNJPEGRepresentation(VRNQtImage::fromQImage(picture), 0.7);
    }

    VRNCustomControlTextView* description() const { return screen->resizingTextView()->textView(); }
    QLineEdit* emailField() const { return screen->emailView()->textField(); }
    QWidget* barButton(const char* name) const {
        return stack->navigationBar()->findChild<QWidget*>(QLatin1String(name));
    }
    void paste(QWidget* into, const QString& text) {
        QGuiApplication::clipboard()->setText(text);
        QTest::keyClick(into, Qt::Key_V, Qt::ControlModifier);
    }
    std::optional<std::string> fact(const char* key) const {
        const auto& dict = report->gatheredDataDict();
        if (!dict || !dict->count(key)) {
            return std::nullopt;
        }
        return std::get<std::string>(dict->at(key));
    }

    test::ManualAnimationClock clock;
    VRNNotificationCenter center;
    std::shared_ptr<VRNVornaReportData> report;
    std::shared_ptr<VRNReportComposeViewModel> viewModel;
    std::shared_ptr<VRNReportComposeViewController> screen;
    std::unique_ptr<VRNNavigationStack> stack;
    int submits = 0;
    int inspects = 0;
    std::optional<std::string> submittedEmail;
    std::vector<std::optional<std::string>> kept;
};

TEST_F(ComposeScreenTest, SubmittingTheUntouchedPlaceholderLeavesTheDescriptionOut) {
    open();
    QTest::mouseClick(barButton("submitButton"), Qt::LeftButton);
    ASSERT_EQ(submits, 1);
    EXPECT_FALSE(fact("VRN_UserInput"));
    // An untouched e-mail field is an empty address, which the coordinator will remember.
    EXPECT_EQ(submittedEmail, std::optional<std::string>(""));
    EXPECT_EQ(fact("VRN_UserEmail"), std::optional<std::string>(""));
    EXPECT_EQ(fact("VRN_AppVersion"), std::optional<std::string>("1.2"));
}

TEST_F(ComposeScreenTest, SubmittingSendsWhatWasTyped) {
    open(std::nullopt, std::string("old@example.com"));
    EXPECT_EQ(emailField()->text(), QStringLiteral("old@example.com"));
    QTest::keyClicks(description(), QStringLiteral("Save loses the draft"));
    emailField()->selectAll();
    QTest::keyClicks(emailField(), QStringLiteral("qa@example.com"));
    QTest::mouseClick(barButton("submitButton"), Qt::LeftButton);
    EXPECT_EQ(fact("VRN_UserInput"), std::optional<std::string>("Save loses the draft"));
    EXPECT_EQ(fact("VRN_UserEmail"), std::optional<std::string>("qa@example.com"));
    EXPECT_EQ(submittedEmail, std::optional<std::string>("qa@example.com"));
}

TEST_F(ComposeScreenTest, BackHandsOverTheDescriptionAndTheNextScreenShowsIt) {
    open();
    QTest::mouseClick(barButton("backButton"), Qt::LeftButton);
    clock.advance(VRNNavigationStack::kTransitionMs + 50);
    test::settle();
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_FALSE(kept[0]);  // the untouched placeholder is no description
    EXPECT_EQ(stack->viewControllers().size(), 1u);

    // Typed, then back: the coordinator keeps the text and gives it to the next compose screen,
    // which shows it as real text.
    stack.reset();
    screen.reset();
    open();
    QTest::keyClicks(description(), QStringLiteral("Crash on rotate"));
    QTest::mouseClick(barButton("backButton"), Qt::LeftButton);
    ASSERT_EQ(kept.size(), 2u);
    EXPECT_EQ(kept[1], std::optional<std::string>("Crash on rotate"));

    stack.reset();
    screen.reset();
    open(kept[1]);
    EXPECT_EQ(description()->text(), QStringLiteral("Crash on rotate"));
    EXPECT_EQ(description()->textColor(), QColor(0x31, 0x30, 0x30));
    QTest::mouseClick(barButton("submitButton"), Qt::LeftButton);
    EXPECT_EQ(fact("VRN_UserInput"), std::optional<std::string>("Crash on rotate"));
}

TEST_F(ComposeScreenTest, AHostTranslationIsThePlaceholderForSubmitButNotForBack) {
    HostTranslator translator;
    QCoreApplication::installTranslator(&translator);
    open();
    const QString translated = QStringLiteral("Décrivez le bogue puis touchez Envoyer");
    EXPECT_EQ(description()->text(), translated);
    EXPECT_EQ(description()->textColor(), VRNQtColor::toQColor(Colors::slateColor()));

    QTest::mouseClick(barButton("submitButton"), Qt::LeftButton);
    EXPECT_FALSE(fact("VRN_UserInput"));
    // Back compares with the sentence as written in English: the translation goes back as text.
    QTest::mouseClick(barButton("backButton"), Qt::LeftButton);
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_EQ(kept[0], std::optional<std::string>(translated.toStdString()));
    QCoreApplication::removeTranslator(&translator);
}

TEST_F(ComposeScreenTest, TheScreenAsLaidOut) {
    open();
    // The description has the keyboard once the screen is in place.
    EXPECT_TRUE(description()->hasFocus());
    EXPECT_EQ(description()->textCursor().position(), 0);

    auto* title = barButton("titleLabel");
    ASSERT_NE(title, nullptr);
    EXPECT_EQ(static_cast<QLabel*>(title)->text(), QStringLiteral("Wrap-up"));
    EXPECT_EQ(static_cast<QPushButton*>(barButton("submitButton"))->text(),
              QStringLiteral("Submit"));
    EXPECT_EQ(screen->view()->palette().color(QPalette::Window), QColor(0x11, 0x44, 0xF1));
    // A change of look announced later redraws the background; once the screen is gone the
    // announcement reaches nothing.
    QPalette painted = screen->view()->palette();
    painted.setColor(QPalette::Window, Qt::red);
    screen->view()->setPalette(painted);
    center.post(kVRNBrandingUpdatedNotification);
    EXPECT_EQ(screen->view()->palette().color(QPalette::Window), QColor(0x11, 0x44, 0xF1));
    EXPECT_EQ(screen->containerView()->geometry(), QRect(0, 54, 375, 758));

    // The column: e-mail, attachments, inspect, help, 20 points apart.
    const QRect email = screen->emailView()->geometry();
    const QRect strip = screen->attachmentCollectionView()->geometry();
    const QRect inspect = screen->inspectControl()->geometry();
    const QRect help = screen->hyperlinkView()->geometry();
    EXPECT_EQ(email.top(), 0);
    EXPECT_EQ(strip.top(), email.bottom() + 1 + 20);
    EXPECT_EQ(inspect.top(), strip.bottom() + 1 + 20);
    EXPECT_EQ(help.top(), inspect.bottom() + 1 + 20);
    EXPECT_EQ(screen->attachmentCollectionView()->numberOfItems(), 1);
    EXPECT_EQ(screen->attachmentCollectionView()->topSeparatorView()->width(), 300);

    stack.reset();
    screen.reset();
    center.post(kVRNBrandingUpdatedNotification);
}

TEST_F(ComposeScreenTest, TappingTheColumnEndsEditingAndTheInspectRowAsksForItsScreen) {
    open();
    ASSERT_TRUE(description()->hasFocus());
    // A tap on the column's background (the strip's title is only text).
    QTest::mouseClick(screen->attachmentCollectionView()->titleLabel(), Qt::LeftButton);
    EXPECT_FALSE(description()->hasFocus());
    // The e-mail field keeps the click that focuses it.
    QTest::mouseClick(emailField(), Qt::LeftButton);
    EXPECT_TRUE(emailField()->hasFocus());

    QTest::mouseClick(screen->inspectControl(), Qt::LeftButton);
    EXPECT_EQ(inspects, 1);
}

TEST_F(ComposeScreenTest, ScrollingTheColumnShadesTheDescriptionsLowerEdge) {
    open(std::nullopt, std::nullopt, QSize(375, 520));
    QWidget* viewport = screen->scrollView()->viewport();
    const auto wheel = [viewport](int angle) {
        const QPointF at(100, 100);
        QWheelEvent event(at, viewport->mapToGlobal(at), QPoint(), QPoint(0, angle), Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(viewport, &event);
        test::settle();
    };
    wheel(-120);
    ASSERT_GT(screen->scrollView()->verticalScrollBar()->value(), 10);
    EXPECT_EQ(screen->resizingTextView()->shadowHeight(), 10);
    EXPECT_TRUE(screen->resizingTextView()->shadowGradientView()->isVisible());
    wheel(120);
    ASSERT_EQ(screen->scrollView()->verticalScrollBar()->value(), 0);
    EXPECT_EQ(screen->resizingTextView()->shadowHeight(), 0);
}

TEST_F(ComposeScreenTest, AHugeDescriptionAndEmailAreSubmittedWhole) {
    open();
    const QString address = QString(10000 - 12, QLatin1Char('q')) + QStringLiteral("@example.com");
    QString text;
    while (text.size() < 1024 * 1024) {
        text += QStringLiteral("The list scrolls back to the top after every refresh.\n");
    }
    paste(description(), text);
    emailField()->setFocus();
    paste(emailField(), address);
    QTest::mouseClick(barButton("submitButton"), Qt::LeftButton);
    ASSERT_EQ(submits, 1);
    EXPECT_EQ(fact("VRN_UserInput")->size(), static_cast<size_t>(text.size()));
    EXPECT_EQ(fact("VRN_UserEmail"), std::optional<std::string>(address.toStdString()));
}

}  // namespace
}  // namespace vorna

#include "ComposeTests.moc"
