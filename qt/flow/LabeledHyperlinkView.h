#pragma once

#include <QString>
#include <QWidget>

class QLabel;

namespace vorna {

// The help row: a separator (0.8 of the width), and 20 points below it "How to report better
// bugs?" followed by the link "Read here", which opens the help page in the browser. The help
// page's address is configuration (the host's "HelpURL", else the backend's page).
class LabeledHyperlinkView : public QWidget {
    Q_OBJECT

public:
    explicit LabeledHyperlinkView(QWidget* parent = nullptr);

    QLabel* questionLabel() const { return questionLabel_; }
    // The link, a read-only text that only follows its link.
    QLabel* linkView() const { return linkView_; }
    QWidget* separatorView() const { return separatorView_; }
    // The address "Read here" opens; empty when none is configured.
    QString helpUrl() const { return helpUrl_; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void commonSetup();
    void openHelpPage();

    QWidget* separatorView_ = nullptr;
    QWidget* stack_ = nullptr;
    QLabel* questionLabel_ = nullptr;
    QLabel* linkView_ = nullptr;
    QString helpUrl_;
};

}  // namespace vorna
