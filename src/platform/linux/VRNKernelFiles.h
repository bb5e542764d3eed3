#pragma once

#include <sys/types.h>

#include <charconv>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace vorna {

// Reading the small text files the kernel generates under /proc and /sys, for the Linux probes.

// Reads a whole small file through an open descriptor, from its start. Files under /proc and
// /sys are generated at each read, so re-reading the same descriptor gives the current values.
// The number of bytes read, or -1.
ssize_t VRNPreadAll(int fd, char* buffer, size_t capacity);

// The file's text without the line breaks and spaces that end it, or nothing when it cannot
// be read.
std::optional<std::string> VRNReadSmallFile(const std::filesystem::path& path);

// The number at the start of the text (after any spaces), or nothing.
template <class T>
std::optional<T> VRNParseNumber(std::string_view text) {
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

}  // namespace vorna
