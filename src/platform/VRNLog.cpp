#include "vorna/VRNLog.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <vector>

namespace vorna {
namespace {

std::mutex& sinkMutex() {
    static std::mutex m;
    return m;
}

VRNLogSink& currentSink() {
    static VRNLogSink sink;
    return sink;
}

}  // namespace

VRNLogSink VRNSetLogSink(VRNLogSink sink) {
    std::lock_guard lock(sinkMutex());
    VRNLogSink previous = std::move(currentSink());
    currentSink() = std::move(sink);
    return previous;
}

void VRNLog(const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    const int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    std::string line;
    if (length > 0) {
        std::vector<char> buffer(static_cast<size_t>(length) + 1);
        std::vsnprintf(buffer.data(), buffer.size(), format, args);
        line.assign(buffer.data(), static_cast<size_t>(length));
    }
    va_end(args);

    // The sink runs under the lock so that lines from several threads never interleave and a
    // sink being replaced is never called after its replacement returned.
    std::lock_guard lock(sinkMutex());
    if (currentSink()) {
        currentSink()(line);
    } else {
        std::fprintf(stderr, "%s\n", line.c_str());
    }
}

}  // namespace vorna
