#include "theme/VRNBranding.h"

namespace vorna {

// The default placeholder colour is written without "#" on purpose: its first digit is
// skipped, which gives the intended #0182F1.
VRNBranding::VRNBranding()
    : textColor_(VRNColor::colorWithHexValue("#FFFFFF")),
      backgroundColor_(VRNColor::colorWithHexValue("#1144f1")),
      placeholderColor_(VRNColor::colorWithHexValue("6182f1")),
      logo_("detective"),
      slogan_("Vorna is a simple, powerful bug reporting tool. \u279D"),
      highlightedTextColor_(VRNColor::colorWithHexValue("#fbc01b")) {}

VRNBranding::VRNBranding(const std::string& textColorString,
                         const std::string& backgroundColorString,
                         const std::string& placeholderColorString,
                         const std::optional<std::string>& /*logoUrl*/,
                         std::optional<std::string> slogan, const std::string& highlightedTextColor)
    : textColor_(VRNColor::colorWithHexValue(textColorString)),
      backgroundColor_(VRNColor::colorWithHexValue(backgroundColorString)),
      placeholderColor_(VRNColor::colorWithHexValue(placeholderColorString)),
      slogan_(std::move(slogan)),
      highlightedTextColor_(VRNColor::colorWithHexValue(highlightedTextColor)) {}

}  // namespace vorna
