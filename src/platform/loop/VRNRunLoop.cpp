#include "platform/loop/VRNRunLoop.h"

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
