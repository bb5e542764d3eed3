#include "qt/flow/VRNResizingTextView.h"

#include <QAbstractScrollArea>
#include <QEvent>
#include <QFontMetricsF>
#include <QLayout>
#include <QLinearGradient>
#include <QPainter>
#include <QScrollBar>
#include <QTextEdit>

#include <algorithm>
#include <cmath>

#include "flow/VRNShadowDepth.h"
#include "flow/VRNTextGrowth.h"
#include "flow/VRNTextPlaceholderRules.h"
#include "qt/flow/VRNScreenStyle.h"
#include "qt/flow/VRNTextFitter.h"
#include "theme/Colors.h"

namespace vorna {
namespace {

constexpr double kTextMargin = 20.0;      // above and below the text area
constexpr double kTextWidthShare = 0.8;   // of the view's width
constexpr double kMeasuringInset = 30.0;  // the text is measured this much narrower than the view
constexpr double kInitialTextHeight = 50.0;  // until the text is first measured
constexpr double kShadowAlpha = 0.07;

// A black strip seen through a mask: only the mask's alpha counts, so the strip shows as a
// black shade at the strip's alpha that fades as the mask does.
class ShadowStrip : public QWidget {
public:
    explicit ShadowStrip(QWidget* parent) : QWidget(parent) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setAttribute(Qt::WA_NoSystemBackground);
        setFocusPolicy(Qt::NoFocus);
    }

    void setShade(const QLinearGradient& mask, double alpha) {
        mask_ = mask;
        alpha_ = alpha;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override {
        if (mask_.stops().isEmpty()) {
            return;  // no mask yet: nothing of the strip shows
        }
        QLinearGradient shade = mask_;
        QGradientStops stops;
        for (const QGradientStop& stop : mask_.stops()) {
            stops.append({stop.first, QColor(0, 0, 0, stop.second.alpha())});
        }
        shade.setStops(stops);
        QPainter painter(this);
        painter.setOpacity(alpha_);
        painter.fillRect(rect(), shade);
    }

private:
    QLinearGradient mask_;
    double alpha_ = 1.0;
};

int rounded(double points) {
    return static_cast<int>(std::lround(points));
}

// The text equals the sentence: compared only when the lengths match, so a long description
// is not copied at every key.
bool showsSentence(const VRNCustomControlTextView* textView, const QString& sentence) {
    return textView->document()->characterCount() - 1 == sentence.size() &&
           textView->text() == sentence;
}

}  // namespace

VRNResizingTextView::VRNResizingTextView(QWidget* parent) : QWidget(parent) {
    commonSetup();
}

VRNResizingTextView::~VRNResizingTextView() {
    // The text view and its copy go after this object has stopped being a field: nothing they
    // report on the way reaches it.
    textView_->setDelegate(nullptr);
    delete fitter_;
    // The strip lives beside the view, in the parent: it goes with the view.
    if (shadowGradientView_ && shadowGradientView_->parent() != this) {
        delete shadowGradientView_.data();
    }
}

void VRNResizingTextView::commonSetup() {
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    textView_ = new VRNCustomControlTextView(this);
    textView_->setFont(VRNScreenStyle::regularFont(18.0));
    textView_->setDelegate(this);
    textView_->setScrollEnabled(false);
    textView_->setCaretPosition(0);
    fitter_ = new VRNTextFitter(textView_, this);

    auto* strip = new ShadowStrip(parentWidget() ? parentWidget() : this);
    strip->hide();
    shadowGradientView_ = strip;

    applyPlaceholderStyleIn(textView_);
    textViewDidChange(textView_);
    layoutTextView();
}

void VRNResizingTextView::applyPlaceholderStyleIn(VRNCustomControlTextView* textView) {
    textView->setTextColor(VRNScreenStyle::color(Colors::slateColor()));
    textView->setText(QString::fromStdString(VRNTextPlaceholderRules::localizedPlaceholder()));
}

void VRNResizingTextView::applyNonPlaceholderStyleIn(VRNCustomControlTextView* textView) {
    textView->setTextColor(Qt::black);
}

bool VRNResizingTextView::isPlaceholderColor(const VRNCustomControlTextView* textView) const {
    return textView->textColor() == VRNScreenStyle::color(Colors::slateColor());
}

bool VRNResizingTextView::textViewShouldChangeText(VRNCustomControlTextView* textView, int,
                                                   int length, const QString& replacement) {
    const QString sentence =
        QString::fromStdString(VRNTextPlaceholderRules::localizedPlaceholder());
    VRNTextEdit edit;
    edit.textLength = textView->document()->characterCount() - 1;
    edit.textIsPlaceholder = showsSentence(textView, sentence);
    edit.placeholderColor = isPlaceholderColor(textView);
    edit.placeholderLength = sentence.size();
    edit.rangeLength = length;
    edit.replacementLength = replacement.size();
    const VRNTextEditDecision decision = VRNTextPlaceholderRules::shouldChangeText(edit);
    if (decision.showPlaceholder) {
        applyPlaceholderStyleIn(textView);
    }
    if (decision.clearToRealText) {
        applyNonPlaceholderStyleIn(textView);
        textView->setText(QString());
    }
    if (decision.caretToStart) {
        textView->setCaretPosition(0);
    }
    if (decision.resize) {
        textViewDidChange(textView);
    }
    return decision.allow;
}

void VRNResizingTextView::textViewDidChangeSelection(VRNCustomControlTextView* textView) {
    // Moving the caret reports a change of selection in turn.
    if (pinningCaret_) {
        return;
    }
    const QString sentence =
        QString::fromStdString(VRNTextPlaceholderRules::localizedPlaceholder());
    const QTextCursor cursor = textView->textCursor();
    if (VRNTextPlaceholderRules::pinsCaret(showsSentence(textView, sentence),
                                           isPlaceholderColor(textView)) &&
        (cursor.hasSelection() || cursor.position() != 0)) {
        pinningCaret_ = true;
        textView->setCaretPosition(0);
        pinningCaret_ = false;
    }
}

void VRNResizingTextView::textViewDidChange(VRNCustomControlTextView* textView) {
    // Before the view has been given a size there is no width to measure at; the first size
    // it gets measures the text.
    if (!testAttribute(Qt::WA_Resized)) {
        return;
    }
    const double fitted = fitter_->heightThatFits(width() - kMeasuringInset);
    const double insets = 2.0 * textView->document()->documentMargin();
    const double lineHeight = QFontMetricsF(textView->font()).lineSpacing();
    const VRNTextGrowthResult growth = VRNTextGrowth::textDidChange(fitted, insets, lineHeight);
    textView->setScrollEnabled(growth.scrollEnabled);
    setTextViewHeight(growth.height);
}

void VRNResizingTextView::setTextViewHeight(double height) {
    if (height == textViewHeight_) {
        return;
    }
    textViewHeight_ = height;
    layoutTextView();
    updateGeometry();
    // Laid out by hand rather than by a layout: the view follows its text area itself.
    QWidget* parent = parentWidget();
    if (!parent || !parent->layout() || parent->layout()->indexOf(this) < 0) {
        resize(width(), sizeHint().height());
    }
}

QSize VRNResizingTextView::sizeHint() const {
    return QSize(375, rounded(2 * kTextMargin + textViewHeight_));
}

void VRNResizingTextView::layoutTextView() {
    textView_->setGeometry(VRNScreenStyle::centredRect(
        width(), kTextWidthShare, rounded(kTextMargin), std::max(0, rounded(textViewHeight_))));
}

void VRNResizingTextView::layoutShadow() {
    QWidget* strip = shadowGradientView_;
    if (!strip) {
        return;
    }
    const int depth = rounded(shadowHeight_);
    if (strip->parent() == this || depth <= 0) {
        strip->hide();
        return;
    }
    strip->setGeometry(x(), y() + height(), width(), depth);
    strip->raise();
    strip->setVisible(isVisible());
}

void VRNResizingTextView::updateShadowGradient() {
    auto* strip = static_cast<ShadowStrip*>(shadowGradientView_.data());
    if (!strip) {
        return;
    }
    QLinearGradient mask(0, 0, 0, 1);
    mask.setCoordinateMode(QGradient::ObjectBoundingMode);
    mask.setColorAt(0.0, QColor::fromRgbF(34 / 255.0f, 75 / 255.0f, 129 / 255.0f, 1.0f));
    mask.setColorAt(1.0, Qt::transparent);
    strip->setShade(mask, kShadowAlpha);
}

void VRNResizingTextView::scrollViewDidScroll(QAbstractScrollArea* scrollView) {
    if (!scrollView || qobject_cast<QPlainTextEdit*>(scrollView) ||
        qobject_cast<QTextEdit*>(scrollView)) {
        return;
    }
    // A Qt scroll area stops at its top: being there ends the shadow.
    shadowHeight_ = VRNShadowDepth::depthAfterScroll(
        shadowHeight_, scrollView->verticalScrollBar()->value(), false);
    layoutShadow();
    updateShadowGradient();
}

void VRNResizingTextView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    layoutTextView();
    if (width() != measuredWidth_) {
        measuredWidth_ = width();
        textViewDidChange(textView_);
    }
    layoutShadow();
}

void VRNResizingTextView::moveEvent(QMoveEvent* event) {
    QWidget::moveEvent(event);
    layoutShadow();
}

bool VRNResizingTextView::event(QEvent* event) {
    switch (event->type()) {
        case QEvent::ParentChange:
            if (shadowGradientView_) {
                shadowGradientView_->setParent(parentWidget() ? parentWidget() : this);
            }
            layoutShadow();
            break;
        case QEvent::Show:
        case QEvent::Hide:
            layoutShadow();
            break;
        default:
            break;
    }
    return QWidget::event(event);
}

}  // namespace vorna
