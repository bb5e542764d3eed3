#include "api/VRNUUID.h"

#include <sys/random.h>

#include <array>
#include <cstdint>
#include <random>

namespace vorna {
namespace {

std::array<uint8_t, 16> randomBytes() {
    std::array<uint8_t, 16> bytes{};
    size_t filled = 0;
    while (filled < bytes.size()) {
        const ssize_t got = getrandom(bytes.data() + filled, bytes.size() - filled, 0);
        if (got <= 0) {
            break;
        }
        filled += static_cast<size_t>(got);
    }
    if (filled < bytes.size()) {
        // Kernels without getrandom(): the library's device still draws on the system's source.
        std::random_device device;
        for (auto& byte : bytes) {
            byte = static_cast<uint8_t>(device());
        }
    }
    return bytes;
}

}  // namespace

std::string VRNUUID::UUIDString() {
    auto bytes = randomBytes();
    bytes[6] = static_cast<uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4
    bytes[8] = static_cast<uint8_t>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(36);
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            text.push_back('-');
        }
        text.push_back(kDigits[bytes[i] >> 4]);
        text.push_back(kDigits[bytes[i] & 0x0F]);
    }
    return text;
}

}  // namespace vorna
