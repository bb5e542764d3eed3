#pragma once

#include <QColor>
#include <QPixmap>
#include <QRectF>
#include <QString>
#include <QWidget>

#include <vector>

class QTextDocument;

namespace vorna {

// A label for text with pictures among its words, as a phone's attributed text with image
// attachments: runs of text and images in one font and colour, with extra space between the
// lines, wrapped at the label's width and as tall as its text needs. Each image is placed by
// its bounds as an attachment is: x from the pen position, y upward from the baseline, its
// width and height. The part of an image below the baseline lies in the line's descent.
class VRNAttributedLabel : public QWidget {
    Q_OBJECT

public:
    // An image among the words: `bounds` as given, `frame` where it was drawn the last time
    // the label painted, in the label's coordinates (empty before).
    struct Attachment {
        QPixmap image;
        QRectF bounds;
        QRectF frame;
    };

    explicit VRNAttributedLabel(QWidget* parent = nullptr);
    ~VRNAttributedLabel() override;

    void appendText(const QString& text);
    void appendImage(const QPixmap& image, const QRectF& bounds);
    void clear();

    // The text, each image standing as U+FFFC (the object replacement character).
    QString text() const;
    QColor textColor() const { return textColor_; }
    void setTextColor(const QColor& color);
    Qt::Alignment alignment() const { return alignment_; }
    void setAlignment(Qt::Alignment alignment);
    // Points added between the lines of a paragraph.
    double lineSpacing() const { return lineSpacing_; }
    void setLineSpacing(double spacing);

    // The laid-out text, at the label's width.
    const QTextDocument* document() const { return document_; }
    // In the order they were appended.
    const std::vector<Attachment>& attachments() const { return attachments_; }

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int w) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    struct Run {
        QString text;         // a run of text, or
        int attachment = -1;  // the index of an attachment
    };

    void rebuild();
    void layOut(double w) const;

    std::vector<Run> runs_;
    std::vector<Attachment> attachments_;
    QTextDocument* document_ = nullptr;
    QColor textColor_ = Qt::black;
    Qt::Alignment alignment_ = Qt::AlignLeft;
    double lineSpacing_ = 0;
};

}  // namespace vorna
