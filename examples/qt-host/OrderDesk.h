#pragma once

#include <QMainWindow>

class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QStackedWidget;
class QTableWidget;

// The host application: a small order desk with three screens (orders, one order, settings).
class OrderDesk : public QMainWindow {
    Q_OBJECT

public:
    explicit OrderDesk(QWidget* parent = nullptr);

private:
    QWidget* makeOrdersScreen();
    QWidget* makeOrderScreen();
    QWidget* makeSettingsScreen();
    void filterOrders(const QString& text);
    void openOrder(int row);
    void markShipped();
    void newOrder();

    QStackedWidget* screens_ = nullptr;
    QTableWidget* orders_ = nullptr;
    QLabel* orderTitle_ = nullptr;
    QLineEdit* customer_ = nullptr;
    QLineEdit* address_ = nullptr;
    QListWidget* items_ = nullptr;
    QComboBox* status_ = nullptr;
    int openRow_ = -1;
};
