#include <gtest/gtest.h>
#include <linux/genetlink.h>
#include <linux/netlink.h>
#include <linux/nl80211.h>
#include <pthread.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <fstream>
#include <thread>

#include "blackbox/BlackBoxFakes.h"
#include "blackbox/VRNSamplers.h"
#include "platform/VRNDeviceProbes.h"

namespace vorna {
namespace {

void write(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << text;  // in place: kept descriptors see the new text
}

void writeStat(const std::filesystem::path& task, int tid, const std::string& name, uint64_t utime,
               uint64_t stime) {
    write(task / std::to_string(tid) / "stat",
          std::to_string(tid) + " (" + name + ") S 1 1 1 0 -1 4194304 10 0 0 0 " +
              std::to_string(utime) + " " + std::to_string(stime) + " 0 0 20 0 3 0 100\n");
}

std::string cpuText(std::shared_ptr<VRNThreadCPUProbe> probe) {
    VRNSamplerDevice device;
    device.probes = std::make_shared<VRNDeviceProbes>();
    device.probes->cpu = std::move(probe);
    return *cpuUsage(device)->value();
}

TEST(ProcThreadCPUProbe, SharesOfTheLastIntervalFromTheThreadsTicks) {
    test::TempDir proc;
    const auto task = proc / "task";
    writeStat(task, 101, "main", 100, 50);
    writeStat(task, 102, "idle one", 10, 0);
    writeStat(task, 103, "odd) (name", 0, 0);
    double now = 0;
    auto probe = std::make_shared<VRNProcThreadCPUProbe>(
        task, [&now] { return now; }, /*ticks*/ 100);

    now = 0.5;
    writeStat(task, 101, "main", 120, 55);       // 25 ticks in 0.5 s: half a core
    writeStat(task, 103, "odd) (name", 0, 100);  // more than the interval: one core at most
    writeStat(task, 104, "new", 10, 0);          // born during the interval
    auto threads = probe->sampleThreads();
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

    // An ended thread leaves the list; nobody worked: 0.
    std::filesystem::remove_all(task / "101");
    now = 1.0;
    EXPECT_EQ(cpuText(probe), "0.000");
    now = 1.5;
    threads = probe->sampleThreads();
    ASSERT_TRUE(threads);
    EXPECT_EQ(threads->size(), 3u);
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

TEST(ProcThreadCPUProbe, AnUnreadableThreadListReadsMinusOne) {
    test::TempDir proc;
    EXPECT_EQ(cpuText(std::make_shared<VRNProcThreadCPUProbe>(proc / "no-task")), "-1.000");
}

// Remembers what the real probe answered, so the test sees the threads behind the figure.
struct RecordingProbe : VRNThreadCPUProbe {
    VRNProcThreadCPUProbe real;
    std::optional<std::vector<VRNThreadCPUUsage>> last;
    std::optional<std::vector<VRNThreadCPUUsage>> sampleThreads() override {
        return last = real.sampleThreads();
    }
};

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
    auto probe = std::make_shared<RecordingProbe>();
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
        probe->sampleThreads();
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
        const double value = std::stod(cpuText(probe));
        stop = true;
        for (auto& spinner : spinners) {
            spinner.join();
        }
        const double expected = used / wall * 100.0;
        EXPECT_NEAR(value, expected, 10.0 + 5.0 * busyThreads) << busyThreads;
        EXPECT_LE(value, 100.0 * std::thread::hardware_concurrency() + 10.0);
        ASSERT_TRUE(probe->last);
        const auto working = std::count_if(probe->last->begin(), probe->last->end(),
                                           [](const auto& thread) { return !thread.idle; });
        EXPECT_GE(working, busyThreads);
    }
}

TEST(ProcMemoryProbe, ResidentPagesAndHostMemory) {
    test::TempDir proc;
    write(proc / "self" / "statm", "100000 38400 500 10 0 900 0\n");
    write(proc / "meminfo",
          "MemTotal:        2048 kB\nMemFree:  1 kB\nActive:  100 kB\nInactive:  50 kB\n"
          "Unevictable:  1 kB\nSUnreclaim:  2 kB\nKernelStack:  3 kB\nPageTables:  4 kB\n");
    auto probe = std::make_shared<VRNProcMemoryProbe>(proc.path(), 4096);
    EXPECT_EQ(probe->residentSize(), 157286400u);
    EXPECT_EQ(probe->physicalMemory(), 2048u * 1024);
    const auto host = probe->hostStatistics();
    ASSERT_TRUE(host);
    EXPECT_EQ(host->activeBytes, 100u * 1024);
    EXPECT_EQ(host->inactiveBytes, 50u * 1024);
    EXPECT_EQ(host->wiredBytes, 10u * 1024);
    write(proc / "self" / "statm", "100000 256 500 10 0 900 0\n");  // read again in place
    EXPECT_EQ(probe->residentSize(), 1048576u);

    EXPECT_FALSE(VRNProcMemoryProbe(proc / "none").residentSize());
}

TEST(SysfsBatteryProbe, TheFirstSystemBattery) {
    test::TempDir sys;
    write(sys / "AC" / "type", "Mains\n");
    write(sys / "AC" / "online", "1\n");
    auto none = VRNSysfsBatteryProbe(sys.path()).batteryReading();
    EXPECT_EQ(none.state, VRNBatteryState::Unknown);
    EXPECT_EQ(none.level, -1.0f);

    write(sys / "hid-mouse" / "type", "Battery\n");
    write(sys / "hid-mouse" / "scope", "Device\n");
    write(sys / "hid-mouse" / "status", "Discharging\n");
    write(sys / "hid-mouse" / "capacity", "20\n");
    write(sys / "BAT0" / "type", "Battery\n");
    write(sys / "BAT0" / "status", "Charging\n");
    write(sys / "BAT0" / "capacity", "50\n");
    auto reading = VRNSysfsBatteryProbe(sys.path()).batteryReading();
    EXPECT_EQ(reading.state, VRNBatteryState::Charging);
    EXPECT_FLOAT_EQ(reading.level, 0.5f);

    std::filesystem::remove(sys / "BAT0" / "capacity");
    write(sys / "BAT0" / "status", "Not charging\n");
    write(sys / "BAT0" / "energy_now", "40000000\n");
    write(sys / "BAT0" / "energy_full", "50000000\n");
    reading = VRNSysfsBatteryProbe(sys.path()).batteryReading();
    EXPECT_EQ(reading.state, VRNBatteryState::Full);
    EXPECT_FLOAT_EQ(reading.level, 0.8f);
    write(sys / "BAT0" / "status", "Discharging\n");
    EXPECT_EQ(VRNSysfsBatteryProbe(sys.path()).batteryReading().state, VRNBatteryState::Unplugged);
}

TEST(StatvfsFileSystemProbe, APathNotYetMadeIsMeasuredOnItsVolume) {
    test::TempDir dir;
    VRNStatvfsFileSystemProbe probe;
    const auto existing = probe.attributesOfFileSystemForPath(dir.path());
    const auto future = probe.attributesOfFileSystemForPath(dir / "app/Documents");
    ASSERT_TRUE(existing && future);
    EXPECT_GT(existing->totalSize, 0u);
    EXPECT_EQ(future->totalSize, existing->totalSize);
}

// Netlink messages as the kernel sends them, for the dump parser.
struct Dump {
    std::vector<uint8_t> bytes;
    void message(uint16_t type, const std::vector<std::pair<uint16_t, std::string>>& attributes) {
        std::vector<uint8_t> payload(GENL_HDRLEN);
        for (const auto& [kind, value] : attributes) {
            nlattr header{static_cast<uint16_t>(NLA_HDRLEN + value.size()), kind};
            const size_t at = payload.size();
            payload.resize(at + NLA_ALIGN(header.nla_len));
            std::memcpy(payload.data() + at, &header, sizeof header);
            std::memcpy(payload.data() + at + NLA_HDRLEN, value.data(), value.size());
        }
        nlmsghdr header{};
        header.nlmsg_len = static_cast<uint32_t>(NLMSG_HDRLEN + payload.size());
        header.nlmsg_type = type;
        const size_t at = bytes.size();
        bytes.resize(at + NLMSG_HDRLEN);
        std::memcpy(bytes.data() + at, &header, sizeof header);
        bytes.insert(bytes.end(), payload.begin(), payload.end());
    }
    std::optional<std::string> parse(VRNNl80211WiFiProbe::DumpResult* result) const {
        bool saw = false;
        std::optional<std::string> ssid;
        *result =
            VRNNl80211WiFiProbe::parseInterfaceDump(bytes.data(), bytes.size(), 28, &saw, &ssid);
        return ssid;
    }
};

std::string index(uint32_t i) {
    return std::string(reinterpret_cast<const char*>(&i), 4);
}

TEST(Nl80211WiFiProbe, TheNameOfTheFirstWirelessInterface) {
    using Result = VRNNl80211WiFiProbe::DumpResult;
    Result result{};
    Dump dump;
    dump.message(28, {{NL80211_ATTR_SSID, "p2p-only"}});  // a device without an interface
    dump.message(28, {{NL80211_ATTR_IFINDEX, index(3)}, {NL80211_ATTR_SSID, "CafeNet"}});
    dump.message(28, {{NL80211_ATTR_IFINDEX, index(4)}, {NL80211_ATTR_SSID, "Other"}});
    EXPECT_EQ(dump.parse(&result), "CafeNet");
    EXPECT_EQ(result, Result::Continue);
    dump.message(NLMSG_DONE, {});
    dump.parse(&result);
    EXPECT_EQ(result, Result::Done);

    Dump unassociated;
    unassociated.message(28, {{NL80211_ATTR_IFINDEX, index(3)}});
    unassociated.message(28, {{NL80211_ATTR_IFINDEX, index(4)}, {NL80211_ATTR_SSID, "Other"}});
    EXPECT_EQ(unassociated.parse(&result), std::nullopt);

    Dump truncated = dump;
    truncated.bytes.resize(truncated.bytes.size() - 24);  // into the last interface
    truncated.parse(&result);
    EXPECT_EQ(result, Result::Failed);
}

}  // namespace
}  // namespace vorna
