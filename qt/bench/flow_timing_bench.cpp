// What a tester waits for, on a full-HD screen over a realistic application:
//   - an invocation until the annotation screen is painted, beside the picture of the
//     application alone (the floor: the flow cannot show before it has the picture);
//   - the longest time the GUI thread is busy in one go from Submit until the banner shows
//     (the report is saved and sent off the GUI thread), beside one frame (16 ms).
// Run (offscreen unless another platform is set):
//
//   build/qt/vorna_qt_flow_timing_bench

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <filesystem>
#include <memory>
#include <string>

#include "api/VRNAPI.h"
#include "flow/VRNCoordinator.h"
#include "flow/VRNReportComposeViewModel.h"
#include "flow/VRNScreenshotVM.h"
#include "platform/VRNDeviceProvider.h"
#include "platform/loop/VRNRunLoop.h"
#include "qt/bench/MailWindow.h"
#include "qt/flow/VRNFlowDisplayWindow.h"
#include "qt/flow/VRNNavigationStack.h"
#include "qt/flow/VRNQtFlowPlatform.h"
#include "qt/flow/VRNReportComposeViewController.h"
#include "qt/flow/VRNScreenshotVC.h"
#include "qt/invocation/VRNScreenshotService.h"
#include "state/VRNAppRepository.h"
#include "storage/VRNFileManager.h"
#include "storage/VRNUploader.h"
#include "theme/VRNBranding.h"
#include "vorna/VRNLog.h"

namespace {

constexpr int kRepetitions = 7;

class FullHDScreen : public vorna::VRNDeviceProvider {
public:
    vorna::VRNScreenInfo mainScreen() const override { return {1920, 1080, 1920, 1080, 1}; }
};

std::shared_ptr<vorna::VRNQtFlowPlatform> platform;
std::shared_ptr<vorna::VRNAppRepository> repository;
std::shared_ptr<vorna::VRNUploaderProtocol> uploader;

// Counts the paints a widget receives.
class PaintCounter : public QObject {
public:
    int paints = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            ++paints;
        }
        return false;
    }
};

std::shared_ptr<vorna::VRNCoordinator> makeFlow() {
    vorna::VRNCoordinatorContext context;
    context.uploader = uploader;
    context.appRepository = repository;
    context.branding = [] { return std::make_shared<vorna::VRNBranding>(); };
    return std::make_shared<vorna::VRNCoordinator>(std::move(context), platform);
}

void settle(int rounds = 20) {
    for (int i = 0; i < rounds; ++i) {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }
}

void BM_InvocationUntilTheAnnotationScreenIsPainted(benchmark::State& state) {
    for (auto _ : state) {
        QElapsedTimer clock;
        clock.start();
        auto flow = makeFlow();
        flow->start();
        auto* window = static_cast<vorna::VRNFlowDisplayWindow*>(flow->displayWindow().get());
        PaintCounter counter;
        window->installEventFilter(&counter);
        for (QWidget* child : window->findChildren<QWidget*>()) {
            child->installEventFilter(&counter);
        }
        while (counter.paints == 0) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        }
        state.SetIterationTime(static_cast<double>(clock.nsecsElapsed()) / 1e9);
        window->removeEventFilter(&counter);
        window->hide();
        flow.reset();
        settle();
    }
}

void BM_PictureOfTheApplication(benchmark::State& state) {
    for (auto _ : state) {
        QElapsedTimer clock;
        clock.start();
        const vorna::VRNImage picture =
            vorna::VRNScreenshotService::sharedInstance()->takeScreenshot();
        benchmark::DoNotOptimize(picture.pixels().data());
        state.SetIterationTime(static_cast<double>(clock.nsecsElapsed()) / 1e9);
    }
}

// The longest the GUI thread is away from its event loop from Submit until the banner shows:
// a 1 ms timer notes every gap between its ticks.
void BM_LongestGuiBlockFromSubmitToBanner(benchmark::State& state) {
    for (auto _ : state) {
        auto flow = makeFlow();
        flow->start();
        settle();
        QElapsedTimer wait;
        wait.start();
        while (wait.elapsed() < 500) {  // the fade-in
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        }
        // Next: the compose screen slides in.
        const auto& stack = static_cast<vorna::VRNFlowDisplayWindow*>(flow->displayWindow().get())
                                ->navigationStack();
        auto* screenshot =
            dynamic_cast<vorna::VRNScreenshotVC*>(stack->viewControllers().front().get());
        screenshot->viewModel()->didPressNextButton();
        wait.restart();
        while (wait.elapsed() < 500) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        }
        auto* compose = dynamic_cast<vorna::VRNReportComposeViewController*>(
            stack->viewControllers().back().get());

        QElapsedTimer clock;
        qint64 last = 0;
        qint64 longest = 0;
        QTimer ticks;
        ticks.setTimerType(Qt::PreciseTimer);
        QObject::connect(&ticks, &QTimer::timeout, [&] {
            const qint64 now = clock.nsecsElapsed();
            longest = std::max(longest, now - last);
            last = now;
        });
        ticks.start(1);
        clock.start();
        compose->viewModel()->didPressSubmitButton("The save button does nothing",
                                                   std::string("tester@example.com"));
        while (clock.elapsed() < 900) {  // fade-out, then the banner at +0.5 s
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        }
        ticks.stop();
        state.SetIterationTime(static_cast<double>(longest) / 1e9);
        flow.reset();
        settle();
    }
}

}  // namespace

BENCHMARK(BM_InvocationUntilTheAnnotationScreenIsPainted)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5)
    ->Repetitions(kRepetitions);
BENCHMARK(BM_PictureOfTheApplication)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5)
    ->Repetitions(kRepetitions);
BENCHMARK(BM_LongestGuiBlockFromSubmitToBanner)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(kRepetitions);

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication app(argc, argv);
    vorna::VRNSetLogSink([](const std::string&) {});
    vorna::VRNDeviceProvider::setCurrent(std::make_shared<FullHDScreen>());
    benchmark::Initialize(&argc, argv);

    const auto state = std::filesystem::temp_directory_path() / "vorna-flow-timing-bench";
    std::filesystem::remove_all(state);
    std::filesystem::create_directories(state);
    repository = std::make_shared<vorna::VRNAppRepository>(
        std::make_shared<vorna::VRNKeyValueStore>(state / "defaults.sqlite"));
    // The report is saved for real and sent to a port where nothing listens: both off the GUI
    // thread, as in a host.
    uploader = vorna::VRNUploader::initWithFileManager(
        std::make_shared<vorna::VRNFileManager>(state / "Documents"),
        std::make_shared<vorna::VRNAPI>(std::string("http://127.0.0.1:9/")));
    platform = std::make_shared<vorna::VRNQtFlowPlatform>([] { return QRect(0, 0, 1920, 1080); });

    auto host = vorna::bench::makeMailWindow();
    host->show();
    settle();

    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    platform.reset();
    uploader.reset();
    return 0;
}
