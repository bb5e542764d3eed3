#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
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
