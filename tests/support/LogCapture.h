#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "vorna/VRNLog.h"

namespace vorna::test {

// Captures the kit's log lines while it lives, so tests can check their exact text.
class LogCapture {
public:
    LogCapture() {
        previous_ = VRNSetLogSink([this](const std::string& line) {
            std::lock_guard lock(mutex_);
            lines_.push_back(line);
        });
    }
    ~LogCapture() { VRNSetLogSink(std::move(previous_)); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<std::string> lines() const {
        std::lock_guard lock(mutex_);
        return lines_;
    }
    bool contains(const std::string& line) const {
        std::lock_guard lock(mutex_);
        return std::find(lines_.begin(), lines_.end(), line) != lines_.end();
    }
    size_t count(const std::string& line) const {
        std::lock_guard lock(mutex_);
        return static_cast<size_t>(std::count(lines_.begin(), lines_.end(), line));
    }
    void clear() {
        std::lock_guard lock(mutex_);
        lines_.clear();
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
    VRNLogSink previous_;
};

}  // namespace vorna::test
