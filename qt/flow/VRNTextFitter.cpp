#include "qt/flow/VRNTextFitter.h"

#include <QTextCursor>

#include <algorithm>

namespace vorna {

VRNTextFitter::VRNTextFitter(QPlainTextEdit* textView, QObject* parent)
    : QObject(parent), textView_(textView) {
    copy_.setUndoRedoEnabled(false);
    connect(textView->document(), &QTextDocument::contentsChange, this, &VRNTextFitter::mirror);
}

void VRNTextFitter::mirror(int position, int removed, int added) {
    if (!inStep_ || !textView_) {
        return;
    }
    const QTextDocument* source = textView_->document();
    const int sourceEnd = source->characterCount() - 1;  // before the closing paragraph mark
    const int copyEnd = copy_.characterCount() - 1;
    // A change that reaches the closing paragraph mark (the whole text replaced) is reported
    // with counts that include it; the copy is then made again from the text on next use.
    if (position < 0 || position + removed > copyEnd || position + added > sourceEnd ||
        copy_.characterCount() - removed + added != source->characterCount()) {
        inStep_ = false;
        return;
    }
    QTextCursor from(const_cast<QTextDocument*>(source));
    from.setPosition(position);
    from.setPosition(position + added, QTextCursor::KeepAnchor);
    QString inserted = from.selectedText();
    inserted.replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
    QTextCursor to(&copy_);
    to.setPosition(position);
    to.setPosition(position + removed, QTextCursor::KeepAnchor);
    to.insertText(inserted);
    inStep_ = copy_.characterCount() == source->characterCount();
}

double VRNTextFitter::heightThatFits(double width) {
    if (!textView_) {
        return 0.0;
    }
    // Each of these lays the whole copy out again: set only what changed.
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
    const double textWidth = std::max(0.0, width);
    if (copy_.textWidth() != textWidth) {
        copy_.setTextWidth(textWidth);
    }
    if (!inStep_) {
        copy_.setPlainText(textView_->toPlainText());
        inStep_ = true;
    }
    return copy_.size().height();
}

}  // namespace vorna
