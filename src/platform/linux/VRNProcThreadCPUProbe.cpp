#include "platform/linux/VRNProcThreadCPUProbe.h"

#include <dirent.h>
#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string_view>

#include "platform/linux/VRNKernelFiles.h"

namespace vorna {
namespace {

double monotonicSeconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// utime + stime of a thread's stat line. The command name in parentheses may itself hold
// spaces and parentheses, so the fields are counted from the last ')'.
std::optional<uint64_t> parseStatTicks(std::string_view line) {
    const auto close = line.rfind(')');
    if (close == std::string_view::npos) {
        return std::nullopt;
    }
    std::string_view rest = line.substr(close + 1);
    // Fields after the name: state is field 3, utime field 14, stime field 15.
    uint64_t ticks = 0;
    for (int field = 3; field <= 15; ++field) {
        while (!rest.empty() && rest.front() == ' ') {
            rest.remove_prefix(1);
        }
        const auto end = std::min(rest.find(' '), rest.size());
        if (end == 0) {
            return std::nullopt;
        }
        if (field >= 14) {
            auto value = VRNParseNumber<uint64_t>(rest.substr(0, end));
            if (!value) {
                return std::nullopt;
            }
            ticks += *value;
        }
        rest.remove_prefix(end);
    }
    return ticks;
}

}  // namespace

VRNProcThreadCPUProbe::VRNProcThreadCPUProbe(std::filesystem::path taskDirectory, Clock clock,
                                             long ticksPerSecond)
    : taskDirectory_(std::move(taskDirectory)),
      clock_(clock ? std::move(clock) : Clock(monotonicSeconds)),
      ticksPerSecond_(
          static_cast<double>(ticksPerSecond > 0 ? ticksPerSecond : sysconf(_SC_CLK_TCK))) {
    // The baseline: the first sample measures from here.
    std::lock_guard lock(mutex_);
    lastSample_ = clock_();
    refresh(nullptr, 0);
}

void VRNProcThreadCPUProbe::forget(Thread& thread) {
    if (thread.stat) {
        thread.stat.reset();
        --keptDescriptors_;
    }
}

bool VRNProcThreadCPUProbe::readTicks(Thread& thread, const char* name, bool reopen) {
    if (reopen) {
        forget(thread);
    }
    VRNFileDescriptor opened;
    if (!thread.stat) {
        char statPath[64];
        std::snprintf(statPath, sizeof statPath, "%s/stat", name);
        opened.reset(openat(dirfd(directory_.get()), statPath, O_RDONLY | O_CLOEXEC));
        if (!opened) {
            return false;
        }
    }
    char buffer[1024];
    const ssize_t length =
        VRNPreadAll(opened ? opened.get() : thread.stat.get(), buffer, sizeof buffer);
    // Descriptors are the host's to spend: past a few hundred threads the rest are opened for
    // each sample and closed again.
    if (opened && keptDescriptors_ < kMaxKeptDescriptors) {
        thread.stat = std::move(opened);
        ++keptDescriptors_;
    }
    if (length <= 0) {
        return false;
    }
    auto ticks = parseStatTicks(std::string_view(buffer, static_cast<size_t>(length)));
    if (!ticks) {
        return false;
    }
    thread.ticks = *ticks;
    return true;
}

bool VRNProcThreadCPUProbe::refresh(std::vector<VRNThreadCPUUsage>* usage, double interval) {
    if (!directory_) {
        directory_.reset(opendir(taskDirectory_.c_str()));
        if (!directory_) {
            return false;
        }
    }
    DIR* dir = directory_.get();
    rewinddir(dir);
    const uint64_t generation = ++generation_;
    for (;;) {
        errno = 0;
        const dirent* entry = readdir(dir);
        if (entry == nullptr) {
            if (errno != 0) {
                return false;
            }
            break;
        }
        const auto tid = VRNParseNumber<pid_t>(entry->d_name);
        if (!tid || *tid <= 0) {
            continue;
        }
        auto [it, inserted] = threads_.try_emplace(*tid);
        Thread& thread = it->second;
        const uint64_t before = thread.ticks;
        // A failed read on a kept descriptor means its thread ended; a listed thread with that
        // id is a new one, so its file is opened afresh.
        bool ok = readTicks(thread, entry->d_name, false);
        bool fresh = inserted;
        if (!ok && !inserted) {
            ok = readTicks(thread, entry->d_name, true);
            fresh = true;
        }
        if (!ok) {
            // Ended between the listing and the read: it no longer belongs to the process.
            forget(thread);
            threads_.erase(it);
            continue;
        }
        thread.generation = generation;
        if (usage == nullptr) {
            continue;
        }
        // A thread that was not there at the previous sample did all its work since then.
        const uint64_t used = fresh ? thread.ticks : thread.ticks - std::min(before, thread.ticks);
        VRNThreadCPUUsage sample;
        sample.idle = used == 0;
        if (!sample.idle && interval > 0) {
            const double share = static_cast<double>(used) / ticksPerSecond_ / interval;
            const double scale = VRNThreadUsageScale;
            sample.cpuUsage = static_cast<int32_t>(std::min(share * scale + 0.5, scale));
        }
        usage->push_back(sample);
    }
    for (auto it = threads_.begin(); it != threads_.end();) {
        if (it->second.generation != generation) {
            forget(it->second);
            it = threads_.erase(it);
        } else {
            ++it;
        }
    }
    return true;
}

std::optional<std::vector<VRNThreadCPUUsage>> VRNProcThreadCPUProbe::sampleThreads() {
    std::lock_guard lock(mutex_);
    const double now = clock_();
    const double interval = now - lastSample_;
    std::vector<VRNThreadCPUUsage> usage;
    usage.reserve(threads_.size() + 8);
    if (!refresh(&usage, interval)) {
        // The next good sample then measures from the last good one.
        return std::nullopt;
    }
    lastSample_ = now;
    return usage;
}

}  // namespace vorna
