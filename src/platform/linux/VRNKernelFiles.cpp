#include "platform/linux/VRNKernelFiles.h"

#include <unistd.h>

#include <cerrno>
#include <fstream>

namespace vorna {

ssize_t VRNPreadAll(int fd, char* buffer, size_t capacity) {
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

std::optional<std::string> VRNReadSmallFile(const std::filesystem::path& path) {
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

}  // namespace vorna
