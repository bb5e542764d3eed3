// What one black box tick costs: a CPU sample of a process with many threads, a push into a
// full history (archive + defaults write), and reading a history back for a report.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <future>
#include <thread>
#include <vector>

#include "blackbox/VRNBlackBox.h"
#include "blackbox/VRNQueue.h"
#include "blackbox/VRNSamplers.h"
#include "platform/VRNDeviceProbes.h"
#include "platform/linux/VRNProcThreadCPUProbe.h"
#include "platform/storage/VRNKeyValueStore.h"
#include "platform/loop/VRNVirtualRunLoop.h"
#include "state/VRNAppRepository.h"
#include "state/VRNConstants.h"

namespace {

using namespace vorna;

// Threads that exist and sleep, as in a host with a large thread pool.
class SleepingThreads {
public:
    explicit SleepingThreads(int count) {
        auto released = release_.get_future().share();
        for (int i = 0; i < count; ++i) {
            threads_.emplace_back([released] { released.wait(); });
        }
    }
    ~SleepingThreads() {
        release_.set_value();
        for (auto& thread : threads_) {
            thread.join();
        }
    }

private:
    std::promise<void> release_;
    std::vector<std::thread> threads_;
};

std::filesystem::path tempDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vorna-bench-XXXXXX").string();
    return mkdtemp(pattern.data()) ? std::filesystem::path(pattern) : std::filesystem::path();
}

void BM_ThreadCPUProbeSample(benchmark::State& state) {
    SleepingThreads threads(static_cast<int>(state.range(0)));
    VRNProcThreadCPUProbe probe;
    for (auto _ : state) {
        benchmark::DoNotOptimize(probe.sampleThreads());
    }
    state.counters["threads"] = static_cast<double>(state.range(0) + 1);
}
BENCHMARK(BM_ThreadCPUProbeSample)
    ->Arg(1)
    ->Arg(50)
    ->Arg(200)
    ->Arg(400)
    ->Unit(benchmark::kMicrosecond);

// The whole sampler: probe, sum, "%.3f" text and timestamp.
void BM_CpuUsageRecord(benchmark::State& state) {
    SleepingThreads threads(static_cast<int>(state.range(0)));
    VRNSamplerDevice device;
    device.probes = std::make_shared<VRNDeviceProbes>();
    device.probes->cpu = std::make_shared<VRNProcThreadCPUProbe>();
    for (auto _ : state) {
        benchmark::DoNotOptimize(cpuUsage(device));
    }
}
BENCHMARK(BM_CpuUsageRecord)->Arg(50)->Arg(200)->Unit(benchmark::kMicrosecond);

void BM_HalfSecondSamplers(benchmark::State& state) {
    auto device = VRNSamplerDevice::makeDefault();
    for (auto _ : state) {
        benchmark::DoNotOptimize(memoryUsage(*device));
        benchmark::DoNotOptimize(storageUsage(*device));
    }
}
BENCHMARK(BM_HalfSecondSamplers)->Unit(benchmark::kMicrosecond);

void BM_BatterySampler(benchmark::State& state) {
    auto device = VRNSamplerDevice::makeDefault();
    for (auto _ : state) {
        benchmark::DoNotOptimize(battery(*device));
    }
}
BENCHMARK(BM_BatterySampler)->Unit(benchmark::kMicrosecond);

// A push into a full history of 120: the whole list is archived and written to the defaults.
void BM_FullQueuePush(benchmark::State& state) {
    const auto dir = tempDirectory();
    auto repository = std::make_shared<VRNAppRepository>(
        std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite"));
    VRNQueue queue(static_cast<int32_t>(NUMBER_OF_ELEMENTS_IN_HALF_SEC_REPORT), "cpuHistoryKey",
                   repository);
    for (int i = 0; i < NUMBER_OF_ELEMENTS_IN_HALF_SEC_REPORT; ++i) {
        queue.push(std::make_shared<Record>("12.345", "2024-03-05T14:07:09+01:00"));
    }
    for (auto _ : state) {
        queue.push(std::make_shared<Record>("12.345", "2024-03-05T14:07:09+01:00"));
    }
    std::filesystem::remove_all(dir);
}
BENCHMARK(BM_FullQueuePush)->Unit(benchmark::kMicrosecond);

// Reading a full history back through the secure reader, as a report does six times.
void BM_HistorySnapshot(benchmark::State& state) {
    const auto dir = tempDirectory();
    auto repository = std::make_shared<VRNAppRepository>(
        std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite"));
    VRNQueue queue(static_cast<int32_t>(NUMBER_OF_ELEMENTS_IN_HALF_SEC_REPORT), "cpuHistoryKey",
                   repository);
    for (int i = 0; i < NUMBER_OF_ELEMENTS_IN_HALF_SEC_REPORT; ++i) {
        queue.push(std::make_shared<Record>("12.345", "2024-03-05T14:07:09+01:00"));
    }
    auto recorder = std::make_shared<VRNBlackBox>(repository);
    for (auto _ : state) {
        benchmark::DoNotOptimize(recorder->cpuHistory());
    }
    std::filesystem::remove_all(dir);
}
BENCHMARK(BM_HistorySnapshot)->Unit(benchmark::kMicrosecond);

}  // namespace

namespace {

// What a restart costs the host's thread: a recorder over a store that already holds six full
// histories (120, 120, 120, 30, 30, 30 samples) reads them back when it starts recording.
void BM_BlackBoxStartWithFullHistories(benchmark::State& state) {
    const auto dir = std::filesystem::temp_directory_path() / "vorna-bench-bb-start";
    std::filesystem::remove_all(dir);
    auto repository = std::make_shared<VRNAppRepository>(
        std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite"));
    auto loop = std::make_shared<VRNVirtualRunLoop>();
    {
        auto filling = std::make_shared<VRNBlackBox>(repository, loop);
        filling->startRecording();
        loop->advance(61);
    }
    for (auto _ : state) {
        auto blackBox = std::make_shared<VRNBlackBox>(repository, loop);
        blackBox->startRecording();
        benchmark::DoNotOptimize(blackBox.get());
        state.PauseTiming();
        blackBox.reset();
        state.ResumeTiming();
    }
    std::filesystem::remove_all(dir);
}
BENCHMARK(BM_BlackBoxStartWithFullHistories)->Unit(benchmark::kMicrosecond);

}  // namespace
