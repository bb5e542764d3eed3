#include "qt/flow/VRNInspectBugVC.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QScrollBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

#include "flow/VRNInspectBugVM.h"
#include "qt/flow/VRNCardScreenParts.h"
#include "qt/flow/VRNColumnLayout.h"
#include "qt/flow/VRNNavigationStack.h"
#include "qt/flow/VRNScreenStyle.h"
#include "qt/theme/VRNKitImages.h"
#include "theme/Colors.h"
#include "theme/VRNBranding.h"

namespace vorna {
namespace {

constexpr int kFirstRowTop = 6;
constexpr int kRowSpacing = 20;
constexpr int kPermissionsTop = 20;
constexpr int kQuickFactsTop = 30;
// Below the column's end, so that its last line does not sit on the screen's edge.
constexpr int kColumnBottomInset = 30;

// The facts in the order the screen shows them, with their titles as written (in capitals)
// and the line each row draws under its value. "OS" is the same in every language.
struct Essential {
    const char* title;
    bool translated;
    std::string (VRNInspectBugVM::*value)() const;
    int separatorStyle;
};

const Essential kEssentials[] = {
    {"OS", false, &VRNInspectBugVM::osVersion, 1},
    {"APP VERSION", true, &VRNInspectBugVM::appVersion, 1},
    {"NETWORK", true, &VRNInspectBugVM::network, 1},
    {"CURRENT VIEW", true, &VRNInspectBugVM::currentView, 4},
    {"LOCALE", true, &VRNInspectBugVM::locale, 4},
    {"AVAILABLE MEMORY", true, &VRNInspectBugVM::availableMemory, 1},
    {"AVAILABLE STORAGE", true, &VRNInspectBugVM::availableStorage, 4},
    {"RESOLUTION", true, &VRNInspectBugVM::resolution, 2},
};

QString text(const std::string& value) {
    return QString::fromStdString(value);
}

}  // namespace

VRNInspectBugVC::VRNInspectBugVC(std::shared_ptr<VRNInspectBugVM> viewModel,
                                 std::shared_ptr<const VRNBranding> branding)
    : viewModel_(std::move(viewModel)), branding_(std::move(branding)) {
    if (viewModel_) {
        for (const std::string& name : viewModel_->grantedPermissions()) {
            grantedPermissions_.append(text(name));
        }
    }
}

VRNInspectBugVC::~VRNInspectBugVC() {
    // The view goes after this part of the screen: a scrolled column that resets its offset
    // while it is taken down must not reach the header through it.
    if (scrollView_) {
        scrollView_->verticalScrollBar()->disconnect(this);
    }
}

QWidget* VRNInspectBugVC::loadView() {
    auto* view = new QWidget();
    view->setObjectName(QStringLiteral("VRNInspectBugVC"));
    view->setAutoFillBackground(true);
    return view;
}

void VRNInspectBugVC::viewDidLoad() {
    VRNViewController::viewDidLoad();
    setUpNavigationBar();
    setupViews();
    connect(scrollView_->verticalScrollBar(), &QScrollBar::valueChanged, this,
            &VRNInspectBugVC::scrollViewDidScroll);
    updateViewBranding();
}

void VRNInspectBugVC::setUpNavigationBar() {
    const QColor white = VRNScreenStyle::color(Colors::whiteColor());
    setTitleView(VRNCardScreenParts::titleView(VRNScreenStyle::localized("Inspect bug")));

    const QColor tint = navigationController() ? navigationController()->barTintColor() : white;
    auto* back = VRNCardScreenParts::backButton(tint, view()->devicePixelRatioF());
    connect(back, &QToolButton::clicked, this, &VRNInspectBugVC::backButtonAction);
    setLeftBarButton(back);
}

void VRNInspectBugVC::setupViews() {
    auto* container = new VRNRoundedCard(kCornerRadius, view());
    containerView_ = container;
    QPalette card = container->palette();
    card.setColor(QPalette::Window, Qt::white);
    container->setPalette(card);
    auto* stack = new QVBoxLayout(container);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(0);

    // The header stays while the column scrolls beneath its shadow.
    headerTextView_ = new VRNResizingTextView(container);
    VRNCustomControlTextView* header = headerTextView_->textView();
    header->setFont(VRNScreenStyle::semiBoldFont(20));
    header->setTextColor(VRNScreenStyle::color(Colors::black()));
    header->setText(VRNScreenStyle::localized("Essentials"));
    header->setReadOnly(true);
    header->setScrollEnabled(false);
    header->setTextInteractionFlags(Qt::NoTextInteraction);
    header->setFocusPolicy(Qt::NoFocus);
    stack->addWidget(headerTextView_);

    scrollView_ = new QScrollArea(container);
    scrollView_->setFrameShape(QFrame::NoFrame);
    scrollView_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scrollView_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scrollView_->setWidgetResizable(true);
    scrollView_->viewport()->setAutoFillBackground(false);
    stack->addWidget(scrollView_, 1);

    auto* scrolled = new QWidget();
    scrolled->setAutoFillBackground(false);
    auto* inset = new VRNColumnLayout(scrolled);
    inset->setContentsMargins(0, 0, 0, kColumnBottomInset);
    contentView_ = new QWidget(scrolled);
    inset->addWidget(contentView_);
    auto* column = new VRNColumnLayout(contentView_);

    for (const Essential& essential : kEssentials) {
        auto* row = new TitledLabelView(essential.separatorStyle, contentView_);
        row->titleLabel()->setText(essential.translated ? VRNScreenStyle::localized(essential.title)
                                                        : QString::fromLatin1(essential.title));
        if (viewModel_) {
            row->detailLabel()->setText(text(((*viewModel_).*essential.value)()));
        }
        column->addWidget(row, 1.0, rows_.empty() ? kFirstRowTop : kRowSpacing);
        rows_.emplace_back(row);
    }

    // Right under the last fact: the strip opens with its own line.
    attachementCollectionView_ = new AttachmentCollectionView(contentView_);
    if (viewModel_) {
        attachementCollectionView_->setAttachments(viewModel_->attachments());
    }
    column->addWidget(attachementCollectionView_);

    grantedPermissionsView_ = new GrantedPermissionsView(grantedPermissions_, contentView_);
    column->addWidget(grantedPermissionsView_, 1.0, kPermissionsTop);

    quickFactsView_ =
        new QuickFactsView(viewModel_ ? text(viewModel_->quickFacts()) : QString(), contentView_);
    column->addWidget(quickFactsView_, 1.0, kQuickFactsTop);

    scrollView_->setWidget(scrolled);
}

void VRNInspectBugVC::updateViewBranding() {
    const VRNBranding fallback;
    const VRNBranding& branding = branding_ ? *branding_ : fallback;
    QPalette palette = view()->palette();
    palette.setColor(QPalette::Window, VRNScreenStyle::color(branding.backgroundColor()));
    view()->setPalette(palette);
    // The bar's own title text would take the branding's text colour in bold 18; this screen
    // shows its title in a view of its own, so there is no such text to style.
}

void VRNInspectBugVC::viewDidLayoutSubviews() {
    VRNViewController::viewDidLayoutSubviews();
    if (!containerView_) {
        return;
    }
    const int top = static_cast<int>(safeAreaTop()) + kContainerTopGap;
    containerView_->setGeometry(0, top, view()->width(), std::max(0, view()->height() - top));
    setupLayerCorners();
}

void VRNInspectBugVC::setupLayerCorners() {
    static_cast<VRNRoundedCard*>(containerView_.data())->updateShape();
}

void VRNInspectBugVC::backButtonAction() {
    if (VRNNavigationStack* stack = navigationController()) {
        stack->popViewControllerAnimated(true);
    }
}

void VRNInspectBugVC::scrollViewDidScroll() {
    if (headerTextView_ && scrollView_) {
        headerTextView_->scrollViewDidScroll(scrollView_);
    }
}

}  // namespace vorna
