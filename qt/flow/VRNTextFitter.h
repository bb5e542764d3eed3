#pragma once

#include <QObject>
#include <QPlainTextEdit>
#include <QPointer>
#include <QTextDocument>

namespace vorna {

// Measures a text view's text at a width other than the view's own: a copy of the text, laid
// out with the view's font, margins and wrapping, kept in step edit by edit. A key typed into a
// long text then costs the layout of its own paragraph, not of the whole text again.
class VRNTextFitter : public QObject {
    Q_OBJECT

public:
    explicit VRNTextFitter(QPlainTextEdit* textView, QObject* parent = nullptr);

    // The text's height laid out `width` points wide, the margins above and below included.
    double heightThatFits(double width);

private:
    void mirror(int position, int removed, int added);

    QPointer<QPlainTextEdit> textView_;
    QTextDocument copy_;
    bool inStep_ = false;  // the copy holds the view's text
};

}  // namespace vorna
