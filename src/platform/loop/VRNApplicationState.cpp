#include "platform/loop/VRNApplicationState.h"

#include "platform/loop/VRNNotificationCenter.h"

namespace vorna {

std::vector<const char*> VRNNotificationsForTransition(VRNApplicationState from,
                                                       VRNApplicationState to) {
    std::vector<const char*> names;
    if (from == to) {
        return names;
    }
    if (from == VRNApplicationState::Active) {
        names.push_back(VRNApplicationWillResignActiveNotification);
    }
    if (to == VRNApplicationState::Background) {
        names.push_back(VRNApplicationDidEnterBackgroundNotification);
    } else if (from == VRNApplicationState::Background) {
        names.push_back(VRNApplicationWillEnterForegroundNotification);
    }
    return names;
}

}  // namespace vorna
