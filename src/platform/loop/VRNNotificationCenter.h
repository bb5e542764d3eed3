#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace vorna {

struct VRNNotification {
    std::string name;
    const void* object = nullptr;  // the sender, when there is one
};

// Observers by name, posting by name. A post delivers synchronously on the posting thread, to
// the observers registered when it started, in the order they were added. An observer removed
// before its turn in a post that is under way is not called.
class VRNNotificationCenter {
public:
    using Observer = std::function<void(const VRNNotification&)>;
    using Token = uint64_t;

    static VRNNotificationCenter& defaultCenter();

    // An empty name observes every notification.
    Token addObserver(const std::string& name, Observer observer);
    // Calls a member of a target held weakly; nothing happens once the target is gone.
    template <class T>
    Token addObserver(const std::string& name, std::weak_ptr<T> target, void (T::*method)()) {
        return addObserver(name, [target = std::move(target), method](const VRNNotification&) {
            if (auto strong = target.lock()) {
                ((*strong).*method)();
            }
        });
    }
    void removeObserver(Token token);

    // The same registrations, owned: the observer stays until the subscription is reset or goes.
    class Subscription;
    [[nodiscard]] Subscription subscribe(const std::string& name, Observer observer);
    template <class T>
    [[nodiscard]] Subscription subscribe(const std::string& name, std::weak_ptr<T> target,
                                         void (T::*method)());

    void post(const std::string& name, const void* object = nullptr);

private:
    struct Entry {
        Token token;
        std::string name;
        std::shared_ptr<Observer> observer;
        std::shared_ptr<bool> alive;  // written and read under mutex_
    };
    std::mutex mutex_;
    std::vector<Entry> entries_;
    Token nextToken_ = 1;
};

// One observer of a centre, removed when the subscription goes or is reset, exactly as
// removeObserver removes it: no post calls it afterwards, but a call another thread has already
// begun is not waited for, so what the observer reaches is held weakly or shared, never as a
// bare pointer to an object that may go. Move-only; a moved-from or reset subscription removes
// nothing. A member subscription goes before the members declared above it.
class VRNNotificationCenter::Subscription {
public:
    Subscription() = default;
    ~Subscription() { reset(); }
    Subscription(Subscription&& other) noexcept
        : center_(std::exchange(other.center_, nullptr)), token_(std::exchange(other.token_, 0)) {}
    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            reset();
            center_ = std::exchange(other.center_, nullptr);
            token_ = std::exchange(other.token_, 0);
        }
        return *this;
    }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;

    // Removes the observer now; later resets do nothing.
    void reset() {
        if (auto* center = std::exchange(center_, nullptr)) {
            center->removeObserver(std::exchange(token_, 0));
        }
    }
    // Whether an observer is still registered through this subscription.
    bool isActive() const { return center_ != nullptr; }
    explicit operator bool() const { return isActive(); }

private:
    friend class VRNNotificationCenter;
    Subscription(VRNNotificationCenter& center, Token token) : center_(&center), token_(token) {}

    VRNNotificationCenter* center_ = nullptr;
    Token token_ = 0;
};

template <class T>
VRNNotificationCenter::Subscription VRNNotificationCenter::subscribe(const std::string& name,
                                                                     std::weak_ptr<T> target,
                                                                     void (T::*method)()) {
    return Subscription(*this, addObserver(name, std::move(target), method));
}

// Life-cycle names of the host application. Hosts without a UI toolkit post them themselves;
// the Qt layer posts them from the application's state changes.
inline constexpr const char* VRNApplicationWillResignActiveNotification =
    "UIApplicationWillResignActiveNotification";
inline constexpr const char* VRNApplicationDidEnterBackgroundNotification =
    "UIApplicationDidEnterBackgroundNotification";
inline constexpr const char* VRNApplicationWillEnterForegroundNotification =
    "UIApplicationWillEnterForegroundNotification";
inline constexpr const char* VRNApplicationUserDidTakeScreenshotNotification =
    "UIApplicationUserDidTakeScreenshotNotification";

}  // namespace vorna
