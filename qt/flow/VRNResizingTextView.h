#pragma once

#include <QPointer>
#include <QWidget>

#include "qt/flow/VRNCustomControlTextView.h"

class QAbstractScrollArea;

namespace vorna {

class VRNTextFitter;

// The report's description field: a multi-line text that shows the placeholder sentence in
// slate until the tester types, grows with its text up to three lines and then scrolls, and
// casts a faint shadow below itself whose depth follows how far the content it sits above is
// scrolled.
//
// The text area is 0.8 of the view's width, centred, 20 points below the view's top and 20
// above its bottom; the view is as high as that makes it. The shadow strip hangs below the
// view, as wide as the view and 0 to 10 points deep: it is drawn over whatever lies there, so it
// is a child of the view's parent, kept at the view's lower edge.
class VRNResizingTextView : public QWidget, private VRNTextViewDelegate {
    Q_OBJECT

public:
    explicit VRNResizingTextView(QWidget* parent = nullptr);
    ~VRNResizingTextView() override;

    VRNCustomControlTextView* textView() const { return textView_; }
    QWidget* shadowGradientView() const { return shadowGradientView_; }

    // The text area's height (it grows with the text) and the shadow's depth, in points.
    double textViewHeight() const { return textViewHeight_; }
    double shadowHeight() const { return shadowHeight_; }

    // The placeholder sentence in slate, or real text in black (the text is left as it is).
    static void applyPlaceholderStyleIn(VRNCustomControlTextView* textView);
    static void applyNonPlaceholderStyleIn(VRNCustomControlTextView* textView);

    QSize sizeHint() const override;

public slots:
    // The screen calls this when content it hosts the field above has scrolled; text views
    // (this field's own included) are not that content and change nothing.
    void scrollViewDidScroll(QAbstractScrollArea* scrollView);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    bool event(QEvent* event) override;

private:
    bool textViewShouldChangeText(VRNCustomControlTextView* textView, int start, int length,
                                  const QString& replacement) override;
    void textViewDidChange(VRNCustomControlTextView* textView) override;
    void textViewDidChangeSelection(VRNCustomControlTextView* textView) override;

    void commonSetup();
    bool isPlaceholderColor(const VRNCustomControlTextView* textView) const;
    void setTextViewHeight(double height);
    void layoutTextView();
    void layoutShadow();
    void updateShadowGradient();

    VRNCustomControlTextView* textView_ = nullptr;
    QPointer<QWidget> shadowGradientView_;
    VRNTextFitter* fitter_ = nullptr;  // measures the text at the measuring width
    double textViewHeight_ = 50.0;
    double shadowHeight_ = 0.0;
    int measuredWidth_ = -1;
    bool pinningCaret_ = false;
};

}  // namespace vorna
