#include "platform/VRNDeviceProbes.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/genetlink.h>
#include <linux/netlink.h>
#include <linux/nl80211.h>
#include <sys/socket.h>
#include <sys/statvfs.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <string_view>
#include <system_error>

namespace vorna {
namespace {

double monotonicSeconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// Reads a whole small file through an open descriptor, from its start. Files under /proc and
// /sys are generated at each read, so re-reading the same descriptor gives the current values.
ssize_t preadAll(int fd, char* buffer, size_t capacity) {
    size_t length = 0;
    while (length < capacity) {
        const ssize_t n = pread(fd, buffer + length, capacity - length, static_cast<off_t>(length));
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return -1;
        }
        if (n == 0) {
            break;
        }
        length += static_cast<size_t>(n);
    }
    return static_cast<ssize_t>(length);
}

std::optional<std::string> readSmallFile(const std::filesystem::path& path) {
    std::ifstream in(path);
    if (!in) {
        return std::nullopt;
    }
    std::string text;
    std::getline(in, text, '\0');
    if (in.bad()) {
        return std::nullopt;
    }
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ' || text.back() == '\r')) {
        text.pop_back();
    }
    return text;
}

template <class T>
std::optional<T> parseNumber(std::string_view text) {
    while (!text.empty() && text.front() == ' ') {
        text.remove_prefix(1);
    }
    T value{};
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc() || end == text.data()) {
        return std::nullopt;
    }
    return value;
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
            auto value = parseNumber<uint64_t>(rest.substr(0, end));
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

// --- CPU --------------------------------------------------------------------------------------

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

VRNProcThreadCPUProbe::~VRNProcThreadCPUProbe() {
    closeAll();
    if (directory_ != nullptr) {
        closedir(static_cast<DIR*>(directory_));
    }
}

void VRNProcThreadCPUProbe::closeAll() {
    for (auto& [tid, thread] : threads_) {
        forget(thread);
    }
    threads_.clear();
}

void VRNProcThreadCPUProbe::forget(Thread& thread) {
    if (thread.fd >= 0) {
        close(thread.fd);
        thread.fd = -1;
        --keptDescriptors_;
    }
}

bool VRNProcThreadCPUProbe::readTicks(Thread& thread, const char* name, bool reopen) {
    if (reopen) {
        forget(thread);
    }
    int fd = thread.fd;
    bool keep = false;
    if (fd < 0) {
        char statPath[64];
        std::snprintf(statPath, sizeof statPath, "%s/stat", name);
        fd = openat(dirfd(static_cast<DIR*>(directory_)), statPath, O_RDONLY | O_CLOEXEC);
        if (fd < 0) {
            return false;
        }
        // Descriptors are the host's to spend: past a few hundred threads the rest are opened
        // for each sample and closed again.
        keep = keptDescriptors_ < kMaxKeptDescriptors;
    }
    char buffer[1024];
    const ssize_t length = preadAll(fd, buffer, sizeof buffer);
    if (keep) {
        thread.fd = fd;
        ++keptDescriptors_;
    } else if (fd != thread.fd) {
        close(fd);
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
    if (directory_ == nullptr) {
        directory_ = opendir(taskDirectory_.c_str());
        if (directory_ == nullptr) {
            return false;
        }
    }
    DIR* dir = static_cast<DIR*>(directory_);
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
        const auto tid = parseNumber<pid_t>(entry->d_name);
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

// --- memory -----------------------------------------------------------------------------------

VRNProcMemoryProbe::VRNProcMemoryProbe(std::filesystem::path procRoot, long pageSize)
    : procRoot_(std::move(procRoot)),
      pageSize_(static_cast<uint64_t>(pageSize > 0 ? pageSize : sysconf(_SC_PAGESIZE))) {}

VRNProcMemoryProbe::~VRNProcMemoryProbe() {
    if (statmFd_ >= 0) {
        close(statmFd_);
    }
}

std::optional<uint64_t> VRNProcMemoryProbe::residentSize() {
    std::lock_guard lock(mutex_);
    if (statmFd_ < 0) {
        statmFd_ = open((procRoot_ / "self" / "statm").c_str(), O_RDONLY | O_CLOEXEC);
        if (statmFd_ < 0) {
            return std::nullopt;
        }
    }
    char buffer[256];
    const ssize_t length = preadAll(statmFd_, buffer, sizeof buffer);
    if (length <= 0) {
        return std::nullopt;
    }
    // "size resident shared text lib data dt", in pages.
    std::string_view text(buffer, static_cast<size_t>(length));
    const auto space = text.find(' ');
    if (space == std::string_view::npos) {
        return std::nullopt;
    }
    auto pages = parseNumber<uint64_t>(text.substr(space + 1));
    if (!pages) {
        return std::nullopt;
    }
    return *pages * pageSize_;
}

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
        auto value = parseNumber<uint64_t>(std::string_view(line).substr(colon + 1));
        if (value) {
            const bool kilobytes = line.find(" kB") != std::string::npos;
            values[line.substr(0, colon)] = kilobytes ? *value * 1024 : *value;
        }
    }
    return values;
}

}  // namespace

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

// --- file system ------------------------------------------------------------------------------

std::optional<VRNFileSystemAttributes> VRNStatvfsFileSystemProbe::attributesOfFileSystemForPath(
    const std::filesystem::path& path) {
    std::filesystem::path probe = path;
    struct statvfs info {};
    for (;;) {
        if (statvfs(probe.c_str(), &info) == 0) {
            break;
        }
        if (errno != ENOENT || !probe.has_relative_path()) {
            return std::nullopt;
        }
        auto parent = probe.parent_path();
        if (parent == probe) {
            return std::nullopt;
        }
        probe = std::move(parent);
    }
    VRNFileSystemAttributes attributes;
    attributes.totalSize = static_cast<uint64_t>(info.f_blocks) * info.f_frsize;
    attributes.freeSize = static_cast<uint64_t>(info.f_bavail) * info.f_frsize;
    return attributes;
}

// --- battery ----------------------------------------------------------------------------------

VRNSysfsBatteryProbe::VRNSysfsBatteryProbe(std::filesystem::path powerSupplyDirectory)
    : directory_(std::move(powerSupplyDirectory)) {}

VRNBatteryReading VRNSysfsBatteryProbe::batteryReading() {
    std::error_code ec;
    std::vector<std::filesystem::path> supplies;
    for (const auto& entry : std::filesystem::directory_iterator(directory_, ec)) {
        supplies.push_back(entry.path());
    }
    // The kernel lists supplies in no set order; BAT0 before BAT1.
    std::sort(supplies.begin(), supplies.end());
    for (const auto& supply : supplies) {
        if (readSmallFile(supply / "type") != "Battery") {
            continue;
        }
        // A mouse's or a headset's battery says nothing about the device.
        if (readSmallFile(supply / "scope") == "Device") {
            continue;
        }
        VRNBatteryReading reading;
        const auto status = readSmallFile(supply / "status");
        if (status == "Charging") {
            reading.state = VRNBatteryState::Charging;
        } else if (status == "Discharging") {
            reading.state = VRNBatteryState::Unplugged;
        } else if (status == "Full" || status == "Not charging") {
            // "Not charging": on external power with the battery held where the charger
            // leaves it, which is what "full" tells a reader.
            reading.state = VRNBatteryState::Full;
        }
        if (auto capacity = readSmallFile(supply / "capacity")) {
            if (auto percent = parseNumber<int>(*capacity)) {
                reading.level = std::clamp(static_cast<float>(*percent) / 100.0f, 0.0f, 1.0f);
                return reading;
            }
        }
        for (const char* kind : {"energy", "charge"}) {
            auto now = readSmallFile(supply / (std::string(kind) + "_now"));
            auto full = readSmallFile(supply / (std::string(kind) + "_full"));
            auto nowValue = now ? parseNumber<uint64_t>(*now) : std::nullopt;
            auto fullValue = full ? parseNumber<uint64_t>(*full) : std::nullopt;
            if (nowValue && fullValue && *fullValue > 0) {
                reading.level = std::clamp(
                    static_cast<float>(static_cast<double>(*nowValue) / *fullValue), 0.0f, 1.0f);
                break;
            }
        }
        return reading;
    }
    return {};
}

// --- Wi-Fi ------------------------------------------------------------------------------------

namespace {

constexpr size_t kNetlinkAlign = 4;

constexpr size_t align4(size_t n) {
    return (n + kNetlinkAlign - 1) & ~(kNetlinkAlign - 1);
}
constexpr size_t kMessageHeader = align4(sizeof(nlmsghdr));
constexpr size_t kGenericHeader = align4(sizeof(genlmsghdr));
constexpr size_t kHeaders = kMessageHeader + kGenericHeader;

// Walks the attributes of one generic-netlink message payload.
template <class Visitor>
void forEachAttribute(const uint8_t* bytes, size_t length, Visitor&& visit) {
    size_t offset = 0;
    while (offset + sizeof(nlattr) <= length) {
        nlattr attribute{};
        std::memcpy(&attribute, bytes + offset, sizeof attribute);
        if (attribute.nla_len < sizeof(nlattr) || offset + attribute.nla_len > length) {
            return;
        }
        visit(static_cast<uint16_t>(attribute.nla_type & NLA_TYPE_MASK),
              bytes + offset + sizeof(nlattr), attribute.nla_len - sizeof(nlattr));
        offset += align4(attribute.nla_len);
    }
}

class NetlinkSocket {
public:
    NetlinkSocket() : fd_(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_GENERIC)) {
        if (fd_ >= 0) {
            // The sampler runs on the main thread: a kernel that does not answer must not
            // hold it up.
            timeval timeout{1, 0};
            setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
        }
    }
    ~NetlinkSocket() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    NetlinkSocket(const NetlinkSocket&) = delete;
    NetlinkSocket& operator=(const NetlinkSocket&) = delete;

    bool valid() const { return fd_ >= 0; }

    bool send(uint16_t type, uint16_t flags, uint8_t command, uint8_t version,
              const std::vector<std::pair<uint16_t, std::string>>& attributes) {
        std::vector<uint8_t> message(kHeaders);
        for (const auto& [attributeType, value] : attributes) {
            const size_t start = message.size();
            const size_t length = sizeof(nlattr) + value.size() + 1;
            message.resize(start + align4(length));
            nlattr header{static_cast<uint16_t>(length), attributeType};
            std::memcpy(message.data() + start, &header, sizeof header);
            std::memcpy(message.data() + start + sizeof header, value.c_str(), value.size() + 1);
        }
        nlmsghdr header{};
        header.nlmsg_len = static_cast<uint32_t>(message.size());
        header.nlmsg_type = type;
        header.nlmsg_flags = static_cast<uint16_t>(NLM_F_REQUEST | flags);
        header.nlmsg_seq = ++sequence_;
        std::memcpy(message.data(), &header, sizeof header);
        genlmsghdr generic{command, version, 0};
        std::memcpy(message.data() + kMessageHeader, &generic, sizeof generic);
        sockaddr_nl kernel{};
        kernel.nl_family = AF_NETLINK;
        return sendto(fd_, message.data(), message.size(), 0,
                      reinterpret_cast<const sockaddr*>(&kernel),
                      sizeof kernel) == static_cast<ssize_t>(message.size());
    }

    // One datagram of replies, or -1.
    ssize_t receive(std::vector<uint8_t>& buffer) {
        for (;;) {
            const ssize_t n = recv(fd_, buffer.data(), buffer.size(), 0);
            if (n < 0 && errno == EINTR) {
                continue;
            }
            return n;
        }
    }

private:
    int fd_;
    uint32_t sequence_ = 0;
};

// The numeric id of the nl80211 family, or nothing when the kernel has no wireless stack.
std::optional<uint16_t> resolveNl80211(NetlinkSocket& socket) {
    if (!socket.send(GENL_ID_CTRL, 0, CTRL_CMD_GETFAMILY, 1,
                     {{CTRL_ATTR_FAMILY_NAME, NL80211_GENL_NAME}})) {
        return std::nullopt;
    }
    std::vector<uint8_t> buffer(8192);
    const ssize_t length = socket.receive(buffer);
    if (length < static_cast<ssize_t>(kHeaders)) {
        return std::nullopt;
    }
    nlmsghdr header{};
    std::memcpy(&header, buffer.data(), sizeof header);
    if (header.nlmsg_type != GENL_ID_CTRL || header.nlmsg_len > static_cast<size_t>(length) ||
        header.nlmsg_len < kHeaders) {
        return std::nullopt;  // an error message: no such family
    }
    std::optional<uint16_t> family;
    forEachAttribute(buffer.data() + kHeaders, header.nlmsg_len - kHeaders,
                     [&](uint16_t type, const uint8_t* value, size_t size) {
                         if (type == CTRL_ATTR_FAMILY_ID && size >= sizeof(uint16_t)) {
                             uint16_t id = 0;
                             std::memcpy(&id, value, sizeof id);
                             family = id;
                         }
                     });
    return family;
}

}  // namespace

VRNNl80211WiFiProbe::DumpResult VRNNl80211WiFiProbe::parseInterfaceDump(
    const uint8_t* bytes, size_t length, uint16_t family, bool* sawInterface,
    std::optional<std::string>* ssid) {
    size_t offset = 0;
    while (offset + kMessageHeader <= length) {
        nlmsghdr header{};
        std::memcpy(&header, bytes + offset, sizeof header);
        if (header.nlmsg_len < kMessageHeader || offset + header.nlmsg_len > length) {
            return DumpResult::Failed;
        }
        if (header.nlmsg_type == NLMSG_DONE) {
            return DumpResult::Done;
        }
        if (header.nlmsg_type == NLMSG_ERROR) {
            return DumpResult::Failed;
        }
        if (header.nlmsg_type == family && !*sawInterface && header.nlmsg_len >= kHeaders) {
            bool hasIndex = false;
            std::optional<std::string> name;
            forEachAttribute(bytes + offset + kHeaders, header.nlmsg_len - kHeaders,
                             [&](uint16_t type, const uint8_t* value, size_t size) {
                                 if (type == NL80211_ATTR_IFINDEX) {
                                     hasIndex = true;
                                 } else if (type == NL80211_ATTR_SSID) {
                                     name = std::string(reinterpret_cast<const char*>(value), size);
                                 }
                             });
            // Devices without a network interface (a P2P device) are not interfaces a
            // network name belongs to.
            if (hasIndex) {
                *sawInterface = true;
                *ssid = std::move(name);
            }
        }
        offset += align4(header.nlmsg_len);
    }
    return DumpResult::Continue;
}

std::optional<std::string> VRNNl80211WiFiProbe::currentSSID() {
    NetlinkSocket socket;
    if (!socket.valid()) {
        return std::nullopt;
    }
    const auto family = resolveNl80211(socket);
    if (!family || !socket.send(*family, NLM_F_DUMP, NL80211_CMD_GET_INTERFACE, 0, {})) {
        return std::nullopt;
    }
    std::vector<uint8_t> buffer(32768);
    bool sawInterface = false;
    std::optional<std::string> ssid;
    // The whole dump is read, so that the socket is left with nothing pending.
    for (;;) {
        const ssize_t length = socket.receive(buffer);
        if (length <= 0) {
            return std::nullopt;
        }
        switch (parseInterfaceDump(buffer.data(), static_cast<size_t>(length), *family,
                                   &sawInterface, &ssid)) {
            case DumpResult::Done:
                return ssid;
            case DumpResult::Failed:
                return std::nullopt;
            case DumpResult::Continue:
                break;
        }
    }
}

// --- all together -----------------------------------------------------------------------------

namespace {

std::mutex& currentMutex() {
    static std::mutex m;
    return m;
}

std::shared_ptr<VRNDeviceProbes>& currentProbes() {
    static std::shared_ptr<VRNDeviceProbes> probes;
    return probes;
}

}  // namespace

std::shared_ptr<VRNDeviceProbes> VRNDeviceProbes::makeLinux() {
    auto probes = std::make_shared<VRNDeviceProbes>();
    probes->cpu = std::make_shared<VRNProcThreadCPUProbe>();
    probes->memory = std::make_shared<VRNProcMemoryProbe>();
    probes->fileSystem = std::make_shared<VRNStatvfsFileSystemProbe>();
    probes->battery = std::make_shared<VRNSysfsBatteryProbe>();
    probes->wifi = std::make_shared<VRNNl80211WiFiProbe>();
    probes->telephony = std::make_shared<VRNTelephonyProvider>();
    return probes;
}

std::shared_ptr<VRNDeviceProbes> VRNDeviceProbes::current() {
    std::lock_guard lock(currentMutex());
    if (!currentProbes()) {
        currentProbes() = makeLinux();
    }
    return currentProbes();
}

void VRNDeviceProbes::setCurrent(std::shared_ptr<VRNDeviceProbes> probes) {
    std::lock_guard lock(currentMutex());
    currentProbes() = std::move(probes);
}

}  // namespace vorna
