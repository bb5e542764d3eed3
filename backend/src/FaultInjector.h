#pragma once

#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace vorna::backend {

// Faults that the tests of a client ask for: the next N requests to a path answer with a given
// status, answer late, or lose their connection without any answer.
class FaultInjector {
public:
    struct Fault {
        std::string path;   // without its leading slash; a trailing '*' matches a prefix
        int remaining = 1;  // requests still to be affected
        int status = 0;     // 0: answer as usual
        int delayMs = 0;    // waited before answering
        bool drop = false;  // close the connection instead of answering
        std::optional<std::string> body;  // answer body with a status fault
    };

    // Reads {"path": ..., "count": N, "status": S | "delay_ms": D | "drop": true, "body": ...}.
    static std::optional<Fault> fromJson(const nlohmann::json& json, std::string& error);
    static std::string describe(const Fault& fault);

    // Faults for one path queue up in the order they were added.
    void add(Fault fault);
    void clear();
    // Takes one use of the first fault that matches the path, if any.
    std::optional<Fault> take(std::string_view path);
    nlohmann::json pending() const;

private:
    static bool matches(const Fault& fault, std::string_view path);

    mutable std::mutex mutex_;
    std::deque<Fault> faults_;
};

}  // namespace vorna::backend
