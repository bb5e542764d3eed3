#pragma once

#include <QWidget>

#include <vector>

#include "platform/VRNImage.h"

class QLabel;
class QScrollArea;

namespace vorna {

class VRNImageAttachmentCell;

// The report's attachments as a strip: a separator, the title "Attachment", a white row of
// pictures that scrolls sideways (180 points high, cells of 100 × 160 side by side), and a
// separator 30 points below the row. 267 points high in all.
class AttachmentCollectionView : public QWidget {
    Q_OBJECT

public:
    explicit AttachmentCollectionView(QWidget* parent = nullptr);

    QScrollArea* collectionView() const { return collectionView_; }
    QLabel* titleLabel() const { return titleLabel_; }
    QWidget* topSeparatorView() const { return topSeparatorView_; }
    QWidget* bottomSeparatorView() const { return bottomSeparatorView_; }

    // The top separator's width as a share of the strip's (all of it unless told otherwise).
    void setTopSeparatorWidthShare(double share);

    // One cell per picture, in order; the cells before are dropped.
    void setAttachments(const std::vector<VRNImage>& attachments);
    int numberOfItems() const { return static_cast<int>(cells_.size()); }
    VRNImageAttachmentCell* cellAt(int index) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void commonSetup();
    void layoutCells();
    void layoutSubviews();

    QScrollArea* collectionView_ = nullptr;
    QWidget* itemsView_ = nullptr;
    QLabel* titleLabel_ = nullptr;
    QWidget* topSeparatorView_ = nullptr;
    QWidget* bottomSeparatorView_ = nullptr;
    std::vector<VRNImageAttachmentCell*> cells_;
    double topSeparatorWidthShare_ = 1.0;
};

}  // namespace vorna
