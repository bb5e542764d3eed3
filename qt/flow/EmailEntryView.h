#pragma once

#include <QWidget>

class QLabel;
class QLineEdit;

namespace vorna {

// The optional e-mail address on the compose screen: a separator (0.8 of the width), 20
// points below it the address field ("Your email"), and 15 points below that a note that the
// address is optional. Field and note are 0.8 of the width, centred; the note's bottom is the
// view's bottom.
class EmailEntryView : public QWidget {
    Q_OBJECT

public:
    explicit EmailEntryView(QWidget* parent = nullptr);

    QLineEdit* textField() const { return textField_; }
    QLabel* detailLabel() const { return detailLabel_; }
    QWidget* separatorView() const { return separatorView_; }

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void commonSetup();

    QLineEdit* textField_ = nullptr;
    QLabel* detailLabel_ = nullptr;
    QWidget* separatorView_ = nullptr;
};

}  // namespace vorna
