#include "qt/flow/VRNScreenshotVC.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QLabel>
#include <QPalette>
#include <QWidgetAction>

#include <cmath>

#include "flow/VRNAnnotationColors.h"
#include "flow/VRNScreenshotVM.h"
#include "platform/VRNDeviceProvider.h"
#include "qt/flow/VRNOverlayView.h"
#include "qt/flow/VRNPlainButton.h"
#include "qt/flow/VRNScreenshotImageView.h"
#include "qt/flow/VRNScreenshotView.h"
#include "qt/platform/VRNQtImage.h"
#include "qt/theme/Fonts.h"
#include "qt/theme/VRNQtColor.h"
#include "state/VRNAppRepository.h"
#include "theme/VRNBranding.h"

namespace vorna {
namespace {

constexpr QSize kCloseButtonSize(46, 46);
constexpr double kTitleSize = 18;  // bar title, Next and Reset
constexpr const char* kSelectionMark = "Circle-active-color";

// The kit's face when it is registered, else the platform's default face at the same size.
QFont faceOr(std::optional<QFont> face, double size, QFont::Weight weight) {
    if (face) {
        return *face;
    }
    QFont fallback;
    fallback.setPixelSize(static_cast<int>(std::lround(size)));
    fallback.setWeight(weight);
    return fallback;
}

VRNPlainButton* imageButton(const char* imageName) {
    auto* button = new VRNPlainButton();
    button->setImageName(QString::fromLatin1(imageName));
    button->setFixedSize(button->sizeHint());
    return button;
}

VRNPlainButton* titleButton(const QString& title, const QFont& font, const QColor& color) {
    auto* button = new VRNPlainButton();
    button->setText(title);
    button->setFont(font);
    button->setTitleColor(color);
    button->setFixedSize(button->sizeHint());
    return button;
}

}  // namespace

VRNScreenshotVC::VRNScreenshotVC(std::shared_ptr<VRNScreenshotVMProtocol> viewModel,
                                 std::shared_ptr<const VRNBranding> branding,
                                 std::shared_ptr<VRNAppRepository> repository)
    : appRepository_(std::move(repository)),
      branding_(branding ? std::move(branding) : std::make_shared<const VRNBranding>()),
      viewModel_(std::move(viewModel)) {}

VRNScreenshotVC::~VRNScreenshotVC() = default;

VRNScreenshotView* VRNScreenshotVC::screenshotView() const {
    return screenshotView_;
}
QWidgetAction* VRNScreenshotVC::resetBarButtonItem() const {
    return resetBarButtonItem_;
}
QAbstractButton* VRNScreenshotVC::closeButton() const {
    return closeButton_;
}
QAbstractButton* VRNScreenshotVC::nextButton() const {
    return nextButton_;
}
QAbstractButton* VRNScreenshotVC::resetButton() const {
    return resetButton_;
}
QAbstractButton* VRNScreenshotVC::redButton() const {
    return redButton_;
}
QAbstractButton* VRNScreenshotVC::blackButton() const {
    return blackButton_;
}
QAbstractButton* VRNScreenshotVC::whiteButton() const {
    return whiteButton_;
}

QWidget* VRNScreenshotVC::loadView() {
    screenshotView_ = new VRNScreenshotView();
    return screenshotView_;
}

QWidgetAction* VRNScreenshotVC::wrap(VRNPlainButton* button) {
    // The item owns its button until the toolbar shows it.
    auto* item = new QWidgetAction(this);
    item->setDefaultWidget(button);
    return item;
}

void VRNScreenshotVC::viewDidLoad() {
    VRNViewController::viewDidLoad();
    if (!appRepository_) {
        appRepository_ = std::make_shared<VRNAppRepository>();
    }

    closeButton_ = imageButton("Close-icon");
    closeButton_->setFixedSize(kCloseButtonSize);
    connect(closeButton_, &QAbstractButton::clicked, this, &VRNScreenshotVC::closeButtonTapped);
    setLeftBarButton(closeButton_);

    resetButton_ =
        titleButton(QStringLiteral("Reset"),
                    faceOr(Fonts::fontMediumOfSize(kTitleSize), kTitleSize, QFont::Medium),
                    QGuiApplication::palette().color(QPalette::PlaceholderText));
    connect(resetButton_, &QAbstractButton::clicked, this, &VRNScreenshotVC::reset);
    resetBarButtonItem_ = wrap(resetButton_);
    // The item's own title font, where the face exists. An item that shows a button draws no
    // title of its own, so Reset keeps the button's medium face.
    if (QFontDatabase::hasFamily(QStringLiteral("Helvetica Neue"))) {
        QFont light =
            QFontDatabase::font(QStringLiteral("Helvetica Neue"), QStringLiteral("Light"), 17);
        light.setPixelSize(17);
        resetBarButtonItem_->setFont(light);
    }

    redButton_ = imageButton("Btn-red");
    blackButton_ = imageButton("Btn-black");
    whiteButton_ = imageButton("Btn-white");
    redButton_->setBackgroundImageName(QString::fromLatin1(kSelectionMark));
    for (VRNPlainButton* button : {redButton_.data(), blackButton_.data(), whiteButton_.data()}) {
        connect(button, &QAbstractButton::clicked, this,
                [this, button] { colorButtonPressed(button); });
    }
    redBarButtonItem_ = wrap(redButton_);
    blackBarButtonItem_ = wrap(blackButton_);
    whiteBarButtonItem_ = wrap(whiteButton_);

    setUpToolBarWithReset(false);
    setScreenshotImageView();
    updateBranding();

    // The colour of the last report. The stored index is taken as it is: one outside the
    // three colours throws here, before the screen is shown.
    if (const std::optional<int64_t> index = VRNAnnotationColors::storedIndex(*appRepository_)) {
        const std::vector<QAbstractButton*> buttons{redButton_, blackButton_, whiteButton_};
        screenshotView_->overlayView()->setDrawingColor(
            VRNQtColor::toQColor(VRNAnnotationColors::colorAt(*index)));
        setBackgroundsForButton(buttons.at(static_cast<size_t>(*index)));
    } else {
        screenshotView_->overlayView()->setDrawingColor(
            VRNQtColor::toQColor(VRNAnnotationColors::colorAt(VRNAnnotationColors::kRedIndex)));
        setBackgroundsForButton(redButton_);
    }

    QPointer<VRNScreenshotVC> weakSelf(this);
    screenshotView_->overlayView()->setNeedScreenshotBlock([weakSelf] {
        if (weakSelf) {
            weakSelf->burnInStroke();
        }
    });
    screenshotView_->setSafeAreaTop(safeAreaTop());
}

void VRNScreenshotVC::viewWillAppear(bool animated) {
    VRNViewController::viewWillAppear(animated);
    if (screenshotView_) {
        screenshotView_->setSafeAreaTop(safeAreaTop());
    }
}

void VRNScreenshotVC::viewDidLayoutSubviews() {
    VRNViewController::viewDidLayoutSubviews();
    if (screenshotView_) {
        screenshotView_->setSafeAreaTop(safeAreaTop());
    }
}

void VRNScreenshotVC::setScreenshotImageView() {
    const VRNImage image = viewModel_ ? viewModel_->screenshotImage() : VRNImage();
    screenshotView_->screenshotImageView()->setImage(image);
    initialScreenshot_ = image;
    screenshotView_->setupScreenshotImageView();
}

void VRNScreenshotVC::colorButtonPressed(QAbstractButton* button) {
    int64_t index = VRNAnnotationColors::kBlackIndex;
    if (button == whiteButton_) {
        index = VRNAnnotationColors::kWhiteIndex;
    } else if (button == redButton_) {
        index = VRNAnnotationColors::kRedIndex;
    }
    screenshotView_->overlayView()->setDrawingColor(
        VRNQtColor::toQColor(VRNAnnotationColors::colorAt(index)));
    VRNAnnotationColors::storeIndex(*appRepository_, index);
    setBackgroundsForButton(button);
}

void VRNScreenshotVC::setBackgroundsForButton(QAbstractButton* button) {
    for (VRNPlainButton* each : {whiteButton_.data(), redButton_.data(), blackButton_.data()}) {
        each->setBackgroundImageName(each == button ? QString::fromLatin1(kSelectionMark)
                                                    : QString());
    }
}

void VRNScreenshotVC::setUpToolBarWithReset(bool withReset) {
    screenshotView_->setToolBarItems(
        VRNAnnotationToolbar::items(withReset),
        [this](VRNAnnotationToolbar::Kind kind) { return toolBarButton(kind); });
}

QWidget* VRNScreenshotVC::toolBarButton(VRNAnnotationToolbar::Kind kind) const {
    switch (kind) {
        case VRNAnnotationToolbar::Kind::Reset:
            return resetBarButtonItem_->defaultWidget();
        case VRNAnnotationToolbar::Kind::Red:
            return redBarButtonItem_->defaultWidget();
        case VRNAnnotationToolbar::Kind::Black:
            return blackBarButtonItem_->defaultWidget();
        case VRNAnnotationToolbar::Kind::White:
            return whiteBarButtonItem_->defaultWidget();
        default:
            return nullptr;  // spaces have no widget
    }
}

void VRNScreenshotVC::closeButtonTapped() {
    if (viewModel_) {
        viewModel_->didPressCloseButton();
    }
}

void VRNScreenshotVC::nextButtonTapped() {
    if (viewModel_) {
        viewModel_->didPressNextButton();
    }
}

void VRNScreenshotVC::reset() {
    // The view model keeps the last drawn picture on purpose: Next still sends it.
    screenshotView_->screenshotImageView()->setImage(initialScreenshot_);
    setUpToolBarWithReset(false);
}

void VRNScreenshotVC::updateBranding() {
    QPalette palette = screenshotView_->palette();
    palette.setColor(QPalette::Window, VRNQtColor::toQColor(branding_->backgroundColor()));
    screenshotView_->setPalette(palette);
    screenshotView_->setAutoFillBackground(true);

    auto* title = new QLabel(QStringLiteral("First, mark the bug"));
    title->setFont(faceOr(Fonts::fontBoldOfSize(kTitleSize), kTitleSize, QFont::Bold));
    QPalette titlePalette = title->palette();
    titlePalette.setColor(QPalette::WindowText, Qt::white);
    title->setPalette(titlePalette);
    setTitleView(title);

    nextButton_ =
        titleButton(QStringLiteral("Next"),
                    faceOr(Fonts::fontMediumOfSize(kTitleSize), kTitleSize, QFont::Medium),
                    VRNQtColor::toQColor(branding_->highlightedTextColor()));
    connect(nextButton_, &QAbstractButton::clicked, this, &VRNScreenshotVC::nextButtonTapped);
    setRightBarButton(nextButton_);
}

void VRNScreenshotVC::burnInStroke() {
    VRNScreenshotImageView* imageView = screenshotView_->screenshotImageView();
    const double scale = VRNDeviceProvider::current()->mainScreen().scale;
    const QSize pixels(static_cast<int>(std::lround(imageView->width() * scale)),
                       static_cast<int>(std::lround(imageView->height() * scale)));
    VRNImage picture;
    if (!pixels.isEmpty()) {
        // Drawn straight into the kit image's pixels: the picture is never copied.
        VRNQtImage::Canvas canvas(pixels, scale);
        imageView->render(&canvas.image(), QPoint(), QRegion(), QWidget::DrawChildren);
        picture = canvas.finish();
    }
    imageView->setImage(picture);
    if (viewModel_) {
        viewModel_->setScreenshotImage(picture);
    }
    setUpToolBarWithReset(true);
}

}  // namespace vorna
