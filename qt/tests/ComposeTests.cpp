#include <gtest/gtest.h>

#include <QDesktopServices>
#include <QLabel>
#include <QScrollArea>
#include <QTest>
#include <QUrl>

#include "qt/flow/AttachmentCollectionView.h"
#include "qt/flow/InspectBugControl.h"
#include "qt/flow/LabeledHyperlinkView.h"
#include "qt/flow/VRNImageAttachmentCell.h"
#include "qt/tests/QtTestSupport.h"
#include "qt/theme/Fonts.h"
#include "qt/theme/LargerTappableButton.h"

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

}  // namespace
}  // namespace vorna

#include "ComposeTests.moc"
