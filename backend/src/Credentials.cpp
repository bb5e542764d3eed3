#include "Credentials.h"

#include <array>
#include <cstdint>

#include "Text.h"

namespace vorna::backend {

namespace {

constexpr std::array<std::int8_t, 256> base64Values() {
    std::array<std::int8_t, 256> values{};
    for (auto& value : values) {
        value = -1;
    }
    constexpr std::string_view alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (std::size_t i = 0; i < alphabet.size(); ++i) {
        values[static_cast<unsigned char>(alphabet[i])] = static_cast<std::int8_t>(i);
    }
    return values;
}

}  // namespace

std::optional<std::string> Credentials::decodeBase64(std::string_view text) {
    static constexpr auto kValues = base64Values();
    while (!text.empty() && text.back() == '=') {
        text.remove_suffix(1);
    }
    if (text.size() % 4 == 1) {
        return std::nullopt;
    }
    std::string bytes;
    bytes.reserve(text.size() * 3 / 4);
    std::uint32_t bits = 0;
    int count = 0;
    for (const char c : text) {
        const int value = kValues[static_cast<unsigned char>(c)];
        if (value < 0) {
            return std::nullopt;
        }
        bits = (bits << 6) | static_cast<std::uint32_t>(value);
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>((bits >> count) & 0xFF);
        }
    }
    return bytes;
}

std::optional<Credentials::Basic> Credentials::parseBasic(std::string_view header,
                                                          BasicError& error) {
    const std::string_view value = Text::trim(header);
    if (!Text::istartsWith(value, "Basic ")) {
        error = BasicError::NotBasic;
        return std::nullopt;
    }
    const std::string_view encoded = Text::trim(value.substr(6));
    if (encoded.size() > kMaxBasicLength) {
        error = BasicError::TooLong;
        return std::nullopt;
    }
    const auto decoded = decodeBase64(encoded);
    if (!decoded) {
        error = BasicError::NotBase64;
        return std::nullopt;
    }
    const auto colon = decoded->find(':');
    if (colon == std::string::npos) {
        error = BasicError::NoColon;
        return std::nullopt;
    }
    return Basic{decoded->substr(0, colon), decoded->substr(colon + 1)};
}

const char* Credentials::describe(BasicError error) {
    switch (error) {
        case BasicError::NotBasic:
            return "the Authorization header is not of the Basic scheme";
        case BasicError::NotBase64:
            return "the Basic credentials are not base64";
        case BasicError::NoColon:
            return "the Basic credentials have no ':' between client id and secret";
        case BasicError::TooLong:
            return "the Basic credentials are too long";
    }
    return "unreadable Basic credentials";
}

bool Credentials::equalSecrets(std::string_view a, std::string_view b) {
    // Every byte of the longer one is looked at, whatever the other holds.
    const std::size_t length = std::max(a.size(), b.size());
    unsigned difference = a.size() == b.size() ? 0U : 1U;
    for (std::size_t i = 0; i < length; ++i) {
        const auto x = static_cast<unsigned char>(i < a.size() ? a[i] : 0);
        const auto y = static_cast<unsigned char>(i < b.size() ? b[i] : 0);
        difference |= static_cast<unsigned>(x ^ y);
    }
    return difference == 0;
}

const ClientCredentials* Credentials::find(const std::vector<ClientCredentials>& clients,
                                           std::string_view id, std::string_view secret) {
    const ClientCredentials* found = nullptr;
    for (const auto& client : clients) {
        const bool idMatches = equalSecrets(client.id, id);
        const bool secretMatches = equalSecrets(client.secret, secret);
        if (idMatches && secretMatches && found == nullptr) {
            found = &client;
        }
    }
    return found;
}

}  // namespace vorna::backend
