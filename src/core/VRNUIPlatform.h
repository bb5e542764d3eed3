#pragma once

#include <memory>
#include <optional>
#include <string>

#include "flow/VRNCoordinator.h"
#include "platform/storage/VRNKeyValueStore.h"

namespace vorna {

class VRNDeviceProvider;
class VRNFlowPlatform;
class VRNInvocationPlatform;
class VRNRunLoop;

// Everything the kit asks of a UI toolkit, in one object that the toolkit's layer installs
// once (the Qt layer does it when the host makes its QApplication). The defaults are those of a
// host without a screen: the kit's own thread as main loop, no screen, no invocation windows,
// no picture, no fonts, every text its English key, no report flow.
class VRNUIPlatform {
public:
    virtual ~VRNUIPlatform() = default;

    // The loop the kit treats as the main thread; none: a thread of the kit's own.
    virtual std::shared_ptr<VRNRunLoop> mainRunLoop() { return nullptr; }
    // The screen, orientation and top screen; none: a device without a screen.
    virtual std::shared_ptr<VRNDeviceProvider> deviceProvider() { return nullptr; }
    // The floating button window and the edge pan; none: those invocations set up nothing.
    virtual std::shared_ptr<VRNInvocationPlatform> invocationPlatform() { return nullptr; }
    // The JPEG picture of the application's windows for a report made from code; nothing when
    // there is no screen (the report then carries the white pixel).
    virtual std::optional<VRNData> captureScreenshot() { return std::nullopt; }
    // Registers the kit's fonts; done once, when the facade is made.
    virtual void registerFonts() {}
    // The host's translation of a text the tester reads; the key itself when there is none.
    virtual std::string localizedString(const std::string& key) { return key; }
    // The windows and screens of the report flow; none: display() opens nothing.
    virtual std::shared_ptr<VRNFlowPlatform> flowPlatform() { return nullptr; }
    // A report flow for the facade: by default the kit's coordinator over flowPlatform().
    virtual std::shared_ptr<VRNCoordinatorProtocol> makeCoordinator(VRNCoordinatorContext context);

    // Puts `platform` in place of the one installed (none: the headless one). Call on the
    // thread the platform's run loop runs on, before the kit starts.
    static void install(std::shared_ptr<VRNUIPlatform> platform);
    // Back to the headless platform; the main loop stays (the kit's work drops with it).
    static void uninstall();
    // Never empty.
    static std::shared_ptr<VRNUIPlatform> current();
    // The kit's resources (fonts) on the platform installed; a platform installed later, by a
    // host that started the kit before making its toolkit, registers them as it is installed.
    static void registerKitResources();
};

}  // namespace vorna
