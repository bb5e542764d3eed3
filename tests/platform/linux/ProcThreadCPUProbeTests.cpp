#include <gtest/gtest.h>
#include <pthread.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include "platform/linux/KernelFiles.h"
#include "platform/linux/VRNProcThreadCPUProbe.h"
#include "support/TempDir.h"

namespace vorna {
namespace {

using test::writeKernelFile;

void writeStat(const std::filesystem::path& task, int tid, const std::string& name, uint64_t utime,
               uint64_t stime) {
    writeKernelFile(task / std::to_string(tid) / "stat",
                    std::to_string(tid) + " (" + name + ") S 1 1 1 0 -1 4194304 10 0 0 0 " +
                        std::to_string(utime) + " " + std::to_string(stime) +
                        " 0 0 20 0 3 0 100\n");
}

// The shares of the threads that worked, in per cent of one core.
double busyPercent(const std::vector<VRNThreadCPUUsage>& threads) {
    double total = 0;
    for (const auto& thread : threads) {
        if (!thread.idle) {
            total += 100.0 * thread.cpuUsage / VRNThreadUsageScale;
        }
    }
    return total;
}

TEST(ProcThreadCPUProbe, SharesOfTheLastIntervalFromTheThreadsTicks) {
    test::TempDir proc;
    const auto task = proc / "task";
    writeStat(task, 101, "main", 100, 50);
    writeStat(task, 102, "idle one", 10, 0);
    writeStat(task, 103, "odd) (name", 0, 0);
    double now = 0;
    VRNProcThreadCPUProbe probe(
        task, [&now] { return now; }, /*ticks*/ 100);

    now = 0.5;
    writeStat(task, 101, "main", 120, 55);       // 25 ticks in 0.5 s: half a core
    writeStat(task, 103, "odd) (name", 0, 100);  // more than the interval: one core at most
    writeStat(task, 104, "new", 10, 0);          // born during the interval
    auto threads = probe.sampleThreads();
    ASSERT_TRUE(threads);
    std::vector<int32_t> busy;
    for (const auto& thread : *threads) {
        if (!thread.idle) {
            busy.push_back(thread.cpuUsage);
        }
    }
    std::sort(busy.begin(), busy.end());
    EXPECT_EQ(threads->size(), 4u);
    EXPECT_EQ(busy, (std::vector<int32_t>{200, 500, 1000}));

    // An ended thread leaves the list; nobody worked.
    std::filesystem::remove_all(task / "101");
    now = 1.0;
    threads = probe.sampleThreads();
    ASSERT_TRUE(threads);
    EXPECT_EQ(threads->size(), 3u);
    EXPECT_TRUE(std::all_of(threads->begin(), threads->end(),
                            [](const auto& thread) { return thread.idle; }));
}

size_t openDescriptors() {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                                             std::filesystem::directory_iterator()));
}

TEST(ProcThreadCPUProbe, AHostWithManyThreadsKeepsAFewHundredDescriptorsAtMost) {
    test::TempDir proc;
    const auto task = proc / "task";
    for (int tid = 1; tid <= 600; ++tid) {
        writeStat(task, tid, "worker", 0, 0);
    }
    double now = 0;
    const size_t before = openDescriptors();
    {
        VRNProcThreadCPUProbe probe(
            task, [&now] { return now; }, 100);
        EXPECT_LE(openDescriptors() - before, 300u);
        for (int tid = 1; tid <= 600; ++tid) {
            writeStat(task, tid, "worker", 5, 0);
        }
        now = 0.5;
        const auto threads = probe.sampleThreads();
        ASSERT_TRUE(threads);
        EXPECT_EQ(threads->size(), 600u);
        EXPECT_TRUE(std::all_of(threads->begin(), threads->end(), [](const auto& thread) {
            return !thread.idle && thread.cpuUsage == 100;
        }));
    }
    // The kept descriptors and the directory go with the probe.
    EXPECT_EQ(openDescriptors(), before);
}

TEST(ProcThreadCPUProbe, AnUnreadableThreadListAnswersNothing) {
    test::TempDir proc;
    EXPECT_FALSE(VRNProcThreadCPUProbe(proc / "no-task").sampleThreads());
}

double threadSeconds(std::thread& thread) {
    clockid_t clock{};
    pthread_getcpuclockid(thread.native_handle(), &clock);
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// The real kernel, with threads that spin. How much CPU they get depends on what else the
// machine runs, so the figure is checked against the kernel's own clock of each thread.
TEST(ProcThreadCPUProbe, ReadsTheCpuThatBusyThreadsReallyUsed) {
    VRNProcThreadCPUProbe probe;
    for (int busyThreads : {1, 3}) {
        std::atomic<bool> stop{false};
        std::vector<std::thread> spinners;
        for (int i = 0; i < busyThreads; ++i) {
            spinners.emplace_back([&stop] {
                volatile uint64_t n = 0;
                while (!stop.load(std::memory_order_relaxed)) {
                    n = n + 1;
                }
            });
        }
        probe.sampleThreads();
        const auto start = std::chrono::steady_clock::now();
        std::vector<double> before;
        for (auto& spinner : spinners) {
            before.push_back(threadSeconds(spinner));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(600));
        double used = 0;
        for (size_t i = 0; i < spinners.size(); ++i) {
            used += threadSeconds(spinners[i]) - before[i];
        }
        const double wall =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        const auto threads = probe.sampleThreads();
        stop = true;
        for (auto& spinner : spinners) {
            spinner.join();
        }
        ASSERT_TRUE(threads);
        const double value = busyPercent(*threads);
        const double expected = used / wall * 100.0;
        EXPECT_NEAR(value, expected, 10.0 + 5.0 * busyThreads) << busyThreads;
        EXPECT_LE(value, 100.0 * std::thread::hardware_concurrency() + 10.0);
        const auto working = std::count_if(threads->begin(), threads->end(),
                                           [](const auto& thread) { return !thread.idle; });
        EXPECT_GE(working, busyThreads);
    }
}

}  // namespace
}  // namespace vorna
