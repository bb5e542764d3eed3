// What a host's own thread pays for a report without screens: VRNVorna::autoReport returns once
// the report is handed to the kit's main loop; gathering, the host's hook (here attaching a
// 500 KB file), saving and sending happen on the kit's threads. Reports p50 and p99 per call.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <chrono>
#include <vector>

#include "platform/loop/VRNRunLoop.h"
#include "platform/storage/VRNBundle.h"
#include "support/BackendProcess.h"
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

#ifdef VORNA_BACKEND_BINARY
namespace {

// How long after a report the host learns that the backend has it: waitForDelivery, beside a
// bare poll (every 0.2 ms) of the backend's own report count over HTTP. Both include sending the
// report; the difference is what the wait itself costs.
struct DeliveryBench {
    DeliveryBench() {
        vorna::VRNSandbox::setDirectory(dir.path());
        ::setenv("VORNA_API_URL", backend.baseUrl().c_str(), 1);
        vorna::VRNBundle::setMainBundle(std::make_shared<vorna::VRNBundle>(nlohmann::json{
            {"CFBundleIdentifier", "org.vorna.bench.delivery"},
            {"CFBundleShortVersionString", "1.0"},
            {"CFBundleVersion", "1"},
            {"DTPlatformBuild", "linux"},
            {"Vorna", {{"APIClientID", "bench"}, {"APIClientSecret", "b"}}}}));
        vorna::VRNSetLogSink([this](const std::string& line) {
            if (line == "Authentication succeeded") {
                authorized = true;
            }
        });
        vorna::VRNVorna::sharedInstance()->setOnPrepareData([](auto data) { return data; });
        vorna::VRNVorna::start();
        while (!authorized) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        vorna::VRNVorna::waitForDelivery(std::chrono::seconds(10));
    }
    vorna::test::TempDir dir;
    vorna::test::BackendProcess backend{VORNA_BACKEND_BINARY, "bench", "b"};
    std::atomic<bool> authorized{false};
};

DeliveryBench& deliveryBench() {
    static auto* bench = new DeliveryBench;  // one backend and one kit for the process
    return *bench;
}

void BM_WaitForDelivery(benchmark::State& state) {
    auto& bench = deliveryBench();
    for (auto _ : state) {
        vorna::VRNVorna::autoReport();
        if (!vorna::VRNVorna::waitForDelivery(std::chrono::seconds(10))) {
            state.SkipWithError("not delivered");
            break;
        }
    }
    state.counters["reports"] = static_cast<double>(bench.backend.reports().size());
}
BENCHMARK(BM_WaitForDelivery)->Iterations(20)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_BarePollOfTheBackendsCount(benchmark::State& state) {
    auto& bench = deliveryBench();
    size_t count = bench.backend.reports().size();
    for (auto _ : state) {
        vorna::VRNVorna::autoReport();
        while (bench.backend.reports().size() == count) {
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
        ++count;
    }
    vorna::VRNVorna::waitForDelivery(std::chrono::seconds(10));
}
BENCHMARK(BM_BarePollOfTheBackendsCount)->Iterations(20)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
#endif
