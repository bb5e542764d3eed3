#include "platform/loop/VRNRunLoop.h"

#include <future>
#include <mutex>

#include "platform/loop/VRNThreadRunLoop.h"

namespace vorna {
namespace {

std::mutex& mainMutex() {
    static std::mutex m;
    return m;
}

// Never destroyed: the loop's thread may still run the kit's tasks while the process exits.
std::shared_ptr<VRNRunLoop>& mainLoop() {
    static auto* loop = new std::shared_ptr<VRNRunLoop>();
    return *loop;
}

}  // namespace

void VRNRunLoop::runSync(std::function<void()> task) {
    if (isCurrent()) {
        task();
        return;
    }
    // The promise travels with the task, held by nothing else: a loop that drops the task unrun
    // breaks the promise, and the wait ends instead of lasting for ever.
    auto done = std::make_shared<std::promise<void>>();
    auto finished = done->get_future();
    post([task = std::move(task), done = std::move(done)]() mutable {
        task();
        // What the task holds goes before the caller goes on, as if the caller had kept it.
        task = nullptr;
        done->set_value();
    });
    try {
        finished.get();
    } catch (const std::future_error&) {
        // Dropped without running.
    }
}

std::shared_ptr<VRNRunLoop> VRNRunLoop::main() {
    std::lock_guard lock(mainMutex());
    if (!mainLoop()) {
        mainLoop() = std::make_shared<VRNThreadRunLoop>("vorna-main");
    }
    return mainLoop();
}

void VRNRunLoop::setMain(std::shared_ptr<VRNRunLoop> loop) {
    std::shared_ptr<VRNRunLoop> previous;
    {
        std::lock_guard lock(mainMutex());
        previous = std::move(mainLoop());
        mainLoop() = std::move(loop);
    }
    // `previous` (perhaps a thread loop) is released outside the lock.
}

}  // namespace vorna
