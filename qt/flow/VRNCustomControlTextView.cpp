#include "qt/flow/VRNCustomControlTextView.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QTextBlock>
#include <QTextDocument>

#include <algorithm>

#include "flow/VRNTextPlaceholderRules.h"

namespace vorna {
namespace {

// Space above and below the text inside the view, as on a phone's text view.
constexpr double kTextContainerInset = 8.0;

// Whether a key's text is typed into the field: what Qt's own text editors accept.
bool isTypedText(const QKeyEvent* event) {
    const QString text = event->text();
    if (text.isEmpty()) {
        return false;
    }
    const QChar first = text.at(0);
    if (first.category() == QChar::Other_Format) {
        return true;
    }
    const Qt::KeyboardModifiers modifiers = event->modifiers();
    if (modifiers == Qt::ControlModifier ||
        modifiers == (Qt::ShiftModifier | Qt::ControlModifier)) {
        return false;
    }
    return first.isPrint() || first.category() == QChar::Other_PrivateUse ||
           (first.isHighSurrogate() && text.size() > 1 && text.at(1).isLowSurrogate());
}

}  // namespace

VRNCustomControlTextView::VRNCustomControlTextView(QWidget* parent) : QPlainTextEdit(parent) {
    setFrameShape(QFrame::NoFrame);
    setUndoRedoEnabled(false);
    setTabChangesFocus(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    document()->setDocumentMargin(kTextContainerInset);
    // Drawn on what lies beneath, as the field's white card.
    QPalette palette = this->palette();
    palette.setColor(QPalette::Base, Qt::transparent);
    setPalette(palette);
    viewport()->setAutoFillBackground(false);
    connect(this, &QPlainTextEdit::cursorPositionChanged, this, [this] {
        if (delegate_) {
            delegate_->textViewDidChangeSelection(this);
        }
    });
    connect(this, &QPlainTextEdit::selectionChanged, this, [this] {
        if (delegate_) {
            delegate_->textViewDidChangeSelection(this);
        }
    });
}

void VRNCustomControlTextView::setText(const QString& text) {
    setPlainText(text);
}

QColor VRNCustomControlTextView::textColor() const {
    return palette().color(QPalette::Text);
}

void VRNCustomControlTextView::setTextColor(const QColor& color) {
    QPalette palette = this->palette();
    palette.setColor(QPalette::Text, color);
    setPalette(palette);
}

void VRNCustomControlTextView::setCaretPosition(int position) {
    QTextCursor cursor = textCursor();
    cursor.setPosition(std::clamp(position, 0, std::max(0, document()->characterCount() - 1)));
    setTextCursor(cursor);
}

void VRNCustomControlTextView::setScrollEnabled(bool enabled) {
    scrollEnabled_ = enabled;
    setVerticalScrollBarPolicy(enabled ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
}

bool VRNCustomControlTextView::isPlaceholderText() const {
    return toPlainText() == QString::fromStdString(VRNTextPlaceholderRules::localizedPlaceholder());
}

bool VRNCustomControlTextView::replaceText(int start, int length, const QString& replacement) {
    if (isReadOnly()) {
        return false;
    }
    if (delegate_ && !delegate_->textViewShouldChangeText(this, start, length, replacement)) {
        return false;
    }
    // The delegate may have changed the text: the edit applies to what is left.
    const int size = document()->characterCount() - 1;
    const int from = std::clamp(start, 0, size);
    const int to = std::clamp(start + std::max(length, 0), from, size);
    if (from == to && replacement.isEmpty()) {
        return true;
    }
    QTextCursor cursor(document());
    cursor.setPosition(from);
    cursor.setPosition(to, QTextCursor::KeepAnchor);
    cursor.insertText(replacement);
    // The view takes its new height first, so that the caret is kept in view in that height.
    if (delegate_) {
        delegate_->textViewDidChange(this);
    }
    setTextCursor(cursor);
    ensureCursorVisible();
    return true;
}

void VRNCustomControlTextView::cutSelection() {
    const QTextCursor cursor = textCursor();
    if (isReadOnly() || !cursor.hasSelection()) {
        return;
    }
    copy();
    deleteSelection();
}

void VRNCustomControlTextView::deleteSelection() {
    const QTextCursor cursor = textCursor();
    if (cursor.hasSelection()) {
        replaceText(cursor.selectionStart(), cursor.selectionEnd() - cursor.selectionStart(), {});
    }
}

bool VRNCustomControlTextView::editForKey(QKeyEvent* event, int& start, int& length,
                                          QString& replacement) const {
    const QTextCursor cursor = textCursor();
    const auto selected = [&] {
        start = cursor.selectionStart();
        length = cursor.selectionEnd() - start;
    };
    // From the caret to where `move` takes it, unless there is a selection.
    const auto selectedOr = [&](QTextCursor::MoveOperation move) {
        if (cursor.hasSelection()) {
            selected();
            return;
        }
        QTextCursor moved = cursor;
        moved.movePosition(move, QTextCursor::KeepAnchor);
        start = moved.selectionStart();
        length = moved.selectionEnd() - start;
    };
    replacement.clear();
    const bool plainBackspace =
        event->key() == Qt::Key_Backspace && !(event->modifiers() & ~Qt::ShiftModifier);
    if (plainBackspace || event == QKeySequence::Backspace) {
        if (cursor.hasSelection()) {
            selected();
        } else {
            // One character back; both halves of a surrogate pair, one mark of a combined letter.
            const int position = cursor.position();
            length = position > 0 ? 1 : 0;
            if (position > 1 && document()->characterAt(position - 1).isLowSurrogate() &&
                document()->characterAt(position - 2).isHighSurrogate()) {
                length = 2;
            }
            start = position - length;
        }
        return true;
    }
    if (event == QKeySequence::Delete) {
        selectedOr(QTextCursor::NextCharacter);
        return true;
    }
    if (event == QKeySequence::DeleteStartOfWord) {
        selectedOr(QTextCursor::PreviousWord);
        return true;
    }
    if (event == QKeySequence::DeleteEndOfWord) {
        selectedOr(QTextCursor::NextWord);
        return true;
    }
    if (event == QKeySequence::DeleteEndOfLine) {
        // At the end of a line the line break goes.
        selectedOr(cursor.atBlockEnd() ? QTextCursor::NextCharacter : QTextCursor::EndOfBlock);
        return true;
    }
    if (event == QKeySequence::DeleteCompleteLine) {
        start = cursor.block().position();
        length = cursor.block().length() - 1;
        return true;
    }
    if (event == QKeySequence::InsertParagraphSeparator ||
        event == QKeySequence::InsertLineSeparator) {
        selected();
        replacement = QStringLiteral("\n");
        return true;
    }
    if (isTypedText(event)) {
        selected();
        replacement = event->text();
        return true;
    }
    return false;
}

void VRNCustomControlTextView::keyPressEvent(QKeyEvent* event) {
    if (isReadOnly()) {
        QPlainTextEdit::keyPressEvent(event);
        return;
    }
    if (event == QKeySequence::Cut) {
        cutSelection();
        event->accept();
        return;
    }
    int start = 0;
    int length = 0;
    QString replacement;
    if (editForKey(event, start, length, replacement)) {
        replaceText(start, length, replacement);
        event->accept();
        return;
    }
    // Moving, selecting, copying, and paste (which comes back through insertFromMimeData).
    QPlainTextEdit::keyPressEvent(event);
}

void VRNCustomControlTextView::inputMethodEvent(QInputMethodEvent* event) {
    if (isReadOnly()) {
        QPlainTextEdit::inputMethodEvent(event);
        return;
    }
    const QString commit = event->commitString();
    const QString preedit = event->preeditString();
    const QTextCursor cursor = textCursor();
    if (!commit.isEmpty() || event->replacementLength() > 0) {
        // The committed text replaces the selection, or the range the input method names.
        int start = cursor.selectionStart();
        int length = cursor.selectionEnd() - start;
        if (!cursor.hasSelection()) {
            start = cursor.position() + event->replacementStart();
            length = event->replacementLength();
        }
        replaceText(start, length, commit);
    } else if (!preedit.isEmpty() && !composing_) {
        // Text being composed is typed text as far as the placeholder goes: it clears it.
        if (delegate_ && !delegate_->textViewShouldChangeText(
                             this, cursor.selectionStart(),
                             cursor.selectionEnd() - cursor.selectionStart(), preedit)) {
            QInputMethodEvent nothing;
            QPlainTextEdit::inputMethodEvent(&nothing);
            event->accept();
            return;
        }
    }
    // What is still being composed is the base class's to show.
    QInputMethodEvent rest(preedit, event->attributes());
    QPlainTextEdit::inputMethodEvent(&rest);
    const bool wasComposing = composing_;
    composing_ = !preedit.isEmpty();
    if (wasComposing && !composing_ && commit.isEmpty() && document()->isEmpty() && delegate_) {
        // Composition given up in an empty field: its text is deleted, all that there was.
        delegate_->textViewShouldChangeText(this, 0, 0, {});
    }
    event->accept();
}

void VRNCustomControlTextView::insertFromMimeData(const QMimeData* source) {
    if (isReadOnly() || !source || !source->hasText()) {
        return;
    }
    const QTextCursor cursor = textCursor();
    replaceText(cursor.selectionStart(), cursor.selectionEnd() - cursor.selectionStart(),
                source->text());
}

void VRNCustomControlTextView::contextMenuEvent(QContextMenuEvent* event) {
    if (isPlaceholderText()) {
        // Nothing to copy, select or paste over on the sentence: asking ends editing.
        clearFocus();
        event->accept();
        return;
    }
    QMenu* menu = createStandardContextMenu(event->pos());
    // Cut and delete are edits: they go through the delegate like keys do.
    for (QAction* action : menu->actions()) {
        const QString name = action->objectName();
        if (name == QLatin1String("edit-cut") || name == QLatin1String("edit-delete")) {
            disconnect(action, &QAction::triggered, nullptr, nullptr);
            if (name == QLatin1String("edit-cut")) {
                connect(action, &QAction::triggered, this, &VRNCustomControlTextView::cutSelection);
            } else {
                connect(action, &QAction::triggered, this,
                        &VRNCustomControlTextView::deleteSelection);
            }
        }
    }
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(event->globalPos());
    event->accept();
}

void VRNCustomControlTextView::wheelEvent(QWheelEvent* event) {
    if (!scrollEnabled_) {
        event->ignore();
        return;
    }
    QPlainTextEdit::wheelEvent(event);
}

}  // namespace vorna
