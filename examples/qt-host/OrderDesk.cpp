#include "OrderDesk.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QPushButton>
#include <QSlider>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTableWidget>
#include <QToolBar>
#include <QVBoxLayout>

#include <vorna/Vorna.h>

namespace {

struct Order {
    const char* id;
    const char* customer;
    const char* city;
    const char* total;
    const char* status;
};

const Order kOrders[] = {
    {"A-1041", "Juniper Hall", "Tromsø", "€ 184.20", "New"},
    {"A-1042", "Ola Brekke", "Bergen", "€ 39.90", "Packed"},
    {"A-1043", "Mira Castell", "Girona", "€ 412.00", "Shipped"},
    {"A-1044", "Tomasz Wierzba", "Łódź", "€ 77.45", "New"},
    {"A-1045", "Ines Faro", "Porto", "€ 18.00", "Shipped"},
    {"A-1046", "Aki Lehto", "Oulu", "€ 256.10", "Packed"},
    {"A-1047", "Rosa Venn", "Utrecht", "€ 92.30", "New"},
    {"A-1048", "Carl Ahlgren", "Umeå", "€ 1 020.00", "On hold"},
    {"A-1049", "Dana Okafor", "Leeds", "€ 64.75", "New"},
    {"A-1050", "Pilar Montes", "Cádiz", "€ 131.60", "Packed"},
    {"A-1051", "Lev Sorokin", "Tartu", "€ 48.00", "Shipped"},
    {"A-1052", "Nell Ashby", "Bath", "€ 305.95", "New"},
};

QPushButton* navButton(const QString& text) {
    auto* button = new QPushButton(text);
    button->setMinimumWidth(110);
    return button;
}

}  // namespace

OrderDesk::OrderDesk(QWidget* parent) : QMainWindow(parent) {
    setWindowTitle(QStringLiteral("Order Desk"));
    screens_ = new QStackedWidget;
    screens_->addWidget(makeOrdersScreen());
    screens_->addWidget(makeOrderScreen());
    screens_->addWidget(makeSettingsScreen());
    setCentralWidget(screens_);

    auto* toolbar = addToolBar(QStringLiteral("Go"));
    toolbar->setMovable(false);
    toolbar->addAction(QStringLiteral("Orders"), this, [this] { screens_->setCurrentIndex(0); });
    toolbar->addAction(QStringLiteral("Settings"), this, [this] { screens_->setCurrentIndex(2); });

    QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
    file->addAction(QStringLiteral("&Quit"), QKeySequence::Quit, this, &QWidget::close);
    QMenu* help = menuBar()->addMenu(QStringLiteral("&Help"));
    // The kit's own entry: opens a report at once, as a tester's menu item would.
    help->addAction(QStringLiteral("Report a &bug…"), this, [] { vorna::VRNVorna::manualStart(); });

    statusBar()->showMessage(QStringLiteral(
        "Report a bug: the round button, Ctrl+Alt+B or a shake of the window, Print, or a swipe "
        "in from the right edge"));
}

QWidget* OrderDesk::makeOrdersScreen() {
    auto* screen = new QWidget;
    auto* layout = new QVBoxLayout(screen);
    auto* title = new QLabel(QStringLiteral("<h2>Orders</h2>"));
    auto* search = new QLineEdit;
    search->setPlaceholderText(QStringLiteral("Search by customer or city"));
    connect(search, &QLineEdit::textChanged, this, &OrderDesk::filterOrders);

    orders_ = new QTableWidget(static_cast<int>(std::size(kOrders)), 5);
    orders_->setHorizontalHeaderLabels({QStringLiteral("Order"), QStringLiteral("Customer"),
                                        QStringLiteral("City"), QStringLiteral("Total"),
                                        QStringLiteral("Status")});
    orders_->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    orders_->verticalHeader()->hide();
    orders_->setSelectionBehavior(QAbstractItemView::SelectRows);
    orders_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    for (int row = 0; row < orders_->rowCount(); ++row) {
        const Order& order = kOrders[row];
        const char* cells[] = {order.id, order.customer, order.city, order.total, order.status};
        for (int column = 0; column < 5; ++column) {
            orders_->setItem(row, column, new QTableWidgetItem(QString::fromUtf8(cells[column])));
        }
    }
    connect(orders_, &QTableWidget::cellDoubleClicked, this, [this](int row) { openOrder(row); });

    auto* open = navButton(QStringLiteral("Open order"));
    connect(open, &QPushButton::clicked, this, [this] { openOrder(orders_->currentRow()); });
    auto* add = navButton(QStringLiteral("New order…"));
    add->setShortcut(QKeySequence::New);
    connect(add, &QPushButton::clicked, this, &OrderDesk::newOrder);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(add);
    buttons->addWidget(open);

    layout->addWidget(title);
    layout->addWidget(search);
    layout->addWidget(orders_);
    layout->addLayout(buttons);
    return screen;
}

QWidget* OrderDesk::makeOrderScreen() {
    auto* screen = new QWidget;
    auto* layout = new QVBoxLayout(screen);
    orderTitle_ = new QLabel;
    customer_ = new QLineEdit;
    address_ = new QLineEdit;
    status_ = new QComboBox;
    status_->addItems({QStringLiteral("New"), QStringLiteral("Packed"), QStringLiteral("Shipped"),
                       QStringLiteral("On hold")});
    items_ = new QListWidget;

    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Customer"), customer_);
    form->addRow(QStringLiteral("Ship to"), address_);
    form->addRow(QStringLiteral("Status"), status_);
    form->addRow(QStringLiteral("Items"), items_);

    auto* back = navButton(QStringLiteral("Back"));
    connect(back, &QPushButton::clicked, this, [this] { screens_->setCurrentIndex(0); });
    auto* ship = navButton(QStringLiteral("Mark as shipped"));
    connect(ship, &QPushButton::clicked, this, &OrderDesk::markShipped);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(back);
    buttons->addStretch();
    buttons->addWidget(ship);

    layout->addWidget(orderTitle_);
    layout->addLayout(form);
    layout->addLayout(buttons);
    return screen;
}

QWidget* OrderDesk::makeSettingsScreen() {
    auto* screen = new QWidget;
    auto* layout = new QVBoxLayout(screen);
    layout->addWidget(new QLabel(QStringLiteral("<h2>Settings</h2>")));
    auto* blackBox = new QCheckBox(QStringLiteral("Record device history for bug reports"));
    blackBox->setChecked(true);
    connect(blackBox, &QCheckBox::toggled, this,
            [](bool on) { vorna::VRNVorna::setBlackBoxEnabled(on); });
    auto* sounds = new QCheckBox(QStringLiteral("Play a sound when an order arrives"));
    auto* refresh = new QSlider(Qt::Horizontal);
    refresh->setRange(5, 120);
    refresh->setValue(30);
    auto* form = new QFormLayout;
    form->addRow(blackBox);
    form->addRow(sounds);
    form->addRow(QStringLiteral("Refresh every (s)"), refresh);
    layout->addLayout(form);
    layout->addStretch();
    return screen;
}

void OrderDesk::filterOrders(const QString& text) {
    for (int row = 0; row < orders_->rowCount(); ++row) {
        const bool match = text.isEmpty() ||
                           orders_->item(row, 1)->text().contains(text, Qt::CaseInsensitive) ||
                           orders_->item(row, 2)->text().contains(text, Qt::CaseInsensitive);
        orders_->setRowHidden(row, !match);
    }
}

void OrderDesk::openOrder(int row) {
    if (row < 0 || row >= orders_->rowCount()) {
        statusBar()->showMessage(QStringLiteral("Choose an order first"), 3000);
        return;
    }
    openRow_ = row;
    orderTitle_->setText(QStringLiteral("<h2>Order %1</h2>").arg(orders_->item(row, 0)->text()));
    customer_->setText(orders_->item(row, 1)->text());
    address_->setText(orders_->item(row, 2)->text());
    status_->setCurrentText(orders_->item(row, 4)->text());
    items_->clear();
    items_->addItems({QStringLiteral("2 × Wool socks, grey"), QStringLiteral("1 × Thermos, 0.75 l"),
                      QStringLiteral("1 × Map of the coast")});
    screens_->setCurrentIndex(1);
}

void OrderDesk::markShipped() {
    if (openRow_ < 0) {
        return;
    }
    status_->setCurrentText(QStringLiteral("Shipped"));
    orders_->item(openRow_, 4)->setText(QStringLiteral("Shipped"));
    statusBar()->showMessage(QStringLiteral("Order marked as shipped"), 3000);
}

void OrderDesk::newOrder() {
    // A dialog over the desk, modal to it alone: the kit's windows stay reachable, so a bug
    // found in the dialog can be reported while it is open.
    auto* dialog = new QDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(QStringLiteral("New order"));
    dialog->setWindowModality(Qt::WindowModal);
    auto* form = new QFormLayout(dialog);
    form->addRow(QStringLiteral("Customer"), new QLineEdit);
    form->addRow(QStringLiteral("Ship to"), new QLineEdit);
    auto* priority = new QComboBox;
    priority->addItems({QStringLiteral("Standard"), QStringLiteral("Express")});
    form->addRow(QStringLiteral("Delivery"), priority);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    form->addRow(buttons);
    dialog->resize(420, 200);
    dialog->open();
}
