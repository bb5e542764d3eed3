#include <gtest/gtest.h>

#include <QLabel>

#include "qt/flow/GrantedPermissionsView.h"
#include "qt/flow/PermissionSwitchView.h"
#include "qt/flow/QuickFactsView.h"
#include "qt/flow/TitledLabelView.h"
#include "qt/flow/VRNColumnLayout.h"
#include "qt/tests/QtTestSupport.h"
#include "qt/theme/Fonts.h"

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

}  // namespace
}  // namespace vorna
