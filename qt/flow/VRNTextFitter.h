#pragma once

#include <QObject>
#include <QPlainTextEdit>
#include <QPointer>
#include <QString>
#include <QTextDocument>

namespace vorna {

// Measures a text view's text at a width other than the view's own, laid out with the view's
// font, margins and wrapping.
//
// The field it serves only needs to know how tall a text of up to three lines is, and that a
// longer one is longer: so only the beginning of the text is laid out, as far as it takes to
// see a fourth line. Text added after a line never takes lines away before it, so a beginning
// that already fills more than three lines stands for the whole text. A key typed into a long
// description, or a pasted megabyte, then costs the layout of a few lines.
class VRNTextFitter : public QObject {
    Q_OBJECT

public:
    explicit VRNTextFitter(QPlainTextEdit* textView, QObject* parent = nullptr);

    // The text's height laid out `width` points wide, the margins above and below included;
    // for a text of more than `lines` lines, the height of a beginning of it that has more.
    double heightThatFits(double width, int lines = 3);

private:
    // The first paragraphs of the text, no more than `paragraphs` of them and about `length`
    // characters; `whole` says whether that is all of it.
    QString beginning(int paragraphs, int length, bool& whole) const;
    double measure(const QString& text, double width);

    QPointer<QPlainTextEdit> textView_;
    QTextDocument copy_;
};

}  // namespace vorna
