#include "qt/flow/VRNReportComposeViewController.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

#include "qt/flow/AttachmentCollectionView.h"
#include "qt/flow/EmailEntryView.h"
#include "qt/flow/InspectBugControl.h"
#include "qt/flow/LabeledHyperlinkView.h"
#include "qt/flow/VRNCardScreenParts.h"
#include "qt/flow/VRNNavigationStack.h"
#include "qt/flow/VRNResizingTextView.h"
#include "qt/flow/VRNScreenStyle.h"
#include "qt/theme/VRNKitImages.h"
#include "theme/Colors.h"

namespace vorna {
namespace {

constexpr int kContentSpacing = 20;
constexpr double kCornerRadius = 15.0;
constexpr int kBarButtonSide = 44;
// Between the bar and the card, so that the title stands free of it.
constexpr int kContainerTopGap = 10;

}  // namespace

VRNReportComposeViewController::VRNReportComposeViewController(
    std::shared_ptr<VRNReportComposeVMProtocol> viewModel)
    : viewModel_(std::move(viewModel)) {
    if (viewModel_) {
        viewModel_->setBrandingRefresCallback([self = QPointer(this)] {
            if (self) {
                self->updateViewBranding();
            }
        });
    }
}

VRNReportComposeViewController::~VRNReportComposeViewController() {
    if (viewModel_) {
        viewModel_->setBrandingRefresCallback(nullptr);
    }
    if (scrollView_) {
        scrollView_->viewport()->removeEventFilter(this);
    }
    if (contentView_) {
        contentView_->removeEventFilter(this);
    }
}

QWidget* VRNReportComposeViewController::loadView() {
    auto* view = new QWidget();
    view->setObjectName(QStringLiteral("VRNReportComposeViewController"));
    view->setAutoFillBackground(true);
    return view;
}

void VRNReportComposeViewController::viewDidLoad() {
    setupViews();
    updateViewBranding();
    setupNavigationBar();
    if (viewModel_ && viewModel_->bugDescription()) {
        VRNCustomControlTextView* textView = resizingTextView_->textView();
        textView->setTextColor(VRNScreenStyle::color(Colors::black()));
        textView->setText(QString::fromStdString(*viewModel_->bugDescription()));
    }
    // A tap on the column ends editing; controls in it keep their own clicks.
    scrollView_->viewport()->installEventFilter(this);
    contentView_->installEventFilter(this);
    // Tied to the field, which goes before the column when the card goes: a column being taken
    // apart reports nothing to it.
    connect(scrollView_->verticalScrollBar(), &QScrollBar::valueChanged, resizingTextView_,
            [this] { scrollViewDidScroll(); });
    scrollView_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
}

void VRNReportComposeViewController::setupViews() {
    auto* container = new VRNRoundedCard(kCornerRadius, view());
    containerView_ = container;
    // What is drawn on the card stands on white, whatever the screen's background.
    QPalette card = container->palette();
    card.setColor(QPalette::Window, Qt::white);
    container->setPalette(card);
    auto* column = new QVBoxLayout(container);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);

    resizingTextView_ = new VRNResizingTextView(container);
    column->addWidget(resizingTextView_);

    scrollView_ = new QScrollArea(container);
    scrollView_->setFrameShape(QFrame::NoFrame);
    scrollView_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scrollView_->setWidgetResizable(true);
    scrollView_->viewport()->setAutoFillBackground(false);
    column->addWidget(scrollView_, 1);

    contentView_ = new QWidget();
    contentView_->setAutoFillBackground(false);
    auto* content = new QVBoxLayout(contentView_);
    content->setContentsMargins(0, 0, 0, 0);
    content->setSpacing(0);

    emailView_ = new EmailEntryView(contentView_);
    if (viewModel_ && viewModel_->emailAddress()) {
        emailView_->textField()->setText(QString::fromStdString(*viewModel_->emailAddress()));
    }
    content->addWidget(emailView_);
    content->addSpacing(kContentSpacing);

    attachmentView_ = new AttachmentCollectionView(contentView_);
    attachmentView_->setTopSeparatorWidthShare(0.8);
    if (viewModel_) {
        attachmentView_->setAttachments(viewModel_->attachments());
    }
    content->addWidget(attachmentView_);
    content->addSpacing(kContentSpacing);

    inspectControl_ = new InspectBugControl(contentView_);
    connect(inspectControl_, &QAbstractButton::clicked, this,
            &VRNReportComposeViewController::inspectButtonPressed);
    content->addWidget(inspectControl_);
    content->addSpacing(kContentSpacing);

    hyperlinkView_ = new LabeledHyperlinkView(contentView_);
    content->addWidget(hyperlinkView_);
    content->addStretch(1);
    scrollView_->setWidget(contentView_);
}

void VRNReportComposeViewController::setupNavigationBar() {
    const QColor white = VRNScreenStyle::color(Colors::whiteColor());

    auto* submit = new QPushButton(VRNScreenStyle::localized("Submit"));
    submit->setObjectName(QStringLiteral("submitButton"));
    submit->setFont(VRNScreenStyle::semiBoldFont(16));
    submit->setCursor(Qt::PointingHandCursor);
    submit->setFocusPolicy(Qt::NoFocus);
    submit->setStyleSheet(
        QStringLiteral("QPushButton { color: white; background: transparent; border: none; "
                       "padding: 0 8px; min-height: %1px; }"
                       "QPushButton:pressed { color: rgba(255, 255, 255, 128); }")
            .arg(kBarButtonSide));
    connect(submit, &QPushButton::clicked, this,
            &VRNReportComposeViewController::submitButtonPressed);
    setRightBarButton(submit);

    const QColor tint = navigationController() ? navigationController()->barTintColor() : white;
    auto* back = VRNCardScreenParts::backButton(tint, view()->devicePixelRatioF());
    connect(back, &QToolButton::clicked, this, &VRNReportComposeViewController::backButtonAction);
    setLeftBarButton(back);

    setTitleView(VRNCardScreenParts::titleView(VRNScreenStyle::localized("Wrap-up")));
}

void VRNReportComposeViewController::updateViewBranding() {
    if (!isViewLoaded()) {
        return;
    }
    QPalette palette = view()->palette();
    palette.setColor(QPalette::Window, VRNScreenStyle::color(Colors::defaultDarkBlueColor()));
    view()->setPalette(palette);
}

void VRNReportComposeViewController::viewDidAppear(bool animated) {
    VRNViewController::viewDidAppear(animated);
    if (resizingTextView_) {
        resizingTextView_->textView()->setFocus(Qt::OtherFocusReason);
    }
}

void VRNReportComposeViewController::viewDidLayoutSubviews() {
    VRNViewController::viewDidLayoutSubviews();
    if (!containerView_) {
        return;
    }
    const int top = static_cast<int>(safeAreaTop()) + kContainerTopGap;
    containerView_->setGeometry(0, top, view()->width(), std::max(0, view()->height() - top));
    setupLayerCorners();
}

void VRNReportComposeViewController::setupLayerCorners() {
    static_cast<VRNRoundedCard*>(containerView_.data())->updateShape();
}

void VRNReportComposeViewController::submitButtonPressed() {
    if (!viewModel_ || !resizingTextView_ || !emailView_) {
        return;
    }
    // As they stand: an untouched e-mail field is an empty address, not a missing one.
    viewModel_->didPressSubmitButton(resizingTextView_->textView()->text().toStdString(),
                                     emailView_->textField()->text().toStdString());
}

void VRNReportComposeViewController::backButtonAction() {
    if (viewModel_ && resizingTextView_) {
        // The placeholder as written, not as translated: a translated sentence goes back as a
        // description.
        const std::string text = resizingTextView_->textView()->text().toStdString();
        viewModel_->didPressBackButton(
            text == kVRNDescriptionPlaceholder ? std::nullopt : std::optional<std::string>(text));
    }
    if (VRNNavigationStack* stack = navigationController()) {
        stack->popViewControllerAnimated(true);
    }
}

void VRNReportComposeViewController::inspectButtonPressed() {
    if (viewModel_) {
        viewModel_->didPressInspectButton();
    }
}

void VRNReportComposeViewController::resignFirstResponders() {
    QWidget* focused = QApplication::focusWidget();
    if (focused && isViewLoaded() && view()->isAncestorOf(focused)) {
        focused->clearFocus();
    }
}

void VRNReportComposeViewController::scrollViewDidScroll() {
    if (resizingTextView_ && scrollView_) {
        resizingTextView_->scrollViewDidScroll(scrollView_);
    }
}

bool VRNReportComposeViewController::eventFilter(QObject* watched, QEvent* event) {
    // The event's type first: the column's widgets also report their own going, when they are
    // no longer what their pointers say.
    if (event->type() == QEvent::MouseButtonRelease &&
        static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton &&
        ((scrollView_ && watched == scrollView_->viewport()) || watched == contentView_)) {
        resignFirstResponders();
    }
    return VRNViewController::eventFilter(watched, event);
}

}  // namespace vorna
