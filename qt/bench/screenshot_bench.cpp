// The picture a report carries, taken from a full-HD window of a realistic application, beside
// what Qt and libjpeg-turbo do with no kit in between: QWidget::grab and one tjCompress2 call
// at the same quality and settings. Run (the offscreen platform is used unless another is set):
//
//   build/qt/vorna_qt_bench --benchmark_repetitions=5 --benchmark_enable_random_interleaving=true

#include <benchmark/benchmark.h>
#include <turbojpeg.h>

#include <QApplication>

#include <memory>

#include "platform/VRNDeviceProvider.h"
#include "qt/bench/MailWindow.h"
#include "qt/invocation/VRNScreenshotService.h"
#include "vorna/VRNLog.h"

namespace {

class FullHDScreen : public vorna::VRNDeviceProvider {
public:
    vorna::VRNScreenInfo mainScreen() const override { return {1920, 1080, 1920, 1080, 1}; }
};

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
    const auto window = vorna::bench::makeMailWindow();
    window->show();
    for (int i = 0; i < 10; ++i) {
        QCoreApplication::processEvents();
    }
    benchWindow = window.get();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
