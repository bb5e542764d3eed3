#include <gtest/gtest.h>
#include <linux/genetlink.h>
#include <linux/netlink.h>
#include <linux/nl80211.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/linux/VRNNl80211WiFiProbe.h"

namespace vorna {
namespace {

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
