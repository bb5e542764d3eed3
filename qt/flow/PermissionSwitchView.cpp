#include "qt/flow/PermissionSwitchView.h"

#include <QHBoxLayout>
#include <QLabel>

#include "platform/VRNDeviceProvider.h"
#include "qt/flow/VRNColumnLayout.h"
#include "qt/flow/VRNScreenStyle.h"
#include "qt/theme/VRNKitImages.h"
#include "theme/Colors.h"

namespace vorna {
namespace {

constexpr double kRowWidth = 0.8;

}  // namespace

PermissionSwitchView::PermissionSwitchView(const QString& permissionDescription, QWidget* parent)
    : QWidget(parent), permissionDesc_(permissionDescription) {
    auto* row = new QWidget(this);
    auto* name = new QLabel(permissionDesc_, row);
    permissionNameLabel_ = name;
    name->setTextFormat(Qt::PlainText);
    name->setFont(VRNScreenStyle::regularFont(16));
    VRNScreenStyle::setTextColor(name, VRNScreenStyle::color(Colors::gunmetalColor()));
    // The name keeps to its text; the switch sits at the row's far end.
    name->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);

    auto* image = new QLabel(row);
    switchImageView_ = image;
    const QSizeF switchSize(kSwitchWidth, kSwitchHeight);
    image->setPixmap(VRNKitImages::imageNamed(QStringLiteral("switchOn"), switchSize,
                                              VRNDeviceProvider::current()->mainScreen().scale));
    image->setFixedSize(switchSize.toSize());

    auto* stack = new QHBoxLayout(row);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(0);
    stack->addWidget(name, 0, Qt::AlignVCenter);
    stack->addStretch(1);
    stack->addWidget(image, 0, Qt::AlignVCenter);

    auto* layout = new VRNColumnLayout(this);
    layout->addWidget(row, kRowWidth);
}

PermissionSwitchView::~PermissionSwitchView() = default;

}  // namespace vorna
