#include "platform/linux/VRNProcMemoryProbe.h"

#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/linux/VRNKernelFiles.h"

namespace vorna {
namespace {

// The "Name: value kB" lines of meminfo, in bytes.
std::optional<std::unordered_map<std::string, uint64_t>> readMeminfo(
    const std::filesystem::path& path) {
    std::ifstream in(path);
    if (!in) {
        return std::nullopt;
    }
    std::unordered_map<std::string, uint64_t> values;
    std::string line;
    while (std::getline(in, line)) {
        const auto colon = line.find(':');
        if (colon == std::string::npos) {
            continue;
        }
        auto value = VRNParseNumber<uint64_t>(std::string_view(line).substr(colon + 1));
        if (value) {
            const bool kilobytes = line.find(" kB") != std::string::npos;
            values[line.substr(0, colon)] = kilobytes ? *value * 1024 : *value;
        }
    }
    return values;
}

}  // namespace

VRNProcMemoryProbe::VRNProcMemoryProbe(std::filesystem::path procRoot, long pageSize)
    : procRoot_(std::move(procRoot)),
      pageSize_(static_cast<uint64_t>(pageSize > 0 ? pageSize : sysconf(_SC_PAGESIZE))) {}

std::optional<uint64_t> VRNProcMemoryProbe::residentSize() {
    std::lock_guard lock(mutex_);
    if (!statm_) {
        statm_.reset(open((procRoot_ / "self" / "statm").c_str(), O_RDONLY | O_CLOEXEC));
        if (!statm_) {
            return std::nullopt;
        }
    }
    char buffer[256];
    const ssize_t length = VRNPreadAll(statm_.get(), buffer, sizeof buffer);
    if (length <= 0) {
        return std::nullopt;
    }
    // "size resident shared text lib data dt", in pages.
    std::string_view text(buffer, static_cast<size_t>(length));
    const auto space = text.find(' ');
    if (space == std::string_view::npos) {
        return std::nullopt;
    }
    auto pages = VRNParseNumber<uint64_t>(text.substr(space + 1));
    if (!pages) {
        return std::nullopt;
    }
    return *pages * pageSize_;
}

std::optional<uint64_t> VRNProcMemoryProbe::physicalMemory() {
    auto values = readMeminfo(procRoot_ / "meminfo");
    if (!values) {
        return std::nullopt;
    }
    auto it = values->find("MemTotal");
    if (it == values->end()) {
        return std::nullopt;
    }
    return it->second;
}

std::optional<VRNHostMemoryStatistics> VRNProcMemoryProbe::hostStatistics() {
    auto values = readMeminfo(procRoot_ / "meminfo");
    if (!values || !values->count("Active") || !values->count("Inactive")) {
        return std::nullopt;
    }
    auto get = [&](const char* name) {
        auto it = values->find(name);
        return it == values->end() ? uint64_t{0} : it->second;
    };
    VRNHostMemoryStatistics statistics;
    statistics.activeBytes = get("Active");
    statistics.inactiveBytes = get("Inactive");
    statistics.wiredBytes =
        get("Unevictable") + get("SUnreclaim") + get("KernelStack") + get("PageTables");
    return statistics;
}

}  // namespace vorna
