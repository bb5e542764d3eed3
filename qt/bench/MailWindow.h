#pragma once

// A realistic application window for the Qt benchmarks: a mail client at full HD.

#include <QHeaderView>
#include <QMainWindow>
#include <QMenuBar>
#include <QSplitter>
#include <QStatusBar>
#include <QTableWidget>
#include <QTextEdit>
#include <QToolBar>
#include <QTreeWidget>

#include <memory>

namespace vorna::bench {

// A mail-client-like window: menus, a tool bar, a folder tree, a message table and a preview.
inline std::unique_ptr<QMainWindow> makeMailWindow() {
    auto window = std::make_unique<QMainWindow>();
    window->setGeometry(0, 0, 1920, 1080);
    for (const char* menu : {"&File", "&Edit", "&View", "&Go", "&Tools", "&Help"}) {
        window->menuBar()->addMenu(QString::fromLatin1(menu));
    }
    QToolBar* tools = window->addToolBar(QStringLiteral("Tools"));
    for (const char* action : {"New", "Reply", "Forward", "Delete", "Archive", "Search"}) {
        tools->addAction(QString::fromLatin1(action));
    }
    auto* tree = new QTreeWidget;
    tree->setHeaderLabel(QStringLiteral("Folders"));
    for (int account = 0; account < 4; ++account) {
        auto* root =
            new QTreeWidgetItem(tree, {QStringLiteral("account%1@example.org").arg(account)});
        for (const char* folder : {"Inbox", "Drafts", "Sent", "Archive", "Junk", "Trash"}) {
            new QTreeWidgetItem(root, {QString::fromLatin1(folder)});
        }
        root->setExpanded(true);
    }
    auto* table = new QTableWidget(400, 6);
    table->setHorizontalHeaderLabels({QStringLiteral("From"), QStringLiteral("Subject"),
                                      QStringLiteral("Date"), QStringLiteral("Size"),
                                      QStringLiteral("Tag"), QStringLiteral("Status")});
    table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
    for (int row = 0; row < table->rowCount(); ++row) {
        table->setItem(row, 0, new QTableWidgetItem(QStringLiteral("Sender %1").arg(row)));
        table->setItem(
            row, 1,
            new QTableWidgetItem(
                QStringLiteral("Re: quarterly figures, draft %1 of the report").arg(row)));
        table->setItem(row, 2,
                       new QTableWidgetItem(
                           QStringLiteral("2024-05-%1 09:%2").arg(row % 28 + 1).arg(row % 60)));
        table->setItem(row, 3, new QTableWidgetItem(QStringLiteral("%1 KB").arg(row * 7 % 900)));
        table->setItem(
            row, 4,
            new QTableWidgetItem(row % 3 ? QStringLiteral("work") : QStringLiteral("home")));
        table->setItem(
            row, 5, new QTableWidgetItem(row % 4 ? QStringLiteral("read") : QStringLiteral("new")));
    }
    auto* preview = new QTextEdit;
    QString text;
    for (int paragraph = 0; paragraph < 30; ++paragraph) {
        text += QStringLiteral(
                    "<p>Dear team, please find attached the figures for the quarter. The numbers "
                    "for the "
                    "northern region are <b>up</b> by a fair margin, while the coast held steady. "
                    "<i>Paragraph %1.</i></p>")
                    .arg(paragraph);
    }
    preview->setHtml(text);
    auto* right = new QSplitter(Qt::Vertical);
    right->addWidget(table);
    right->addWidget(preview);
    auto* main = new QSplitter(Qt::Horizontal);
    main->addWidget(tree);
    main->addWidget(right);
    main->setSizes({360, 1560});
    window->setCentralWidget(main);
    window->statusBar()->showMessage(QStringLiteral("400 messages, 37 unread"));
    return window;
}

}  // namespace vorna::bench
