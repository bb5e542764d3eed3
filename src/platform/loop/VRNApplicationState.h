#pragma once

#include <vector>

namespace vorna {

// The states of the host application as the kit counts them, and the life-cycle names posted
// when the application moves between them. The Qt layer follows a Qt application's states;
// hosts without it report their own through VRNVorna's life-cycle calls.
enum class VRNApplicationState { Active, Inactive, Background };

// The names posted, in order, when the application goes from one state to another: leaving the
// active state always resigns first, also on the way to the background.
std::vector<const char*> VRNNotificationsForTransition(VRNApplicationState from,
                                                       VRNApplicationState to);

}  // namespace vorna
