#pragma once

#include <memory>
#include <optional>
#include <string>

namespace vorna {

// The screen the application shows on: bounds in points, native bounds in pixels.
struct VRNScreenInfo {
    double width = 0;         // points
    double height = 0;        // points
    double nativeWidth = 0;   // pixels
    double nativeHeight = 0;  // pixels
    double scale = 1;
};

// Interface orientation, with the platform's raw values 0 to 4.
enum class VRNInterfaceOrientation : int {
    Unknown = 0,
    Portrait = 1,
    PortraitUpsideDown = 2,
    LandscapeLeft = 3,
    LandscapeRight = 4,
};

// What the kit asks of the device and the UI that the core alone cannot know. The headless
// provider answers as a device without a screen: zero bounds, orientation unknown, no top
// screen, no device-owner authentication. A UI layer installs its own provider before the kit
// starts.
class VRNDeviceProvider {
public:
    virtual ~VRNDeviceProvider() = default;

    virtual VRNScreenInfo mainScreen() const { return {}; }
    virtual VRNInterfaceOrientation interfaceOrientation() const {
        return VRNInterfaceOrientation::Unknown;
    }
    // The device's physical orientation, 0 to 6 (unknown, portrait, upside down, landscape left,
    // landscape right, face up, face down).
    virtual int deviceOrientation() const { return 0; }
    // The class name of the screen on top of the application, when there is one.
    virtual std::optional<std::string> topViewControllerName() const { return std::nullopt; }
    // Whether the device owner can authenticate (password, biometrics) on this device.
    virtual bool canEvaluateOwnerAuthentication() const { return false; }

    static std::shared_ptr<VRNDeviceProvider> current();
    static void setCurrent(std::shared_ptr<VRNDeviceProvider> provider);
};

}  // namespace vorna
