// The picture a report carries, taken from a full-HD window of a realistic application, beside
// what Qt and libjpeg-turbo do with no kit in between: QWidget::grab and one tjCompress2 call
// at the same quality and settings. Run (the offscreen platform is used unless another is set):
//
//   build/qt/vorna_qt_bench --benchmark_repetitions=5 --benchmark_enable_random_interleaving=true

#include <benchmark/benchmark.h>
#include <turbojpeg.h>

#include <QApplication>
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

#include "platform/VRNDeviceProvider.h"
#include "qt/invocation/VRNScreenshotService.h"
#include "vorna/VRNLog.h"

namespace {

class FullHDScreen : public vorna::VRNDeviceProvider {
public:
    vorna::VRNScreenInfo mainScreen() const override { return {1920, 1080, 1920, 1080, 1}; }
};

// A mail-client-like window: menus, a tool bar, a folder tree, a message table and a preview.
std::unique_ptr<QMainWindow> makeWindow() {
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

QWidget* benchWindow = nullptr;

void BM_TakeScreenshotAndJPEG(benchmark::State& state) {
    const auto service = vorna::VRNScreenshotService::sharedInstance();
    size_t bytes = 0;
    for (auto _ : state) {
        const auto jpeg = service->getImageData(service->takeScreenshot());
        bytes = jpeg ? jpeg->size() : 0;
        benchmark::DoNotOptimize(bytes);
    }
    state.counters["jpeg_bytes"] = static_cast<double>(bytes);
}

void BM_GrabAndTurboJPEG(benchmark::State& state) {
    tjhandle compressor = tjInitCompress();
    size_t bytes = 0;
    for (auto _ : state) {
        const QImage image = benchWindow->grab().toImage();
        unsigned char* buffer = nullptr;
        unsigned long size = 0;
        // Qt's 32-bit formats are B, G, R, A in memory on this machine.
        const int format = image.hasAlphaChannel() ? TJPF_BGRA : TJPF_BGRX;
        tjCompress2(compressor, image.constBits(), image.width(),
                    static_cast<int>(image.bytesPerLine()), image.height(), format, &buffer, &size,
                    TJSAMP_420, 70, TJFLAG_ACCURATEDCT);
        bytes = size;
        tjFree(buffer);
        benchmark::DoNotOptimize(bytes);
    }
    tjDestroy(compressor);
    state.counters["jpeg_bytes"] = static_cast<double>(bytes);
}

}  // namespace

BENCHMARK(BM_TakeScreenshotAndJPEG)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GrabAndTurboJPEG)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication app(argc, argv);
    vorna::VRNSetLogSink([](const std::string&) {});
    vorna::VRNDeviceProvider::setCurrent(std::make_shared<FullHDScreen>());
    benchmark::Initialize(&argc, argv);
    const auto window = makeWindow();
    window->show();
    for (int i = 0; i < 10; ++i) {
        QCoreApplication::processEvents();
    }
    benchWindow = window.get();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
