#include <gtest/gtest.h>

#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

#include "flow/VRNReportingDisabledPopupVM.h"
#include "qt/flow/VRNAttributedLabel.h"
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

}  // namespace
}  // namespace vorna
