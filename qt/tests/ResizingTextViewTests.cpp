#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QInputMethodEvent>
#include <QMenu>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include <cstdio>

#include "flow/VRNTextGrowth.h"
#include "qt/flow/VRNResizingTextView.h"
#include "qt/flow/VRNTextFitter.h"
#include "qt/tests/QtTestSupport.h"
#include "qt/theme/Fonts.h"
#include "qt/theme/VRNQtColor.h"
#include "theme/Colors.h"

namespace vorna {
namespace {

const QString kSentence = QStringLiteral("Describe the bug and tap Submit");

// The field above a scrolling column, as a screen hosts it, in a phone-sized window.
class ResizingTextViewTest : public testing::Test {
protected:
    void SetUp() override {
        Fonts::registerFonts();
        window.resize(375, 500);
        auto* column = new QVBoxLayout(&window);
        column->setContentsMargins(0, 0, 0, 0);
        column->setSpacing(0);
        field = new VRNResizingTextView();
        column->addWidget(field);
        scrollView = new QScrollArea();
        scrollView->setFrameShape(QFrame::NoFrame);
        auto* content = new QWidget();
        content->setFixedSize(375, 2000);
        content->setStyleSheet(QStringLiteral("background: white;"));
        scrollView->setWidget(content);
        scrollView->verticalScrollBar()->setSingleStep(1);
        column->addWidget(scrollView, 1);
        QObject::connect(scrollView->verticalScrollBar(), &QScrollBar::valueChanged, field,
                         [this] { field->scrollViewDidScroll(scrollView); });
        test::showWindow(&window);
        textView()->setFocus();
        test::settle();
    }

    VRNCustomControlTextView* textView() const { return field->textView(); }
    static QColor slate() { return VRNQtColor::toQColor(Colors::slateColor()); }
    bool showsSentence() const {
        return textView()->text() == kSentence && textView()->textColor() == slate();
    }
    void type(const QString& text) { QTest::keyClicks(textView(), text); }
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(textView(), key, modifiers);
    }
    void newLine() { key(Qt::Key_Return); }
    void paste(const QString& text) {
        QGuiApplication::clipboard()->setText(text);
        key(Qt::Key_V, Qt::ControlModifier);
    }
    // A right click as the window system delivers it, which is where Qt asks for a menu.
    void rightClickText() {
        QWindow* handle = window.windowHandle();
        const QPointF at = textView()->viewport()->mapTo(&window, QPointF(40, 15));
        static int timestamp = 1'000'000;  // far apart: never a double click
        qt_handleMouseEvent(handle, at, handle->mapToGlobal(at), Qt::RightButton, Qt::RightButton,
                            QEvent::MouseButtonPress, Qt::NoModifier, timestamp += 1000);
        qt_handleMouseEvent(handle, at, handle->mapToGlobal(at), Qt::NoButton, Qt::RightButton,
                            QEvent::MouseButtonRelease, Qt::NoModifier, timestamp += 1000);
        test::settle();
    }

    QWidget window;
    VRNResizingTextView* field = nullptr;
    QScrollArea* scrollView = nullptr;
};

TEST_F(ResizingTextViewTest, ANewFieldShowsTheSentenceInSlateWithTheCaretHeldAtTheStart) {
    EXPECT_TRUE(showsSentence());
    // Clicking into the sentence, moving and selecting: the caret stays at the start.
    test::Pointer pointer(window.windowHandle());
    pointer.click(QPointF(textView()->mapTo(&window, QPoint(120, 18))));
    EXPECT_TRUE(textView()->hasFocus());
    EXPECT_EQ(textView()->textCursor().position(), 0);
    key(Qt::Key_End);
    key(Qt::Key_Right, Qt::ShiftModifier);
    key(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(textView()->textCursor().position(), 0);
    EXPECT_FALSE(textView()->textCursor().hasSelection());
    // The text area: 0.8 of the width, centred, 20 points from the view's top and bottom.
    const QRect area = textView()->geometry();
    EXPECT_EQ(area.width(), 300);
    EXPECT_EQ(area.x(), 38);
    EXPECT_EQ(area.y(), 20);
    EXPECT_EQ(field->height(), area.height() + 40);
}

TEST_F(ResizingTextViewTest, TypingOnTheSentenceLeavesJustThatLetterInBlack) {
    type(QStringLiteral("x"));
    EXPECT_EQ(textView()->text(), QStringLiteral("x"));
    EXPECT_EQ(textView()->textColor(), QColor(Qt::black));
    EXPECT_EQ(textView()->textCursor().position(), 1);
    type(QStringLiteral("yz"));
    EXPECT_EQ(textView()->text(), QStringLiteral("xyz"));
}

TEST_F(ResizingTextViewTest, DeletingTheLastCharacterBringsTheSentenceBackAndShrinksTheField) {
    const double oneLine = field->textViewHeight();
    type(QStringLiteral("ab"));
    newLine();
    type(QStringLiteral("c"));
    const double twoLines = field->textViewHeight();
    EXPECT_GT(twoLines, oneLine);
    key(Qt::Key_Backspace);
    key(Qt::Key_Backspace);
    EXPECT_EQ(textView()->text(), QStringLiteral("ab"));
    EXPECT_EQ(field->textViewHeight(), oneLine);
    key(Qt::Key_Backspace);
    key(Qt::Key_Backspace);
    EXPECT_TRUE(showsSentence());
    EXPECT_EQ(textView()->textCursor().position(), 0);
    EXPECT_EQ(field->textViewHeight(), oneLine);

    // Deleting a whole multi-line text at once does the same.
    type(QStringLiteral("one"));
    newLine();
    type(QStringLiteral("two"));
    EXPECT_EQ(field->textViewHeight(), twoLines);
    key(Qt::Key_A, Qt::ControlModifier);
    key(Qt::Key_Delete);
    EXPECT_TRUE(showsSentence());
    EXPECT_EQ(field->textViewHeight(), oneLine);
}

TEST_F(ResizingTextViewTest, DeletingOnTheSentenceChangesNothing) {
    const double height = field->textViewHeight();
    for (const auto& [deletion, modifiers] :
         {std::pair{Qt::Key_Backspace, Qt::KeyboardModifiers{}},
          std::pair{Qt::Key_Delete, Qt::KeyboardModifiers{}},
          std::pair{Qt::Key_Backspace, Qt::KeyboardModifiers{Qt::ControlModifier}},
          std::pair{Qt::Key_Delete, Qt::KeyboardModifiers{Qt::ControlModifier}},
          std::pair{Qt::Key_X, Qt::KeyboardModifiers{Qt::ControlModifier}}}) {
        key(deletion, modifiers);
        EXPECT_TRUE(showsSentence()) << deletion << " " << modifiers;
        EXPECT_EQ(textView()->textCursor().position(), 0);
    }
    EXPECT_EQ(field->textViewHeight(), height);
}

TEST_F(ResizingTextViewTest, GrowsForOneTwoAndThreeLinesThenScrollsAtTheThreeLineHeight) {
    type(QStringLiteral("one"));
    const double one = field->textViewHeight();
    newLine();
    type(QStringLiteral("two"));
    const double two = field->textViewHeight();
    // The new line made room for itself: the first one is still in view.
    EXPECT_EQ(textView()->verticalScrollBar()->value(), 0);
    newLine();
    type(QStringLiteral("three"));
    const double three = field->textViewHeight();
    EXPECT_LT(one, two);
    EXPECT_LT(two, three);
    EXPECT_EQ(threeLinesHeight, three);
    EXPECT_FALSE(textView()->isScrollEnabled());
    test::settle();  // the column lays the taller field out
    EXPECT_EQ(textView()->height(), qRound(three));
    EXPECT_EQ(field->height(), qRound(three) + 40);

    newLine();
    type(QStringLiteral("four"));
    EXPECT_EQ(field->textViewHeight(), three);
    EXPECT_TRUE(textView()->isScrollEnabled());
    EXPECT_GT(textView()->verticalScrollBar()->maximum(), 0);  // the fourth line scrolls in

    // Joining the second and third lines, mid-text: three lines again, no scrolling.
    key(Qt::Key_Up);
    key(Qt::Key_Up);
    key(Qt::Key_End);
    key(Qt::Key_Delete);
    EXPECT_EQ(textView()->text(), QStringLiteral("one\ntwothree\nfour"));
    EXPECT_EQ(field->textViewHeight(), three);
    EXPECT_FALSE(textView()->isScrollEnabled());

    // Back under three lines, the field fits its text again.
    key(Qt::Key_A, Qt::ControlModifier);
    type(QStringLiteral("just one"));
    EXPECT_EQ(field->textViewHeight(), one);
    EXPECT_FALSE(textView()->isScrollEnabled());
}

TEST_F(ResizingTextViewTest, AFirstPasteOfTenLinesInAFreshProcessSetsTheHeightToZero) {
    ASSERT_EQ(threeLinesHeight, 0.0);  // each test has a process of its own
    QStringList lines;
    for (int i = 1; i <= 10; ++i) {
        lines << QStringLiteral("line %1").arg(i);
    }
    paste(lines.join(QLatin1Char('\n')));
    EXPECT_EQ(textView()->text(), lines.join(QLatin1Char('\n')));
    EXPECT_EQ(textView()->textColor(), QColor(Qt::black));
    EXPECT_EQ(field->textViewHeight(), 0.0);
    test::settle();
    EXPECT_EQ(textView()->height(), 0);
    EXPECT_EQ(field->height(), 40);
    EXPECT_TRUE(textView()->isScrollEnabled());
}

TEST_F(ResizingTextViewTest, AskingForAMenuOnTheSentenceShowsNoneAndEndsEditing) {
    rightClickText();
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    EXPECT_FALSE(textView()->hasFocus());
    EXPECT_TRUE(showsSentence());

    // On real text the menu is there, and its Cut is an edit like any other: cutting all of
    // the text brings the sentence back.
    textView()->setFocus();
    type(QStringLiteral("real"));
    key(Qt::Key_A, Qt::ControlModifier);
    rightClickText();
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    QAction* cut = menu->findChild<QAction*>(QStringLiteral("edit-cut"));
    ASSERT_NE(cut, nullptr);
    cut->trigger();
    menu->close();
    test::settle();
    EXPECT_TRUE(showsSentence());
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("real"));
}

TEST_F(ResizingTextViewTest, InputMethodTextIsTypingToo) {
    // Composing on the sentence clears it; giving the composition up brings it back.
    QInputMethodEvent composing(QStringLiteral("n"), {});
    QCoreApplication::sendEvent(textView(), &composing);
    EXPECT_EQ(textView()->text(), QString());
    EXPECT_EQ(textView()->textColor(), QColor(Qt::black));
    QInputMethodEvent givenUp;
    QCoreApplication::sendEvent(textView(), &givenUp);
    EXPECT_TRUE(showsSentence());

    QInputMethodEvent committed;
    committed.setCommitString(QStringLiteral("né"));
    QCoreApplication::sendEvent(textView(), &committed);
    EXPECT_EQ(textView()->text(), QStringLiteral("né"));
    EXPECT_EQ(textView()->textColor(), QColor(Qt::black));
    // A commit that replaces what came before it, down to nothing.
    QInputMethodEvent replaced;
    replaced.setCommitString(QString(), -2, 2);
    QCoreApplication::sendEvent(textView(), &replaced);
    EXPECT_TRUE(showsSentence());
}

TEST_F(ResizingTextViewTest, TheShadowFollowsTheContentScrolledUnderTheField) {
    scrollView->setFocus();
    const auto down = [this](int times) {
        for (int i = 0; i < times; ++i) {
            QTest::keyClick(scrollView, Qt::Key_Down);
        }
    };
    QWidget* strip = field->shadowGradientView();
    EXPECT_FALSE(strip->isVisible());
    down(4);
    EXPECT_EQ(field->shadowHeight(), 4);
    EXPECT_TRUE(strip->isVisible());
    EXPECT_EQ(strip->geometry(), QRect(0, field->geometry().bottom() + 1, 375, 4));

    down(21);
    ASSERT_EQ(scrollView->verticalScrollBar()->value(), 25);
    EXPECT_EQ(field->shadowHeight(), 10);
    EXPECT_EQ(strip->height(), 10);
    // Black at 7 % over the white content, fading out downwards.
    test::settle();
    const QImage picture = window.grab().toImage();
    const int top = strip->geometry().top();
    const QColor darkest = picture.pixelColor(100, top);
    const QColor faintest = picture.pixelColor(100, top + 9);
    EXPECT_NEAR(darkest.red(), 255 * (1 - 0.07), 3);
    EXPECT_EQ(darkest.red(), darkest.blue());  // a grey, whatever the mask's own colour
    EXPECT_GE(faintest.red(), 253);

    // The field's own text scrolling is not the content's.
    field->scrollViewDidScroll(textView());
    EXPECT_EQ(field->shadowHeight(), 10);

    QTest::keyClick(scrollView, Qt::Key_PageUp);
    QTest::keyClick(scrollView, Qt::Key_PageUp);
    ASSERT_EQ(scrollView->verticalScrollBar()->value(), 0);
    EXPECT_EQ(field->shadowHeight(), 0);
    EXPECT_FALSE(strip->isVisible());
}

TEST_F(ResizingTextViewTest, AMegabyteDescriptionPastedAtOnce) {
    QString description;
    const QString line =
        QStringLiteral("Tapping Save twice in a row loses the draft and shows an empty list. ");
    // Sentences, three to a paragraph, up to a megabyte.
    for (int sentence = 1; description.size() < 1024 * 1024; ++sentence) {
        description += line;
        if (sentence % 3 == 0) {
            description += QLatin1Char('\n');
        }
    }
    QElapsedTimer clock;
    clock.start();
    paste(description);
    const qint64 pasteMs = clock.elapsed();
    clock.restart();
    type(QStringLiteral("!"));
    const qint64 keyMs = clock.elapsed();
    RecordProperty("paste_ms", static_cast<int>(pasteMs));
    RecordProperty("key_after_paste_ms", static_cast<int>(keyMs));
    std::printf("1 MB paste blocked %lld ms; the next key %lld ms\n",
                static_cast<long long>(pasteMs), static_cast<long long>(keyMs));

    EXPECT_EQ(textView()->text().size(), description.size() + 1);
    EXPECT_EQ(textView()->textColor(), QColor(Qt::black));
    // More than three lines in one change in a process that never measured three.
    EXPECT_EQ(field->textViewHeight(), 0.0);
    key(Qt::Key_A, Qt::ControlModifier);
    key(Qt::Key_Backspace);
    EXPECT_TRUE(showsSentence());
}

}  // namespace
}  // namespace vorna

namespace vorna {
namespace {

TEST(TextFitterTest, MeasuresOnlyAsFarAsAFourthLineUnlessTheBeginningFitsInThree) {
    QPlainTextEdit view;
    view.setFont(QFont(QStringLiteral("Sans"), 18));
    VRNTextFitter fitter(&view);
    const double margins = 2 * view.document()->documentMargin();
    const double line = QFontMetricsF(view.font()).lineSpacing();
    const auto lines = [&](double height) { return std::floor((height - margins) / line); };

    view.setPlainText(QStringLiteral("one\ntwo\nthree"));
    EXPECT_EQ(lines(fitter.heightThatFits(300)), 3);
    // Ten thousand paragraphs: a beginning of a few of them says "more than three".
    QStringList many;
    for (int i = 0; i < 10000; ++i) {
        many << QStringLiteral("paragraph %1").arg(i);
    }
    view.setPlainText(many.join(QLatin1Char('\n')));
    const double longHeight = fitter.heightThatFits(300);
    EXPECT_GT(lines(longHeight), 3);
    EXPECT_LT(lines(longHeight), 10);
    // Characters of no width: the cut beginning still fits one line, so the whole text is
    // measured, and it is one line.
    view.setPlainText(QString(5000, QChar(0x200B)) + QStringLiteral("end"));
    EXPECT_EQ(lines(fitter.heightThatFits(300)), 1);
}

}  // namespace
}  // namespace vorna
