#pragma once

#include <QLayout>
#include <QList>

namespace vorna {

// Lays its items out top to bottom, each centred, as wide as a share of the column and as
// tall as it wants to be at that width, with a gap of its own above it: the stacked layouts
// of the flow's screens, whose parts are "0.8 of the width, 30 points below the one before".
// A hidden item that keeps its size when hidden (QSizePolicy::setRetainSizeWhenHidden) keeps
// its place; other hidden items and their gaps take none.
class VRNColumnLayout : public QLayout {
    Q_OBJECT

public:
    explicit VRNColumnLayout(QWidget* parent = nullptr);
    ~VRNColumnLayout() override;

    // `widthFraction` of the column's width (after its margins); `gapAbove` points between the
    // widget and the item above it (or the column's top).
    void addWidget(QWidget* widget, double widthFraction = 1.0, int gapAbove = 0);

    void addItem(QLayoutItem* item) override;
    QLayoutItem* itemAt(int index) const override;
    QLayoutItem* takeAt(int index) override;
    int count() const override;

    QSize sizeHint() const override;
    QSize minimumSize() const override;
    Qt::Orientations expandingDirections() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    void setGeometry(const QRect& rect) override;

private:
    struct Entry {
        QLayoutItem* item;
        double widthFraction;
        int gapAbove;
    };

    int itemWidth(const Entry& entry, int columnWidth) const;
    static int itemHeight(const Entry& entry, int itemWidth);

    QList<Entry> entries_;
};

}  // namespace vorna
