// The annotation screen's two costly steps, each beside what Qt and libjpeg-turbo do with no kit
// in between, on a full-HD screen showing the picture of a realistic application:
//   - a stroke burnt into the picture, beside one QWidget::grab of the picture's view;
//   - Next (the picture as "screenshot.jpg"), beside one tjCompress2 of the same pixels at
//     quality 70 with the same settings.
// At the end the ratios of the medians are printed. Run (offscreen unless another platform is
// set):
//
//   build/qt/vorna_qt_flow_bench --benchmark_enable_random_interleaving=true

#include <benchmark/benchmark.h>
#include <turbojpeg.h>
#include <unistd.h>

#include <QApplication>

#include <cmath>
#include <cstdio>
#include <map>
#include <memory>
#include <numbers>
#include <string>

#include "flow/VRNScreenshotVM.h"
#include "flow/VRNStrokeCapture.h"
#include "platform/VRNDeviceProvider.h"
#include "qt/bench/MailWindow.h"
#include "qt/flow/VRNNavigationStack.h"
#include "qt/flow/VRNScreenshotImageView.h"
#include "qt/flow/VRNScreenshotVC.h"
#include "qt/flow/VRNScreenshotView.h"
#include "qt/invocation/VRNScreenshotService.h"
#include "theme/VRNBranding.h"
#include "vorna/VRNLog.h"
#include "vorna/VornaReportData.h"

namespace {

constexpr int kRepetitions = 9;

class FullHDScreen : public vorna::VRNDeviceProvider {
public:
    vorna::VRNScreenInfo mainScreen() const override { return {1920, 1080, 1920, 1080, 1}; }
};

struct Flow {
    std::shared_ptr<vorna::VRNScreenshotVM> viewModel;
    std::shared_ptr<vorna::VRNScreenshotVC> screen;
    std::unique_ptr<vorna::VRNNavigationStack> stack;
};
Flow* flow = nullptr;

// A circle drawn around something on the picture: 120 points, as a pointer reports them.
std::vector<vorna::VRNPoint> circleStroke() {
    std::vector<vorna::VRNPoint> points;
    for (int i = 0; i < 120; ++i) {
        const double angle = 2 * std::numbers::pi * i / 110.0;
        points.push_back({700 + 260 * std::cos(angle), 400 + 140 * std::sin(angle)});
    }
    return points;
}

QWidget* pictureView() {
    return flow->screen->screenshotView()->screenshotImageView();
}

void BM_StrokeBurnIn(benchmark::State& state) {
    const auto stroke = circleStroke();
    // The picture is put back afterwards, so that every run of every benchmark sees the same.
    const vorna::VRNImage before = flow->viewModel->screenshotImage();
    for (auto _ : state) {
        vorna::pointsToDraw = stroke;
        flow->screen->burnInStroke();
        benchmark::DoNotOptimize(flow->viewModel->screenshotImage().pixels().data());
    }
    vorna::pointsToDraw.reset();
    flow->viewModel->setScreenshotImage(before);
    flow->screen->screenshotView()->screenshotImageView()->setImage(before);
}

void BM_GrabPictureView(benchmark::State& state) {
    // The same stroke over the picture, so that both draw the same.
    vorna::pointsToDraw = circleStroke();
    for (auto _ : state) {
        const QPixmap grabbed = pictureView()->grab();
        benchmark::DoNotOptimize(grabbed.cacheKey());
    }
    vorna::pointsToDraw.reset();
}

void BM_Next(benchmark::State& state) {
    size_t bytes = 0;
    for (auto _ : state) {
        flow->viewModel->didPressNextButton();
        bytes = flow->viewModel->reportData()->screenshotFile()->data()->size();
    }
    state.counters["jpeg_bytes"] = static_cast<double>(bytes);
}

void BM_TurboJPEGOfThePicture(benchmark::State& state) {
    const vorna::VRNImage& picture = flow->viewModel->screenshotImage();
    tjhandle compressor = tjInitCompress();
    size_t bytes = 0;
    for (auto _ : state) {
        unsigned char* buffer = nullptr;
        unsigned long size = 0;
        tjCompress2(compressor, picture.pixels().data(), picture.width(), picture.width() * 4,
                    picture.height(), TJPF_BGRA, &buffer, &size, TJSAMP_420, 70,
                    TJFLAG_ACCURATEDCT);
        bytes = size;
        tjFree(buffer);
    }
    tjDestroy(compressor);
    state.counters["jpeg_bytes"] = static_cast<double>(bytes);
}

// The console's report, and the ratios of the medians at the end.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    RatioReporter() : ConsoleReporter(isatty(fileno(stdout)) ? OO_ColorTabular : OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.aggregate_name == "median") {
                medians_[run.run_name.function_name] = {run.GetAdjustedRealTime(),
                                                        run.GetAdjustedCPUTime()};
            }
        }
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        ratio("BM_StrokeBurnIn", "BM_GrabPictureView", 1.2);
        ratio("BM_Next", "BM_TurboJPEGOfThePicture", 1.1);
    }

private:
    void ratio(const std::string& kit, const std::string& bare, double goal) {
        if (medians_.count(kit) && medians_.count(bare) && medians_[bare].real > 0 &&
            medians_[bare].cpu > 0) {
            std::printf("%s / %s: %.3f real, %.3f CPU (goal <= %.1f)\n", kit.c_str(), bare.c_str(),
                        medians_[kit].real / medians_[bare].real,
                        medians_[kit].cpu / medians_[bare].cpu, goal);
        }
    }
    struct Times {
        double real = 0;
        double cpu = 0;
    };
    std::map<std::string, Times> medians_;
};

}  // namespace

BENCHMARK(BM_StrokeBurnIn)->Unit(benchmark::kMillisecond)->Repetitions(kRepetitions);
BENCHMARK(BM_GrabPictureView)->Unit(benchmark::kMillisecond)->Repetitions(kRepetitions);
BENCHMARK(BM_Next)->Unit(benchmark::kMillisecond)->Repetitions(kRepetitions);
BENCHMARK(BM_TurboJPEGOfThePicture)->Unit(benchmark::kMillisecond)->Repetitions(kRepetitions);

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication app(argc, argv);
    vorna::VRNSetLogSink([](const std::string&) {});
    vorna::VRNDeviceProvider::setCurrent(std::make_shared<FullHDScreen>());
    benchmark::Initialize(&argc, argv);

    // The picture a report opens with: the application as it was.
    auto host = vorna::bench::makeMailWindow();
    host->show();
    for (int i = 0; i < 10; ++i) {
        QCoreApplication::processEvents();
    }
    Flow shown;
    shown.viewModel = std::make_shared<vorna::VRNScreenshotVM>(
        vorna::VRNScreenshotService::sharedInstance()->takeScreenshot(),
        std::make_shared<vorna::VRNVornaReportData>(vorna::VRNVornaReportData::Empty{}));
    host.reset();
    shown.screen = std::make_shared<vorna::VRNScreenshotVC>(shown.viewModel,
                                                            std::make_shared<vorna::VRNBranding>());
    shown.stack = std::make_unique<vorna::VRNNavigationStack>(shown.screen);
    shown.stack->setBarAppearance(true, true, vorna::VRNColor{1, 1, 1, 1});
    shown.stack->view()->setGeometry(0, 0, 1920, 1080);
    shown.stack->view()->show();
    for (int i = 0; i < 10; ++i) {
        QCoreApplication::processEvents();
    }
    flow = &shown;
    // One stroke first, so that every measured one draws the picture at its own size.
    vorna::pointsToDraw = circleStroke();
    shown.screen->burnInStroke();

    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    flow = nullptr;
    return 0;
}
