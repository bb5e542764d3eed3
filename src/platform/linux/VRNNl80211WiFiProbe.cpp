#include "platform/linux/VRNNl80211WiFiProbe.h"

#include <linux/genetlink.h>
#include <linux/netlink.h>
#include <linux/nl80211.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

#include "platform/VRNHandles.h"

namespace vorna {
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
        if (fd_) {
            // The sampler runs on the main thread: a kernel that does not answer must not
            // hold it up.
            timeval timeout{1, 0};
            setsockopt(fd_.get(), SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
        }
    }

    bool valid() const { return fd_.valid(); }

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
        return sendto(fd_.get(), message.data(), message.size(), 0,
                      reinterpret_cast<const sockaddr*>(&kernel),
                      sizeof kernel) == static_cast<ssize_t>(message.size());
    }

    // One datagram of replies, or -1.
    ssize_t receive(std::vector<uint8_t>& buffer) {
        for (;;) {
            const ssize_t n = recv(fd_.get(), buffer.data(), buffer.size(), 0);
            if (n < 0 && errno == EINTR) {
                continue;
            }
            return n;
        }
    }

private:
    VRNFileDescriptor fd_;
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

}  // namespace vorna
