// What a host's own thread pays for a report without screens: VRNVorna::autoReport returns once
// the report is handed to the kit's main loop; gathering, the host's hook (here attaching a
// 500 KB file), saving and sending happen on the kit's threads. Reports p50 and p99 per call.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

#include "platform/loop/VRNRunLoop.h"
#include "platform/storage/VRNBundle.h"
#include "support/TempDir.h"
#include "vorna/Vorna.h"
#include "vorna/VornaReportData.h"

namespace {

void BM_AutoReportOnTheHostThread(benchmark::State& state) {
    vorna::test::TempDir dir;
    vorna::VRNSandbox::setDirectory(dir.path());
    vorna::VRNSetLogSink([](const std::string&) {});
    auto attachment = std::make_shared<vorna::VRNVornaFile>(
        std::string("capture.bin"), vorna::VRNVornaFile::Bytes(500 * 1024, 0x5A));
    vorna::VRNVorna::sharedInstance()->setOnPrepareData([attachment](auto data) {
        data->setAttachedFiles(vorna::VRNVornaReportData::Files{attachment});
        return data;
    });
    std::vector<double> micros;
    for (auto _ : state) {
        const auto begin = std::chrono::steady_clock::now();
        vorna::VRNVorna::autoReport();
        micros.push_back(std::chrono::duration<double, std::micro>(
                             std::chrono::steady_clock::now() - begin)
                             .count());
    }
    // Let the kit's main loop finish gathering before the folder goes.
    vorna::VRNRunLoop::main()->runSync([] {});
    std::sort(micros.begin(), micros.end());
    state.counters["p50_us"] = micros[micros.size() / 2];
    state.counters["p99_us"] = micros[micros.size() * 99 / 100];
}
BENCHMARK(BM_AutoReportOnTheHostThread)->Iterations(300)->Unit(benchmark::kMicrosecond);

}  // namespace
