#include "qt/platform/VRNQtRunLoop.h"

#include <QCoreApplication>
#include <QPointer>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <cmath>
#include <deque>
#include <mutex>

namespace vorna {

// Tasks wait in a queue of our own, under a mutex of our own, and each queued invocation that
// reaches the GUI thread runs the oldest one. So the order of posting is kept even when a task
// opens a nested event loop (a modal dialog), and every hand-over between threads goes through
// a lock the thread sanitizer can see.
namespace {

// Held while a queued invocation is made and taken (briefly) before one runs: the invocation
// object travels between threads through Qt's event queue, whose locks the thread sanitizer
// cannot see, and this one it can.
std::mutex& handOffMutex() {
    static std::mutex m;
    return m;
}

}  // namespace

struct VRNQtRunLoop::Shared {
    std::mutex mutex;
    std::deque<std::function<void()>> tasks;
    QObject* context = nullptr;  // lives on the GUI thread; null once detached

    static void post(const std::shared_ptr<Shared>& shared, std::function<void()> task) {
        std::lock_guard lock(shared->mutex);
        if (!shared->context) {
            return;
        }
        shared->tasks.push_back(std::move(task));
        std::weak_ptr<Shared> weak = shared;
        std::lock_guard handOff(handOffMutex());
        QMetaObject::invokeMethod(
            shared->context,
            [weak] {
                { std::lock_guard handedOver(handOffMutex()); }
                if (auto alive = weak.lock()) {
                    alive->runOne();
                }
            },
            Qt::QueuedConnection);
    }

    void runOne() {
        std::function<void()> task;
        {
            std::lock_guard lock(mutex);
            if (tasks.empty()) {
                return;
            }
            task = std::move(tasks.front());
            tasks.pop_front();
        }
        task();
    }
};

namespace {

class VRNQtTimer : public VRNTimer, public std::enable_shared_from_this<VRNQtTimer> {
public:
    explicit VRNQtTimer(std::weak_ptr<VRNQtRunLoop::Shared> loop) : loop_(std::move(loop)) {}

    std::atomic<bool> valid{true};
    QPointer<QTimer> timer;  // touched on the GUI thread only

    void invalidate() override {
        valid = false;
        // The QTimer goes as soon as the GUI thread gets to it, rather than waiting, perhaps
        // for hours, for a firing that would do nothing.
        if (auto loop = loop_.lock()) {
            std::weak_ptr<VRNQtTimer> weak = weak_from_this();
            VRNQtRunLoop::Shared::post(loop, [weak] {
                auto self = weak.lock();
                if (self && self->timer) {
                    self->timer->stop();
                    self->timer->deleteLater();
                }
            });
        }
    }
    bool isValid() const override { return valid; }

private:
    std::weak_ptr<VRNQtRunLoop::Shared> loop_;
};

std::chrono::milliseconds timerInterval(double seconds) {
    // QTimer counts in int milliseconds; a longer wait (a retry delay doubled many times) is
    // capped at the longest one it can take.
    const double ms = std::clamp(std::ceil(seconds * 1000.0), 0.0, static_cast<double>(INT_MAX));
    return std::chrono::milliseconds(static_cast<int>(ms));
}

}  // namespace

VRNQtRunLoop::VRNQtRunLoop()
    : shared_(std::make_shared<Shared>()), thread_(std::this_thread::get_id()) {
    auto* context = new QObject();
    if (auto* app = QCoreApplication::instance()) {
        context->moveToThread(app->thread());
    }
    shared_->context = context;
}

VRNQtRunLoop::~VRNQtRunLoop() {
    detach();
}

void VRNQtRunLoop::detach() {
    QObject* context = nullptr;
    std::deque<std::function<void()>> dropped;
    {
        std::lock_guard lock(shared_->mutex);
        context = shared_->context;
        shared_->context = nullptr;
        dropped.swap(shared_->tasks);
    }
    // Queued invocations still waiting for this context are discarded with it, and so are its
    // timers.
    if (context && context->thread() == QThread::currentThread()) {
        delete context;
    } else if (context) {
        context->deleteLater();
    }
}

void VRNQtRunLoop::post(std::function<void()> task) {
    Shared::post(shared_, std::move(task));
}

VRNTimerPtr VRNQtRunLoop::scheduleTimer(double interval, bool repeats,
                                        std::function<void()> block) {
    auto state = std::make_shared<VRNQtTimer>(shared_);
    std::weak_ptr<Shared> weakShared = shared_;
    auto start = [state, interval, repeats, block = std::move(block), weakShared]() mutable {
        auto shared = weakShared.lock();
        if (!shared || !state->valid) {
            return;
        }
        QObject* context = nullptr;
        {
            std::lock_guard lock(shared->mutex);
            context = shared->context;
        }
        if (!context) {
            return;
        }
        auto* timer = new QTimer(context);
        timer->setTimerType(Qt::PreciseTimer);
        timer->setSingleShot(!repeats);
        state->timer = timer;
        QObject::connect(timer, &QTimer::timeout, timer,
                         [state, repeats, block = std::move(block), timer] {
                             if (!state->valid) {
                                 timer->stop();
                                 timer->deleteLater();
                                 return;
                             }
                             if (!repeats) {
                                 // A one-shot timer is no longer valid once it has fired.
                                 state->valid = false;
                                 timer->deleteLater();
                             }
                             block();
                         });
        timer->start(timerInterval(interval));
    };
    if (isCurrent()) {
        start();
    } else {
        post(std::move(start));
    }
    return state;
}

bool VRNQtRunLoop::isCurrent() const {
    return std::this_thread::get_id() == thread_;
}

}  // namespace vorna
