#include "qt/flow/VRNTextFitter.h"

#include <QFontMetricsF>
#include <QTextBlock>

#include <algorithm>
#include <cmath>

namespace vorna {

VRNTextFitter::VRNTextFitter(QPlainTextEdit* textView, QObject* parent)
    : QObject(parent), textView_(textView) {
    copy_.setUndoRedoEnabled(false);
}

QString VRNTextFitter::beginning(int paragraphs, int length, bool& whole) const {
    QString text;
    whole = true;
    const QTextDocument* source = textView_->document();
    int taken = 0;
    for (QTextBlock block = source->begin(); block.isValid(); block = block.next()) {
        if (taken == paragraphs || text.size() >= length) {
            whole = false;
            break;
        }
        if (taken > 0) {
            text += QLatin1Char('\n');
        }
        const QString paragraph = block.text();
        const int room = length - static_cast<int>(text.size());
        if (paragraph.size() > room) {
            text += QStringView(paragraph).left(room);
            whole = false;
            break;
        }
        text += paragraph;
        ++taken;
    }
    return text;
}

double VRNTextFitter::measure(const QString& text, double width) {
    // Each of these lays the copy out again: set only what changed.
    const QTextDocument* source = textView_->document();
    if (copy_.defaultFont() != textView_->font()) {
        copy_.setDefaultFont(textView_->font());
    }
    if (copy_.documentMargin() != source->documentMargin()) {
        copy_.setDocumentMargin(source->documentMargin());
    }
    if (copy_.defaultTextOption().wrapMode() != textView_->wordWrapMode()) {
        QTextOption option = copy_.defaultTextOption();
        option.setWrapMode(textView_->wordWrapMode());
        copy_.setDefaultTextOption(option);
    }
    if (copy_.textWidth() != width) {
        copy_.setTextWidth(width);
    }
    if (copy_.toPlainText() != text) {
        copy_.setPlainText(text);
    }
    return copy_.size().height();
}

double VRNTextFitter::heightThatFits(double width, int lines) {
    if (!textView_) {
        return 0.0;
    }
    const double textWidth = std::max(0.0, width);
    // More than `lines` lines need at most one paragraph more; and a line holds no more
    // characters than points of width (no character the field shows is narrower than a
    // point), so one line more than that many characters a line is enough to see them.
    const int perLine = static_cast<int>(std::ceil(textWidth)) + 1;
    bool whole = false;
    const QString start = beginning(lines + 1, (lines + 1) * perLine, whole);
    const double height = measure(start, textWidth);
    if (whole) {
        return height;
    }
    const double content = height - 2 * copy_.documentMargin();
    const double lineHeight = QFontMetricsF(copy_.defaultFont()).lineSpacing();
    if (lineHeight > 0 && std::floor(content / lineHeight) > lines) {
        return height;
    }
    // A beginning that is cut yet no longer than `lines` lines (characters of no width): the
    // whole text decides.
    return measure(textView_->toPlainText(), textWidth);
}

}  // namespace vorna
