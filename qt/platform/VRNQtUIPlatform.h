#pragma once

#include <memory>

#include "core/VRNUIPlatform.h"

namespace vorna {

class VRNQtRunLoop;

// The kit on Qt: the GUI thread as main loop, the screen from QScreen, the invocation windows
// and gestures, the picture of the application's windows, the kit's fonts, texts through the
// application's translators, and the report flow's screens. A part the application cannot
// offer (a QCoreApplication has no screen) is left to the headless default.
class VRNQtUIPlatform : public VRNUIPlatform {
public:
    // The context under which the kit's texts are translated: a host's translator gives the
    // kit's English texts under this context.
    static constexpr const char* kTranslationContext = "Vorna";

    struct Parts {
        std::shared_ptr<VRNQtRunLoop> runLoop;
        std::shared_ptr<VRNDeviceProvider> deviceProvider;
        std::shared_ptr<VRNInvocationPlatform> invocationPlatform;
        std::shared_ptr<VRNFlowPlatform> flowPlatform;
        bool widgets = false;  // a QApplication: pictures of windows and fonts
    };
    explicit VRNQtUIPlatform(Parts parts) : parts_(std::move(parts)) {}

    std::shared_ptr<VRNRunLoop> mainRunLoop() override;
    std::shared_ptr<VRNDeviceProvider> deviceProvider() override { return parts_.deviceProvider; }
    std::shared_ptr<VRNInvocationPlatform> invocationPlatform() override {
        return parts_.invocationPlatform;
    }
    // Taken on the GUI thread, whichever thread asks.
    std::optional<VRNData> captureScreenshot() override;
    void registerFonts() override;
    std::string localizedString(const std::string& key) override;
    std::shared_ptr<VRNFlowPlatform> flowPlatform() override { return parts_.flowPlatform; }

private:
    Parts parts_;
};

}  // namespace vorna
