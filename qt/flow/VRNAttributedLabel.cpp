#include "qt/flow/VRNAttributedLabel.h"

#include <QAbstractTextDocumentLayout>
#include <QEvent>
#include <QPainter>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextObjectInterface>

#include <cmath>

namespace vorna {
namespace {

constexpr int kAttachmentObject = QTextFormat::UserObject + 1;
constexpr int kAttachmentIndex = QTextFormat::UserProperty + 1;

// Lays out and draws the label's images. Qt sets an inline object on the baseline with the
// height it is given above it, so the object is given the part of the image above the
// baseline, and the image is drawn from the baseline by its bounds.
class AttachmentHandler : public QObject, public QTextObjectInterface {
    Q_OBJECT
    Q_INTERFACES(QTextObjectInterface)

public:
    AttachmentHandler(std::vector<VRNAttributedLabel::Attachment>& attachments, QObject* parent)
        : QObject(parent), attachments_(attachments) {}

    QSizeF intrinsicSize(QTextDocument*, int, const QTextFormat& format) override {
        const auto* attachment = find(format);
        if (!attachment) {
            return QSizeF();
        }
        const QRectF& bounds = attachment->bounds;
        return QSizeF(bounds.width(), std::max(0.0, bounds.y() + bounds.height()));
    }

    void drawObject(QPainter* painter, const QRectF& rect, QTextDocument*, int,
                    const QTextFormat& format) override {
        auto* attachment = find(format);
        if (!attachment) {
            return;
        }
        // The object has no descent: its rectangle ends on the baseline.
        const double baseline = rect.bottom();
        const QRectF& bounds = attachment->bounds;
        attachment->frame =
            QRectF(rect.left() + bounds.x(), baseline - bounds.y() - bounds.height(),
                   bounds.width(), bounds.height());
        painter->drawPixmap(attachment->frame, attachment->image, QRectF(attachment->image.rect()));
    }

private:
    VRNAttributedLabel::Attachment* find(const QTextFormat& format) {
        const int index = format.intProperty(kAttachmentIndex);
        if (index < 0 || static_cast<size_t>(index) >= attachments_.size()) {
            return nullptr;
        }
        return &attachments_[static_cast<size_t>(index)];
    }

    std::vector<VRNAttributedLabel::Attachment>& attachments_;
};

}  // namespace

VRNAttributedLabel::VRNAttributedLabel(QWidget* parent)
    : QWidget(parent), document_(new QTextDocument(this)) {
    document_->setDocumentMargin(0);
    document_->setUndoRedoEnabled(false);
    document_->documentLayout()->registerHandler(kAttachmentObject,
                                                 new AttachmentHandler(attachments_, this));
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    rebuild();
}

VRNAttributedLabel::~VRNAttributedLabel() = default;

void VRNAttributedLabel::appendText(const QString& text) {
    runs_.push_back(Run{text, -1});
    rebuild();
}

void VRNAttributedLabel::appendImage(const QPixmap& image, const QRectF& bounds) {
    attachments_.push_back(Attachment{image, bounds, QRectF()});
    runs_.push_back(Run{QString(), static_cast<int>(attachments_.size()) - 1});
    rebuild();
}

void VRNAttributedLabel::clear() {
    runs_.clear();
    attachments_.clear();
    rebuild();
}

QString VRNAttributedLabel::text() const {
    return document_->toPlainText();
}

void VRNAttributedLabel::setTextColor(const QColor& color) {
    textColor_ = color;
    rebuild();
}

void VRNAttributedLabel::setAlignment(Qt::Alignment alignment) {
    alignment_ = alignment;
    rebuild();
}

void VRNAttributedLabel::setLineSpacing(double spacing) {
    lineSpacing_ = spacing;
    rebuild();
}

void VRNAttributedLabel::rebuild() {
    document_->clear();
    document_->setDefaultFont(font());
    QTextCursor cursor(document_);
    QTextBlockFormat block;
    block.setAlignment(alignment_);
    block.setLineHeight(lineSpacing_, QTextBlockFormat::LineDistanceHeight);
    cursor.setBlockFormat(block);
    QTextCharFormat text;
    text.setFont(font());
    text.setForeground(textColor_);
    for (const Run& run : runs_) {
        if (run.attachment < 0) {
            cursor.insertText(run.text, text);
            continue;
        }
        QTextCharFormat object = text;
        object.setObjectType(kAttachmentObject);
        object.setProperty(kAttachmentIndex, run.attachment);
        cursor.insertText(QString(QChar::ObjectReplacementCharacter), object);
    }
    updateGeometry();
    update();
}

void VRNAttributedLabel::layOut(double w) const {
    if (document_->textWidth() != w) {
        document_->setTextWidth(w);
    }
}

int VRNAttributedLabel::heightForWidth(int w) const {
    layOut(w);
    const int h = static_cast<int>(std::ceil(document_->size().height()));
    layOut(width());
    return h;
}

QSize VRNAttributedLabel::sizeHint() const {
    layOut(-1);
    const int natural = static_cast<int>(std::ceil(document_->idealWidth()));
    layOut(width());
    return QSize(natural, heightForWidth(natural));
}

QSize VRNAttributedLabel::minimumSizeHint() const {
    // Its height follows its width (heightForWidth); a minimum taken at the width it happens to
    // have would hold a layout to a stale height.
    return QSize(0, 0);
}

void VRNAttributedLabel::paintEvent(QPaintEvent*) {
    layOut(width());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    QAbstractTextDocumentLayout::PaintContext context;
    context.palette = palette();
    context.palette.setColor(QPalette::Text, textColor_);
    document_->documentLayout()->draw(&painter, context);
}

void VRNAttributedLabel::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        rebuild();
    }
}

}  // namespace vorna

#include "VRNAttributedLabel.moc"
