#pragma once

#include <functional>
#include <string>

namespace vorna {

// Every text a tester reads is looked up here, with the English text itself as the key: the
// host's translation when it has one, else the key. A UI layer installs the host's translations
// (Qt: the application's installed translators); without one every text is its key.
std::string VRNLocalizedString(const std::string& key);

using VRNLocalizer = std::function<std::string(const std::string& key)>;
// Installs how texts are translated; nothing puts the key back.
void VRNSetLocalizer(VRNLocalizer localizer);

}  // namespace vorna
