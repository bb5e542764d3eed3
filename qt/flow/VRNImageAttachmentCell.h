#pragma once

#include <QImage>
#include <QWidget>

#include <functional>

namespace vorna {

class LargerTappableButton;

// One attachment in the attachment strip: the picture (80 × 140 points, aspect fit, at the
// cell's leading and bottom edges) and a round delete button at its top trailing corner. The
// button stays hidden and does nothing: attachments cannot be removed from the report here.
class VRNImageAttachmentCell : public QWidget {
    Q_OBJECT

public:
    static constexpr double ROUND_DELETE_BUTTON_DIMENSION = 20.0;

    explicit VRNImageAttachmentCell(QWidget* parent = nullptr);

    QWidget* imageView() const { return imageView_; }
    LargerTappableButton* deleteButton() const { return deleteButton_; }
    // The picture shown.
    QImage image() const;
    void setImage(const QImage& image);

    void setOnDidPressDeleteButton(std::function<void()> callback) {
        onDidPressDeleteButton_ = std::move(callback);
    }

    void deleteButtonPressed();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void commonSetup();

    QWidget* imageView_ = nullptr;
    LargerTappableButton* deleteButton_ = nullptr;
    std::function<void()> onDidPressDeleteButton_;
};

}  // namespace vorna
