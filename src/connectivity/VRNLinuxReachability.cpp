#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <mutex>
#include <sstream>
#include <thread>

#include "connectivity/VRNReachability.h"
#include "platform/VRNHandles.h"
#include "platform/loop/VRNRunLoop.h"
#include "vorna/VRNLog.h"

namespace vorna {
namespace {

constexpr unsigned kRouteUp = 0x0001;
constexpr unsigned kRouteReject = 0x0200;

bool isMobileBroadband(const std::string& interface) {
    for (const char* prefix : {"wwan", "wwp", "rmnet", "ppp"}) {
        if (interface.rfind(prefix, 0) == 0) {
            return true;
        }
    }
    return false;
}

class LinuxReachability : public VRNReachability {
public:
    ~LinuxReachability() override { unscheduleFromRunLoop(); }

    std::optional<uint32_t> flags() override {
        bool readable = false;
        std::optional<std::string> route = defaultRouteInterface(&readable);
        if (!readable) {
            return std::nullopt;
        }
        if (!route) {
            return 0u;
        }
        uint32_t result = kVRNReachabilityReachable;
        if (isMobileBroadband(*route)) {
            result |= kVRNReachabilityIsWWAN;
        }
        return result;
    }

    bool setCallback(std::function<void()> callback) override {
        std::lock_guard lock(state_->mutex);
        state_->callback = std::move(callback);
        return true;
    }

    bool scheduleWithRunLoop(std::shared_ptr<VRNRunLoop> loop) override {
        std::lock_guard lock(threadMutex_);
        if (watcher_.joinable()) {
            std::lock_guard stateLock(state_->mutex);
            state_->loop = std::move(loop);
            return true;
        }
        VRNFileDescriptor sock(
            ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE));
        if (!sock) {
            VRNLog("VRNConnection - Cannot watch network changes: netlink socket failed (%s)",
                   std::strerror(errno));
            return false;
        }
        sockaddr_nl address{};
        address.nl_family = AF_NETLINK;
        address.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE |
                            RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;
        if (::bind(sock.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
            VRNLog("VRNConnection - Cannot watch network changes: netlink bind failed (%s)",
                   std::strerror(errno));
            return false;
        }
        VRNFileDescriptor stop(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
        if (!stop) {
            return false;
        }
        {
            std::lock_guard stateLock(state_->mutex);
            state_->loop = std::move(loop);
        }
        // The watcher owns the socket; the stop descriptor stays here, to be written and closed
        // once the watcher has been joined.
        const int stopFd = stop.get();
        stopFd_ = std::move(stop);
        watcher_ = std::thread([state = state_, sock = std::move(sock), stopFd]() mutable {
            watch(std::move(state), std::move(sock), stopFd);
        });
        return true;
    }

    void unscheduleFromRunLoop() override {
        std::lock_guard lock(threadMutex_);
        if (!watcher_.joinable()) {
            return;
        }
        const uint64_t one = 1;
        [[maybe_unused]] auto written = ::write(stopFd_.get(), &one, sizeof one);
        watcher_.join();
        stopFd_.reset();
        std::lock_guard stateLock(state_->mutex);
        state_->loop.reset();
    }

private:
    struct State {
        std::mutex mutex;
        std::function<void()> callback;
        std::shared_ptr<VRNRunLoop> loop;
        std::atomic<bool> deliveryPending{false};
    };

    // The interface of a usable default route, IPv4 first; nothing when there is none.
    // `readable` is false when the kernel's route tables could not be read at all.
    static std::optional<std::string> defaultRouteInterface(bool* readable) {
        *readable = false;
        std::ifstream v4("/proc/net/route");
        if (v4) {
            *readable = true;
            std::string line;
            std::getline(v4, line);  // header
            while (std::getline(v4, line)) {
                std::istringstream fields(line);
                std::string iface, destination, gateway, mask;
                unsigned flags = 0, refcnt = 0, use = 0, metric = 0;
                fields >> iface >> destination >> gateway >> std::hex >> flags >> std::dec >>
                    refcnt >> use >> metric >> mask;
                if (fields && destination == "00000000" && mask == "00000000" &&
                    (flags & kRouteUp) && !(flags & kRouteReject)) {
                    return iface;
                }
            }
        }
        std::ifstream v6("/proc/net/ipv6_route");
        if (v6) {
            *readable = true;
            std::string destination, prefix, source, sourcePrefix, nextHop, metric, refcnt, use,
                flagsText, iface;
            while (v6 >> destination >> prefix >> source >> sourcePrefix >> nextHop >> metric >>
                   refcnt >> use >> flagsText >> iface) {
                const unsigned flags = static_cast<unsigned>(std::stoul(flagsText, nullptr, 16));
                if (destination == std::string(32, '0') && prefix == "00" && iface != "lo" &&
                    (flags & kRouteUp) && !(flags & kRouteReject)) {
                    return iface;
                }
            }
        }
        return std::nullopt;
    }

    static void watch(std::shared_ptr<State> state, VRNFileDescriptor sock, int stopFd) {
        pollfd fds[2] = {{sock.get(), POLLIN, 0}, {stopFd, POLLIN, 0}};
        char buffer[16384];
        for (;;) {
            if (::poll(fds, 2, -1) < 0) {
                if (errno == EINTR) {
                    continue;
                }
                return;
            }
            if (fds[1].revents) {
                return;
            }
            bool changed = false;
            for (;;) {
                const ssize_t n = ::recv(sock.get(), buffer, sizeof buffer, 0);
                if (n > 0) {
                    changed = true;
                    continue;
                }
                // ENOBUFS: the kernel dropped messages; something changed all the same.
                if (n < 0 && errno == ENOBUFS) {
                    changed = true;
                    continue;
                }
                break;
            }
            if (changed) {
                deliver(state);
            }
        }
    }

    // A burst of netlink messages becomes one callback on the loop.
    static void deliver(const std::shared_ptr<State>& state) {
        if (state->deliveryPending.exchange(true)) {
            return;
        }
        std::shared_ptr<VRNRunLoop> loop;
        {
            std::lock_guard lock(state->mutex);
            loop = state->loop;
        }
        if (!loop) {
            state->deliveryPending = false;
            return;
        }
        std::weak_ptr<State> weak = state;
        loop->post([weak] {
            auto s = weak.lock();
            if (!s) {
                return;
            }
            s->deliveryPending = false;
            std::function<void()> callback;
            {
                std::lock_guard lock(s->mutex);
                if (!s->loop) {
                    return;
                }
                callback = s->callback;
            }
            if (callback) {
                callback();
            }
        });
    }

    std::shared_ptr<State> state_ = std::make_shared<State>();
    std::mutex threadMutex_;
    std::thread watcher_;
    VRNFileDescriptor stopFd_;
};

}  // namespace

std::unique_ptr<VRNReachability> VRNMakeLinuxReachability() {
    return std::make_unique<LinuxReachability>();
}

}  // namespace vorna
