#pragma once

#include <QLabel>
#include <QList>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QWidget>

#include "qt/flow/VRNSeparatorView.h"

namespace vorna {

class PermissionSwitchView;

// The permissions the report says the application holds: a line, the title "Granted
// permissions", one row per permission, and a note that the others were denied or never
// asked for; the parts 30 points apart, 0.8 of the view's width. Without permissions the
// rows' place stays empty between the title and the note.
class GrantedPermissionsView : public QWidget {
    Q_OBJECT

public:
    static constexpr int kPartsSpacing = 30;
    static constexpr int kRowSpacing = 12;

    explicit GrantedPermissionsView(const QStringList& permissions, QWidget* parent = nullptr);
    ~GrantedPermissionsView() override;

    const QStringList& grantedPermissions() const { return grantedPermissions_; }
    VRNSeparatorView* separatorView() const { return separatorView_; }
    QLabel* titleLabel() const { return titleLabel_; }
    QWidget* permissionsStack() const { return permissionsStack_; }
    QList<PermissionSwitchView*> permissionViews() const;
    QLabel* noteLabel() const { return noteLabel_; }

private:
    QStringList grantedPermissions_;
    QPointer<VRNSeparatorView> separatorView_;
    QPointer<QLabel> titleLabel_;
    QPointer<QWidget> permissionsStack_;
    QPointer<QLabel> noteLabel_;
};

}  // namespace vorna
