#pragma once

#include <QLabel>
#include <QPointer>
#include <QString>
#include <QWidget>

namespace vorna {

// One granted permission: its name as the report has it and a switch drawn on, in a row 0.8
// of the view's width. The switch is a picture: the permission cannot be changed here.
class PermissionSwitchView : public QWidget {
    Q_OBJECT

public:
    static constexpr double kSwitchWidth = 51;
    static constexpr double kSwitchHeight = 31;

    explicit PermissionSwitchView(const QString& permissionDescription, QWidget* parent = nullptr);
    ~PermissionSwitchView() override;

    const QString& permissionDesc() const { return permissionDesc_; }
    QLabel* permissionNameLabel() const { return permissionNameLabel_; }
    QLabel* switchImageView() const { return switchImageView_; }

private:
    QString permissionDesc_;
    QPointer<QLabel> permissionNameLabel_;
    QPointer<QLabel> switchImageView_;
};

}  // namespace vorna
