#include "qt/flow/LabeledHyperlinkView.h"

#include <QDesktopServices>
#include <QHBoxLayout>
#include <QLabel>
#include <QUrl>

#include <algorithm>

#include "qt/flow/VRNScreenStyle.h"
#include "state/VRNInfoPlist.h"
#include "theme/Colors.h"

namespace vorna {
namespace {

constexpr double kSeparatorWidthShare = 0.8;
constexpr int kStackTop = 20;  // below the separator
constexpr int kStackSpacing = 2;

}  // namespace

LabeledHyperlinkView::LabeledHyperlinkView(QWidget* parent) : QWidget(parent) {
    commonSetup();
}

void LabeledHyperlinkView::commonSetup() {
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    helpUrl_ = QString::fromStdString(VRNInfoPlist().helpUrl().value_or(std::string()));

    separatorView_ = new QWidget(this);
    VRNScreenStyle::setFillColor(separatorView_, VRNScreenStyle::color(Colors::paleGrayColor()));

    stack_ = new QWidget(this);
    auto* row = new QHBoxLayout(stack_);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(kStackSpacing);
    questionLabel_ = new QLabel(VRNScreenStyle::localized("How to report better bugs?"), stack_);
    questionLabel_->setFont(VRNScreenStyle::regularFont(15));
    VRNScreenStyle::setTextColor(questionLabel_, VRNScreenStyle::color(Colors::regularGrayColor()));
    row->addWidget(questionLabel_);

    const QColor linkColor = VRNScreenStyle::color(Colors::defaultLightBlue());
    linkView_ = new QLabel(stack_);
    linkView_->setFont(VRNScreenStyle::semiBoldFont(15));
    linkView_->setTextFormat(Qt::RichText);
    linkView_->setText(QStringLiteral("<a href=\"%1\" style=\"color: %2; text-decoration: none;\">"
                                      "%3</a>")
                           .arg(helpUrl_.toHtmlEscaped(), linkColor.name(),
                                VRNScreenStyle::localized("Read here").toHtmlEscaped()));
    linkView_->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    linkView_->setOpenExternalLinks(false);
    QPalette palette = linkView_->palette();
    palette.setColor(QPalette::Link, linkColor);
    linkView_->setPalette(palette);
    connect(linkView_, &QLabel::linkActivated, this, [this] { openHelpPage(); });
    row->addWidget(linkView_);
}

void LabeledHyperlinkView::openHelpPage() {
    const QUrl url(helpUrl_);
    if (url.isValid() && !url.isEmpty()) {
        QDesktopServices::openUrl(url);
    }
}

QSize LabeledHyperlinkView::sizeHint() const {
    return QSize(std::max(375, stack_->sizeHint().width()),
                 1 + kStackTop + stack_->sizeHint().height());
}

void LabeledHyperlinkView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    separatorView_->setGeometry(VRNScreenStyle::centredRect(width(), kSeparatorWidthShare, 0, 1));
    // The question and its link sit together in the middle of the row.
    const QSize stack = stack_->sizeHint();
    stack_->setGeometry((width() - stack.width()) / 2, 1 + kStackTop, stack.width(),
                        stack.height());
}

}  // namespace vorna
