#include "qt/flow/VRNColumnLayout.h"

#include <QWidget>

#include <algorithm>
#include <cmath>

namespace vorna {

VRNColumnLayout::VRNColumnLayout(QWidget* parent) : QLayout(parent) {
    setContentsMargins(0, 0, 0, 0);
}

VRNColumnLayout::~VRNColumnLayout() {
    while (QLayoutItem* item = takeAt(0)) {
        delete item;
    }
}

void VRNColumnLayout::addWidget(QWidget* widget, double widthFraction, int gapAbove) {
    addChildWidget(widget);
    entries_.append(Entry{new QWidgetItem(widget), widthFraction, gapAbove});
    invalidate();
}

void VRNColumnLayout::addItem(QLayoutItem* item) {
    entries_.append(Entry{item, 1.0, 0});
    invalidate();
}

QLayoutItem* VRNColumnLayout::itemAt(int index) const {
    return index >= 0 && index < entries_.size() ? entries_[index].item : nullptr;
}

QLayoutItem* VRNColumnLayout::takeAt(int index) {
    if (index < 0 || index >= entries_.size()) {
        return nullptr;
    }
    QLayoutItem* item = entries_.takeAt(index).item;
    invalidate();
    return item;
}

int VRNColumnLayout::count() const {
    return static_cast<int>(entries_.size());
}

int VRNColumnLayout::itemWidth(const Entry& entry, int columnWidth) const {
    const int wanted = static_cast<int>(std::lround(columnWidth * entry.widthFraction));
    return std::clamp(wanted, 0, std::max(0, columnWidth));
}

int VRNColumnLayout::itemHeight(const Entry& entry, int itemWidth) {
    if (entry.item->hasHeightForWidth()) {
        return entry.item->heightForWidth(itemWidth);
    }
    return entry.item->sizeHint().height();
}

int VRNColumnLayout::heightForWidth(int width) const {
    const QMargins margins = contentsMargins();
    const int columnWidth = width - margins.left() - margins.right();
    int height = margins.top() + margins.bottom();
    for (const Entry& entry : entries_) {
        if (entry.item->isEmpty()) {
            continue;
        }
        height += entry.gapAbove + itemHeight(entry, itemWidth(entry, columnWidth));
    }
    return height;
}

QSize VRNColumnLayout::sizeHint() const {
    const QMargins margins = contentsMargins();
    int width = 0;
    for (const Entry& entry : entries_) {
        if (!entry.item->isEmpty() && entry.widthFraction > 0) {
            const int wanted = entry.item->sizeHint().width();
            width = std::max(width, static_cast<int>(std::ceil(wanted / entry.widthFraction)));
        }
    }
    width += margins.left() + margins.right();
    return QSize(width, heightForWidth(width));
}

QSize VRNColumnLayout::minimumSize() const {
    const QMargins margins = contentsMargins();
    return QSize(margins.left() + margins.right(), margins.top() + margins.bottom());
}

Qt::Orientations VRNColumnLayout::expandingDirections() const {
    return Qt::Horizontal;
}

void VRNColumnLayout::setGeometry(const QRect& rect) {
    QLayout::setGeometry(rect);
    const QRect column = rect.marginsRemoved(contentsMargins());
    int y = column.top();
    for (const Entry& entry : entries_) {
        if (entry.item->isEmpty()) {
            continue;
        }
        const int width = itemWidth(entry, column.width());
        const int height = itemHeight(entry, width);
        y += entry.gapAbove;
        entry.item->setGeometry(
            QRect(column.left() + (column.width() - width) / 2, y, width, height));
        y += height;
    }
}

}  // namespace vorna
