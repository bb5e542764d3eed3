#pragma once

#include <QColor>
#include <QPlainTextEdit>

namespace vorna {

class VRNCustomControlTextView;

// Told by the text view about its edits. Every edit of the tester (typed keys, deletions, the
// input method's commits, paste, cut, drop) is asked for before it happens and reported after.
class VRNTextViewDelegate {
public:
    // The text from `start` for `length` units is about to become `replacement`. The delegate may
    // change the text before it answers; an allowed edit is then made on what is left (clamped
    // to it).
    virtual bool textViewShouldChangeText(VRNCustomControlTextView* textView, int start, int length,
                                          const QString& replacement) = 0;
    virtual void textViewDidChange(VRNCustomControlTextView* textView) = 0;
    virtual void textViewDidChangeSelection(VRNCustomControlTextView* textView) = 0;

protected:
    ~VRNTextViewDelegate() = default;
};

// The description field's editable text: plain text in one colour, no undo (an undo step
// cannot be asked for before it happens), Tab moves the focus on. While the text is the
// placeholder sentence no edit menu is offered: asking for one takes the focus away instead.
class VRNCustomControlTextView : public QPlainTextEdit {
    Q_OBJECT

public:
    explicit VRNCustomControlTextView(QWidget* parent = nullptr);

    void setDelegate(VRNTextViewDelegate* delegate) { delegate_ = delegate; }

    // The text as a whole, set without asking the delegate.
    QString text() const { return toPlainText(); }
    void setText(const QString& text);
    QColor textColor() const;
    void setTextColor(const QColor& color);
    // An empty selection at `position`.
    void setCaretPosition(int position);

    // Off, the text does not scroll by wheel or scroll bar: the wheel goes to what encloses it.
    bool isScrollEnabled() const { return scrollEnabled_; }
    void setScrollEnabled(bool enabled);

    // Replaces part of the text as the tester's edit would, asking the delegate first. Whether
    // the edit was made.
    bool replaceText(int start, int length, const QString& replacement);

    // The edit menu's cut and delete, through the delegate.
    void cutSelection();
    void deleteSelection();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    void insertFromMimeData(const QMimeData* source) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    // The edit a key would make, as a range of the text and its replacement; false for a key
    // that edits nothing.
    bool editForKey(QKeyEvent* event, int& start, int& length, QString& replacement) const;
    bool isPlaceholderText() const;

    VRNTextViewDelegate* delegate_ = nullptr;
    bool scrollEnabled_ = true;
    bool composing_ = false;  // the input method shows text it has not committed yet
};

}  // namespace vorna
