#include "qt/flow/AttachmentCollectionView.h"

#include <QLabel>
#include <QScrollArea>

#include "qt/flow/VRNImageAttachmentCell.h"
#include "qt/flow/VRNScreenStyle.h"
#include "qt/platform/VRNQtImage.h"
#include "theme/Colors.h"

namespace vorna {
namespace {

constexpr int kSeparatorHeight = 1;
constexpr int kTitleTop = 20;  // below the top separator
constexpr int kTitleHeight = 35;
constexpr double kTitleWidthShare = 0.8;
constexpr int kRowHeight = 180;
constexpr QSize kItemSize(100, 160);
constexpr int kRowBottomMargin = 30;  // above the bottom separator
constexpr int kHeight =
    kSeparatorHeight + kTitleTop + kTitleHeight + kRowHeight + kRowBottomMargin + kSeparatorHeight;

}  // namespace

AttachmentCollectionView::AttachmentCollectionView(QWidget* parent) : QWidget(parent) {
    commonSetup();
}

void AttachmentCollectionView::commonSetup() {
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    const QColor separator = VRNScreenStyle::color(Colors::paleGrayColor());
    topSeparatorView_ = new QWidget(this);
    VRNScreenStyle::setFillColor(topSeparatorView_, separator);
    bottomSeparatorView_ = new QWidget(this);
    VRNScreenStyle::setFillColor(bottomSeparatorView_, separator);

    titleLabel_ = new QLabel(VRNScreenStyle::localized("Attachment"), this);
    titleLabel_->setFont(VRNScreenStyle::boldFont(20));
    VRNScreenStyle::setTextColor(titleLabel_, VRNScreenStyle::color(Colors::black()));

    collectionView_ = new QScrollArea(this);
    collectionView_->setFrameShape(QFrame::NoFrame);
    collectionView_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    collectionView_->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    collectionView_->setWidgetResizable(false);
    VRNScreenStyle::setFillColor(collectionView_->viewport(), Qt::white);
    itemsView_ = new QWidget();
    VRNScreenStyle::setFillColor(itemsView_, Qt::white);
    collectionView_->setWidget(itemsView_);
    layoutCells();
}

void AttachmentCollectionView::setTopSeparatorWidthShare(double share) {
    topSeparatorWidthShare_ = share;
    layoutSubviews();
}

void AttachmentCollectionView::setAttachments(const std::vector<VRNImage>& attachments) {
    for (VRNImageAttachmentCell* cell : cells_) {
        delete cell;
    }
    cells_.clear();
    for (const VRNImage& attachment : attachments) {
        auto* cell = new VRNImageAttachmentCell(itemsView_);
        cell->setObjectName(QStringLiteral("VRNImageAttachmentCell"));
        cell->setImage(VRNQtImage::toQImage(attachment));
        cell->show();
        cells_.push_back(cell);
    }
    layoutCells();
}

VRNImageAttachmentCell* AttachmentCollectionView::cellAt(int index) const {
    return index >= 0 && index < numberOfItems() ? cells_[static_cast<size_t>(index)] : nullptr;
}

void AttachmentCollectionView::layoutCells() {
    // Side by side with no space between; a cell shorter than the row sits in its middle.
    const int top = (kRowHeight - kItemSize.height()) / 2;
    for (size_t i = 0; i < cells_.size(); ++i) {
        cells_[i]->setGeometry(
            QRect(QPoint(static_cast<int>(i) * kItemSize.width(), top), kItemSize));
    }
    itemsView_->resize(numberOfItems() * kItemSize.width(), kRowHeight);
}

QSize AttachmentCollectionView::sizeHint() const {
    return QSize(375, kHeight);
}

void AttachmentCollectionView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    layoutSubviews();
}

void AttachmentCollectionView::layoutSubviews() {
    const int w = width();
    topSeparatorView_->setGeometry(
        VRNScreenStyle::centredRect(w, topSeparatorWidthShare_, 0, kSeparatorHeight));
    const int titleY = kSeparatorHeight + kTitleTop;
    titleLabel_->setGeometry(
        VRNScreenStyle::centredRect(w, kTitleWidthShare, titleY, kTitleHeight));
    const int rowY = titleY + kTitleHeight;
    collectionView_->setGeometry(0, rowY, w, kRowHeight);
    bottomSeparatorView_->setGeometry(0, rowY + kRowHeight + kRowBottomMargin, w, kSeparatorHeight);
}

}  // namespace vorna
