#include "qt/flow/VRNReportingDisabledPopupVC.h"

#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

#include "flow/VRNReportingDisabledPopupVM.h"
#include "platform/VRNDeviceProvider.h"
#include "qt/flow/VRNAttributedLabel.h"
#include "qt/flow/VRNScreenStyle.h"
#include "qt/theme/VRNKitImages.h"
#include "theme/Colors.h"

namespace vorna {
namespace {

constexpr double kCornerRadius = 15;
constexpr int kCardSideMargin = 20;  // from the view's edges to the card's
constexpr int kCardMaxWidth = 400;   // on a desktop-sized window
constexpr int kTopInset = 30;
constexpr int kSideInset = 20;
constexpr int kBottomInset = 10;
constexpr int kTitleToDescription = 16;
constexpr int kDescriptionToButton = 10;

// The veil over the screen beneath, holding the card in its middle.
class PopupBackdrop : public QWidget {
public:
    PopupBackdrop() { setAttribute(Qt::WA_NoSystemBackground); }

    QPointer<QWidget> card;

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter(this).fillRect(rect(), VRNScreenStyle::color(Colors::shadow()));
    }
    void resizeEvent(QResizeEvent*) override {
        if (!card) {
            return;
        }
        const int cardWidth = std::min(kCardMaxWidth, std::max(0, width() - 2 * kCardSideMargin));
        const int cardHeight = card->heightForWidth(cardWidth);
        card->setGeometry((width() - cardWidth) / 2, std::max(0, (height() - cardHeight) / 2),
                          cardWidth, cardHeight);
    }
};

// The white card with its rounded corners.
class PopupCard : public QWidget {
public:
    explicit PopupCard(QWidget* parent) : QWidget(parent) {}

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QPainterPath card;
        card.addRoundedRect(QRectF(rect()), kCornerRadius, kCornerRadius);
        painter.fillPath(card, VRNScreenStyle::color(Colors::whiteColor()));
    }
};

}  // namespace

VRNReportingDisabledPopupVC::VRNReportingDisabledPopupVC(
    std::shared_ptr<VRNReportingDisabledPopupVMProtocol> viewModel)
    : viewModel_(std::move(viewModel)) {}

VRNReportingDisabledPopupVC::~VRNReportingDisabledPopupVC() = default;

QWidget* VRNReportingDisabledPopupVC::loadView() {
    auto* backdrop = new PopupBackdrop();
    backdrop->setObjectName(QStringLiteral("VRNReportingDisabledPopupVC"));
    return backdrop;
}

void VRNReportingDisabledPopupVC::viewDidLoad() {
    VRNViewController::viewDidLoad();
    setupUI();
}

void VRNReportingDisabledPopupVC::setupUI() {
    auto* backdrop = static_cast<PopupBackdrop*>(view());
    auto* card = new PopupCard(backdrop);
    reportDisabledPopupView_ = card;
    backdrop->card = card;

    auto* title = new QLabel(VRNScreenStyle::localized("Reporting disabled"), card);
    titleLabel_ = title;
    title->setAlignment(Qt::AlignHCenter);
    title->setWordWrap(true);
    title->setFont(VRNScreenStyle::boldFont(26));
    VRNScreenStyle::setTextColor(title, VRNScreenStyle::color(Colors::black()));

    auto* description = new VRNAttributedLabel(card);
    descriptionLabel_ = description;
    const QFont descriptionFont = VRNScreenStyle::regularFont(18);
    description->setFont(descriptionFont);
    description->setTextColor(VRNScreenStyle::color(Colors::slate()));
    description->setAlignment(Qt::AlignHCenter);
    description->setLineSpacing(2);
    description->appendText(
        VRNScreenStyle::localized("App's administrator has disabled bug reporting for now "));
    // Centred on the capitals: half of what the owl is taller than they are goes below the
    // baseline.
    const double capHeight = QFontMetricsF(descriptionFont).capHeight();
    description->appendImage(
        VRNKitImages::imageNamed(QStringLiteral("owl"), kOwlSize,
                                 VRNDeviceProvider::current()->mainScreen().scale),
        QRectF(0, (capHeight - kOwlSize.height()) * 0.5, kOwlSize.width(), kOwlSize.height()));
    description->appendText(VRNScreenStyle::localized(" Try restarting the app or contact admin."));

    auto* dismiss = new QPushButton(VRNScreenStyle::localized("Dismiss"), card);
    dismissButton_ = dismiss;
    dismiss->setFont(VRNScreenStyle::boldFont(20));
    dismiss->setCursor(Qt::PointingHandCursor);
    const QColor tint = VRNScreenStyle::color(Colors::defaultLightBlue());
    // A text button: the tint is its title's colour, fainter while it is held down; the
    // content insets are its padding.
    dismiss->setStyleSheet(QStringLiteral("QPushButton { border: none; background: transparent; "
                                          "padding: 20px 40px; color: rgb(%1, %2, %3); }"
                                          "QPushButton:pressed { color: rgba(%1, %2, %3, 20%); }")
                               .arg(tint.red())
                               .arg(tint.green())
                               .arg(tint.blue()));
    connect(dismiss, &QPushButton::clicked, this,
            &VRNReportingDisabledPopupVC::dismissButtonAction);

    auto* layout = new QVBoxLayout(card);
    layout->setContentsMargins(kSideInset, kTopInset, kSideInset, kBottomInset);
    layout->setSpacing(0);
    layout->addWidget(title);
    layout->addSpacing(kTitleToDescription);
    layout->addWidget(description);
    layout->addSpacing(kDescriptionToButton);
    layout->addWidget(dismiss, 0, Qt::AlignHCenter);
}

void VRNReportingDisabledPopupVC::dismissButtonAction() {
    if (viewModel_) {
        viewModel_->didPressDismissButton();
    }
}

}  // namespace vorna
