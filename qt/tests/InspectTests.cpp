#include <gtest/gtest.h>

#include <QLabel>
#include <QPainter>
#include <QScrollBar>
#include <QToolButton>
#include <QTranslator>
#include <QWheelEvent>

#include "flow/VRNInspectBugVM.h"
#include "platform/VRNImage.h"
#include "qt/flow/GrantedPermissionsView.h"
#include "qt/flow/PermissionSwitchView.h"
#include "qt/flow/QuickFactsView.h"
#include "qt/flow/TitledLabelView.h"
#include "qt/flow/VRNColumnLayout.h"
#include "qt/flow/VRNImageAttachmentCell.h"
#include "qt/flow/VRNInspectBugVC.h"
#include "qt/flow/VRNNavigationStack.h"
#include "qt/platform/VRNQtImage.h"
#include "qt/tests/ManualAnimationClock.h"
#include "qt/tests/QtTestSupport.h"
#include "qt/theme/Fonts.h"
#include "state/VRNConstants.h"
#include "theme/Colors.h"
#include "theme/VRNBranding.h"
#include "vorna/VornaReportData.h"

namespace vorna {
namespace {

QColor pixelOf(QWidget* widget, QPoint at) {
    return widget->grab().toImage().pixelColor(at);
}

// The views of the inspect screen in a column of the screen's width.
class InspectViewsTest : public testing::Test {
protected:
    void SetUp() override { Fonts::registerFonts(); }

    template <class View>
    View* add(View* view, int gapAbove = 0) {
        layout->addWidget(view, 1.0, gapAbove);
        return view;
    }
    void show() {
        column.resize(375, column.heightForWidth(375));
        test::showWindow(&column);
    }

    test::ScopedScreen screen{375, 812};
    QWidget column;
    VRNColumnLayout* layout = new VRNColumnLayout(&column);
};

TEST_F(InspectViewsTest, SeparatorStylesPlaceTheLineUnderTheValue) {
    std::map<int, TitledLabelView*> rows;
    for (int style : {1, 2, 4, 3}) {
        rows[style] = add(new TitledLabelView(style), 20);
        rows[style]->titleLabel()->setText(QStringLiteral("NETWORK"));
        rows[style]->detailLabel()->setText(QStringLiteral("Wi-Fi"));
    }
    show();
    for (const auto& [style, row] : rows) {
        SCOPED_TRACE(style);
        const QRect title = row->titleLabel()->geometry();
        const QRect detail = row->detailLabel()->geometry();
        EXPECT_EQ(detail.top(), title.bottom() + 1 + 6);
        EXPECT_EQ(row->height(), row->separatorView()->geometry().bottom() + 1);
    }
    const auto line = [&](int style) { return rows[style]->separatorView()->geometry(); };
    const auto underValue = [&](int style) {
        return rows[style]->detailLabel()->geometry().bottom() + 1;
    };
    // 1: hidden right under the value, still taking its point.
    EXPECT_TRUE(rows[1]->separatorView()->isHidden());
    EXPECT_EQ(line(1).top(), underValue(1));
    EXPECT_EQ(line(1).height(), 1);
    // 2: full width, 20 under the value.
    EXPECT_FALSE(rows[2]->separatorView()->isHidden());
    EXPECT_EQ(line(2), QRect(0, underValue(2) + 20, 375, 1));
    // 4: 0.8 of the width, centred, 20 under the value.
    EXPECT_EQ(line(4), QRect(37, underValue(4) + 20, 300, 1));
    // Any other: right under the value, full width.
    EXPECT_EQ(line(3), QRect(0, underValue(3), 375, 1));

    EXPECT_EQ(rows[2]->titleLabel()->palette().color(QPalette::WindowText), QColor(0xA3ACB4));
    EXPECT_EQ(rows[2]->detailLabel()->palette().color(QPalette::WindowText), QColor(0x4F5A65));
    EXPECT_EQ(pixelOf(rows[2], line(2).center()), QColor(0xE7ECF2));
}

TEST_F(InspectViewsTest, OneGrantedPermissionIsOneRowWithItsSwitch) {
    auto* permissions = add(new GrantedPermissionsView({QStringLiteral("camera")}));
    show();
    const QList<PermissionSwitchView*> rows = permissions->permissionViews();
    ASSERT_EQ(rows.size(), 1);
    EXPECT_EQ(rows[0]->permissionDesc(), QStringLiteral("camera"));
    EXPECT_EQ(rows[0]->permissionNameLabel()->text(), QStringLiteral("camera"));
    // The name at the row's start, the switch at its end, the row 0.8 of the stack.
    const QRect name = rows[0]->permissionNameLabel()->geometry();
    const QRect switchImage = rows[0]->switchImageView()->geometry();
    const QRect row = rows[0]->permissionNameLabel()->parentWidget()->geometry();
    EXPECT_EQ(switchImage.size(), QSize(51, 31));
    EXPECT_EQ(name.left(), 0);
    EXPECT_EQ(switchImage.right(), row.width() - 1);
    EXPECT_EQ(row.width(), 240);
    EXPECT_EQ(rows[0]->permissionNameLabel()->palette().color(QPalette::WindowText),
              QColor(0x4F5A65));
}

TEST_F(InspectViewsTest, WithoutPermissionsOnlyTheTitleAndTheNoteShow) {
    auto* permissions = add(new GrantedPermissionsView({}));
    show();
    EXPECT_TRUE(permissions->permissionViews().isEmpty());
    EXPECT_EQ(permissions->titleLabel()->text(), QStringLiteral("Granted permissions"));
    EXPECT_EQ(permissions->noteLabel()->text(),
              QStringLiteral("ALL OTHERS WERE EITHER DENIED OR NOT ASKED FOR."));
    // Line, title, (no rows), note: 30 points apart, 0.8 of the width.
    const QRect line = permissions->separatorView()->geometry();
    const QRect title = permissions->titleLabel()->geometry();
    const QRect rows = permissions->permissionsStack()->geometry();
    const QRect note = permissions->noteLabel()->geometry();
    EXPECT_EQ(line, QRect(37, 0, 300, 1));
    EXPECT_EQ(title.top(), line.bottom() + 1 + 30);
    EXPECT_EQ(rows.height(), 0);
    EXPECT_EQ(note.top(), title.bottom() + 1 + 30 + 30);
    EXPECT_EQ(note.width(), 300);
    EXPECT_EQ(permissions->noteLabel()->font().pixelSize(), 11);
    EXPECT_EQ(permissions->noteLabel()->font().weight(), QFont::Bold);
}

TEST_F(InspectViewsTest, QuickFactsStandUnderTheirTitleOnAsManyLinesAsTheyNeed) {
    const QString facts = QStringLiteral(
        "Build 812 of the checkout flow, signed in as a tester with a cart of "
        "four items and the <b>beta</b> payment page switched on.");
    auto* quickFacts = add(new QuickFactsView(facts));
    show();
    EXPECT_EQ(quickFacts->titleLabel()->text(), QStringLiteral("Quick Facts"));
    EXPECT_EQ(quickFacts->factsLabel()->text(), facts);
    const QRect title = quickFacts->titleLabel()->geometry();
    const QRect text = quickFacts->factsLabel()->geometry();
    EXPECT_EQ(text.top(), title.bottom() + 1 + 20);
    EXPECT_EQ(text.width(), 300);
    EXPECT_GT(text.height(), 3 * QFontMetrics(quickFacts->factsLabel()->font()).height() - 1);
    EXPECT_EQ(quickFacts->height(), text.bottom() + 1);
}

// A screen of the flow for the inspect screen to be pushed over, as the compose screen is.
class ScreenBelow : public VRNViewController {
protected:
    QWidget* loadView() override { return new QWidget(); }
};

// Translates some of the screen's titles, as a host's translation file would.
class GermanTitles : public QTranslator {
public:
    QString translate(const char* context, const char* sourceText, const char*,
                      int) const override {
        if (QLatin1String(context) != QLatin1String("Vorna")) {
            return QString();
        }
        const QLatin1String source(sourceText);
        if (source == QLatin1String("OS")) {
            return QStringLiteral("BETRIEBSSYSTEM");
        }
        if (source == QLatin1String("APP VERSION")) {
            return QStringLiteral("APP-VERSION");
        }
        if (source == QLatin1String("Inspect bug")) {
            return QStringLiteral("Fehler ansehen");
        }
        return QString();
    }
    bool isEmpty() const override { return false; }
};

class InspectBugScreenTest : public testing::Test {
protected:
    void SetUp() override { Fonts::registerFonts(); }

    // A report as a phone would gather it, with one permission and the host's quick facts.
    static std::shared_ptr<VRNVornaReportData> realisticReport() {
        auto report = std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{});
        report->setGatheredDataDict(VRNGatheredDataDict{
            {kVRNSystemVersion, std::string("16.4.1")},
            {kVRNAppVersion, std::string("3.2.0 (812)")},
            {kVRNNetworkName, std::string("Wi-Fi")},
            {kVRNViewControllerName, std::string("CheckoutViewController")},
            {kVRNLocale, std::string("de_DE")},
            {kVRNAvailableMemory, int64_t{2048}},
            {kVRNUsedMemory, 1126.4},
            {kVRNAvailableDiskSpace, std::string("65536.000")},
            {kVRNUsedDiskSpace, std::string("40123.500")},
            {kVRNScreenHeight, int64_t{2436}},
            {kVRNScreenWidth, int64_t{1125}},
            {kVRNCameraPermission, std::string("authorized")},
        });
        report->setQuickFacts(std::string("Signed in as tester@example.com, cart of 4 items"));
        report->setScreenshotFile(std::make_shared<VRNVornaFile>("screenshot.jpg", screenshot()));
        return report;
    }

    static VRNVornaFile::Bytes screenshot() {
        QImage picture(375, 812, QImage::Format_ARGB32_Premultiplied);
        picture.fill(QColor(0xE8, 0xF0, 0xFA));
        QPainter painter(&picture);
        painter.fillRect(QRect(0, 0, 375, 90), QColor(0x11, 0x44, 0xF1));
        painter.end();
        return *VRNJPEGRepresentation(VRNQtImage::fromQImage(picture), 0.7);
    }

    // The screen pushed over another, in a view of a phone's size, as the flow shows it.
    void show(std::shared_ptr<VRNVornaReportData> report) {
        viewModel = std::make_shared<VRNInspectBugVM>(std::move(report));
        stack = std::make_unique<VRNNavigationStack>(std::make_shared<ScreenBelow>());
        stack->setBarAppearance(true, true, Colors::whiteColor());
        stack->view()->resize(375, 812);
        test::showWindow(stack->view());
        screen = std::make_shared<VRNInspectBugVC>(viewModel, std::make_shared<VRNBranding>());
        stack->pushViewController(screen, true);
        clock.advance(VRNNavigationStack::kTransitionMs + 50);
        test::settle();
    }

    QStringList titles() const {
        QStringList all;
        for (const auto& row : screen->titledLabelViews()) {
            all << row->titleLabel()->text();
        }
        return all;
    }
    QStringList values() const {
        QStringList all;
        for (const auto& row : screen->titledLabelViews()) {
            all << row->detailLabel()->text();
        }
        return all;
    }
    // A widget's frame in the content view's coordinates.
    QRect inContent(const QWidget* widget) const {
        return QRect(widget->mapTo(screen->contentView(), QPoint(0, 0)), widget->size());
    }

    test::ScopedScreen phone{375, 812};
    test::ManualAnimationClock clock;
    std::shared_ptr<VRNInspectBugVM> viewModel;
    std::unique_ptr<VRNNavigationStack> stack;
    std::shared_ptr<VRNInspectBugVC> screen;
};

TEST_F(InspectBugScreenTest, ShowsTheFactsOfTheReportInTheirOrder) {
    show(realisticReport());
    EXPECT_EQ(titles(), QStringList({"OS", "APP VERSION", "NETWORK", "CURRENT VIEW", "LOCALE",
                                     "AVAILABLE MEMORY", "AVAILABLE STORAGE", "RESOLUTION"}));
    EXPECT_EQ(values(),
              QStringList({"16.4.1", "3.2.0 (812)", "Wi-Fi", "CheckoutViewController", "de_DE",
                           QString::fromUtf8("45% • 922 out of 2048 MB"),
                           QString::fromUtf8("39% • 25413 out of 65536 GB"), "2436 X 1125"}));
    std::vector<int> styles;
    for (const auto& row : screen->titledLabelViews()) {
        styles.push_back(row->separatorPlacement() == VRNSeparatorPlacement::forStyle(1)   ? 1
                         : row->separatorPlacement() == VRNSeparatorPlacement::forStyle(4) ? 4
                         : row->separatorPlacement() == VRNSeparatorPlacement::forStyle(2) ? 2
                                                                                           : 0);
    }
    EXPECT_EQ(styles, (std::vector<int>{1, 1, 1, 4, 4, 1, 4, 2}));

    const VRNCustomControlTextView* header = screen->headerTextView()->textView();
    EXPECT_EQ(header->text(), QStringLiteral("Essentials"));
    EXPECT_TRUE(header->isReadOnly());
    EXPECT_FALSE(header->isScrollEnabled());
    EXPECT_EQ(header->font().pixelSize(), 20);
    EXPECT_EQ(header->font().weight(), QFont::DemiBold);

    ASSERT_EQ(screen->attachementCollectionView()->numberOfItems(), 1);
    EXPECT_EQ(screen->grantedPermissionsView()->grantedPermissions(), QStringList({"camera"}));
    ASSERT_EQ(screen->grantedPermissionsView()->permissionViews().size(), 1);
    EXPECT_EQ(screen->quickFactsView()->factsLabel()->text(),
              QStringLiteral("Signed in as tester@example.com, cart of 4 items"));
}

TEST_F(InspectBugScreenTest, PartsStandAtTheirDistancesAndTheLastClosesTheColumn) {
    show(realisticReport());
    const auto& rows = screen->titledLabelViews();
    EXPECT_EQ(inContent(rows.front()).top(), 6);
    for (size_t i = 1; i < rows.size(); ++i) {
        EXPECT_EQ(inContent(rows[i]).top(), inContent(rows[i - 1]).bottom() + 1 + 20) << i;
        EXPECT_EQ(inContent(rows[i]).width(), 375);
    }
    const QRect strip = inContent(screen->attachementCollectionView());
    const QRect permissions = inContent(screen->grantedPermissionsView());
    const QRect quickFacts = inContent(screen->quickFactsView());
    EXPECT_EQ(strip.top(), inContent(rows.back()).bottom() + 1);
    EXPECT_EQ(permissions.top(), strip.bottom() + 1 + 20);
    EXPECT_EQ(quickFacts.top(), permissions.bottom() + 1 + 30);
    EXPECT_EQ(quickFacts.bottom() + 1, screen->contentView()->height());
}

TEST_F(InspectBugScreenTest, OnlyOSStaysUntranslated) {
    GermanTitles german;
    ASSERT_TRUE(QCoreApplication::installTranslator(&german));
    show(realisticReport());
    QCoreApplication::removeTranslator(&german);
    EXPECT_EQ(titles()[0], QStringLiteral("OS"));
    EXPECT_EQ(titles()[1], QStringLiteral("APP-VERSION"));
    const auto* title = screen->titleView()->findChild<QLabel*>();
    ASSERT_TRUE(title);
    EXPECT_EQ(title->text(), QStringLiteral("Fehler ansehen"));
}

TEST_F(InspectBugScreenTest, AReportWithNothingGatheredShowsEmptyFacts) {
    show(std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{}));
    const QStringList shown = values();
    for (int i : {0, 1, 2, 3, 4}) {
        EXPECT_EQ(shown[i], QString()) << i;
    }
    EXPECT_EQ(shown[5], QString::fromUtf8("0% • 0 out of 0 MB"));
    EXPECT_EQ(shown[6], QString::fromUtf8("0% • 0 out of 0 GB"));
    EXPECT_EQ(shown[7], QString::fromStdString(viewModel->resolution()));
    EXPECT_EQ(screen->quickFactsView()->factsLabel()->text(),
              QStringLiteral("Quick Facts not enabled."));
    // No permissions: the title and the note only.
    EXPECT_TRUE(screen->grantedPermissionsView()->permissionViews().isEmpty());
    EXPECT_TRUE(screen->grantedPermissionsView()->titleLabel()->isVisible());
    EXPECT_TRUE(screen->grantedPermissionsView()->noteLabel()->isVisible());
    // No screenshot file: an empty strip.
    EXPECT_EQ(screen->attachementCollectionView()->numberOfItems(), 0);
}

TEST_F(InspectBugScreenTest, TwoPermissionsFailTheMakingOfTheScreen) {
    auto report = realisticReport();
    auto facts = *report->gatheredDataDict();
    facts[kVRNLocationPermission] = std::string("authorizedWhenInUse");
    report->setGatheredDataDict(facts);
    auto twoPermissions = std::make_shared<VRNInspectBugVM>(report);
    EXPECT_THROW(VRNInspectBugVC(twoPermissions, std::make_shared<VRNBranding>()),
                 VRNUnrecognizedSelectorError);
}

TEST_F(InspectBugScreenTest, BrandedCardUnderTheTitleAndABackArrowThatPops) {
    show(realisticReport());
    const QImage picture = stack->view()->grab().toImage();
    const QColor background(0x11, 0x44, 0xF1);
    EXPECT_EQ(picture.pixelColor(5, 20), background);
    // The card starts under the bar; its top corners are rounded off.
    const QRect card = screen->containerView()->geometry();
    EXPECT_EQ(card, QRect(0, 44 + 10, 375, 812 - 54));
    EXPECT_EQ(picture.pixelColor(card.left(), card.top()), background);
    EXPECT_EQ(picture.pixelColor(card.right(), card.top()), background);
    EXPECT_EQ(picture.pixelColor(card.left() + 20, card.top() + 1), QColor(Qt::white));

    const auto* title = screen->titleView()->findChild<QLabel*>();
    ASSERT_TRUE(title);
    EXPECT_EQ(title->text(), QStringLiteral("Inspect bug"));
    EXPECT_EQ(title->font().pixelSize(), 26);
    EXPECT_EQ(title->font().weight(), QFont::DemiBold);
    EXPECT_EQ(title->palette().color(QPalette::WindowText), QColor(Qt::white));

    auto* back = qobject_cast<QToolButton*>(screen->leftBarButton());
    ASSERT_TRUE(back);
    test::Pointer pointer(stack->view()->windowHandle());
    pointer.click(QPointF(back->mapTo(stack->view(), back->rect().center())));
    EXPECT_TRUE(stack->isTransitioning());
    clock.advance(VRNNavigationStack::kTransitionMs + 50);
    test::settle();
    EXPECT_EQ(stack->viewControllers().size(), 1u);
    EXPECT_EQ(screen->navigationController(), nullptr);
}

TEST_F(InspectBugScreenTest, ScrollingTheColumnDeepensTheHeadersShadow) {
    show(realisticReport());
    QScrollArea* column = screen->scrollView();
    ASSERT_GT(column->verticalScrollBar()->maximum(), 40);
    const auto wheel = [&](int pixels) {
        const QPointF at(187, 300);
        QWheelEvent event(at, column->viewport()->mapToGlobal(at), QPoint(0, -pixels),
                          QPoint(0, -pixels * 8), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                          false);
        QCoreApplication::sendEvent(column->viewport(), &event);
        test::settle();
    };
    EXPECT_EQ(screen->headerTextView()->shadowHeight(), 0);
    wheel(4);
    const int offset = column->verticalScrollBar()->value();
    ASSERT_GT(offset, 0);
    EXPECT_EQ(screen->headerTextView()->shadowHeight(), std::min(offset, 10));
    wheel(40);
    EXPECT_EQ(screen->headerTextView()->shadowHeight(), 10);
    wheel(-400);
    EXPECT_EQ(column->verticalScrollBar()->value(), 0);
    EXPECT_EQ(screen->headerTextView()->shadowHeight(), 0);

    // A screen that goes while its column is scrolled takes its views with it.
    wheel(40);
    QPointer<QWidget> view = screen->view();
    stack->popViewControllerAnimated(false);
    screen.reset();
    test::settle();
    EXPECT_TRUE(view.isNull());
}

}  // namespace
}  // namespace vorna
