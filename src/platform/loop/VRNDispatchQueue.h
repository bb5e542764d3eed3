#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace vorna {

// A labelled serial queue on a thread of its own: tasks run one at a time in the order they
// were submitted. The destructor runs what is already queued, then joins.
class VRNDispatchQueue {
public:
    explicit VRNDispatchQueue(std::string label);
    ~VRNDispatchQueue();
    VRNDispatchQueue(const VRNDispatchQueue&) = delete;
    VRNDispatchQueue& operator=(const VRNDispatchQueue&) = delete;

    const std::string& label() const { return label_; }
    void async(std::function<void()> task);
    // Runs the task on the queue and waits for it; inline when called from the queue itself
    // (waiting there would never end).
    void sync(const std::function<void()>& task);
    bool isCurrent() const;
    // Waits until every task submitted before this call has run.
    void waitUntilIdle();

private:
    // Shared with the queue's thread, so that a queue released by one of its own tasks can let
    // its thread finish without touching the destroyed queue.
    struct State {
        std::mutex mutex;
        std::condition_variable changed;
        std::deque<std::function<void()>> tasks;
        bool stopping = false;
    };
    static void run(const std::shared_ptr<State>& state);

    const std::string label_;
    std::shared_ptr<State> state_ = std::make_shared<State>();
    std::thread thread_;
};

// A counting semaphore that, unlike std::counting_semaphore, can be waited on with a time-out
// on every standard library in use and is understood by ThreadSanitizer.
class VRNSemaphore {
public:
    explicit VRNSemaphore(long initial = 0) : count_(initial) {}
    void signal();
    void wait();
    // False when the time-out passed first.
    bool waitFor(std::chrono::milliseconds timeout);

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    long count_;
};

// Waits for a group of callbacks: enter() before each one starts, leave() when it has answered.
class VRNDispatchGroup {
public:
    void enter();
    void leave();
    void wait();
    bool waitFor(std::chrono::milliseconds timeout);

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    long outstanding_ = 0;
};

}  // namespace vorna
