#include "qt/flow/GrantedPermissionsView.h"

#include <QLabel>

#include "qt/flow/PermissionSwitchView.h"
#include "qt/flow/VRNColumnLayout.h"
#include "qt/flow/VRNScreenStyle.h"
#include "qt/flow/VRNSeparatorView.h"
#include "theme/Colors.h"

namespace vorna {
namespace {

constexpr double kPartsWidth = 0.8;

QLabel* makeLabel(const char* key, const QFont& font, const VRNColor& color, QWidget* parent) {
    auto* label = new QLabel(VRNScreenStyle::localized(key), parent);
    label->setFont(font);
    label->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    label->setWordWrap(true);
    VRNScreenStyle::setTextColor(label, VRNScreenStyle::color(color));
    return label;
}

}  // namespace

GrantedPermissionsView::GrantedPermissionsView(const QStringList& permissions, QWidget* parent)
    : QWidget(parent), grantedPermissions_(permissions) {
    separatorView_ = new VRNSeparatorView(this);
    titleLabel_ =
        makeLabel("Granted permissions", VRNScreenStyle::boldFont(20), Colors::black(), this);
    permissionsStack_ = new QWidget(this);
    auto* stack = new VRNColumnLayout(permissionsStack_);
    for (const QString& permission : grantedPermissions_) {
        stack->addWidget(new PermissionSwitchView(permission, permissionsStack_), 1.0,
                         stack->count() == 0 ? 0 : kRowSpacing);
    }
    noteLabel_ = makeLabel("ALL OTHERS WERE EITHER DENIED OR NOT ASKED FOR.",
                           VRNScreenStyle::boldFont(11), Colors::coolGreyColor(), this);

    auto* layout = new VRNColumnLayout(this);
    layout->addWidget(separatorView_, kPartsWidth);
    layout->addWidget(titleLabel_, kPartsWidth, kPartsSpacing);
    layout->addWidget(permissionsStack_, kPartsWidth, kPartsSpacing);
    layout->addWidget(noteLabel_, kPartsWidth, kPartsSpacing);
}

GrantedPermissionsView::~GrantedPermissionsView() = default;

QList<PermissionSwitchView*> GrantedPermissionsView::permissionViews() const {
    return permissionsStack_->findChildren<PermissionSwitchView*>(Qt::FindDirectChildrenOnly);
}

}  // namespace vorna
