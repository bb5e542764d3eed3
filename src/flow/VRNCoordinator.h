#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "flow/VRNFlowPlatform.h"

namespace vorna {

class VRNAppRepository;
class VRNBranding;
class VRNUploaderProtocol;
class VRNVornaReportData;

// The report flow on screen, as the facade sees it.
class VRNCoordinatorProtocol {
public:
    virtual ~VRNCoordinatorProtocol() = default;
    virtual void start() = 0;
    // Called once, when the flow's window has gone.
    virtual void setOnCoordinatorFinish(std::function<void()> onFinish) = 0;
};

// What the facade gives a flow when it opens one.
struct VRNCoordinatorContext {
    using PrepareDataHook =
        std::function<std::shared_ptr<VRNVornaReportData>(std::shared_ptr<VRNVornaReportData>)>;

    // Takes the finished report; none: the report goes nowhere.
    std::shared_ptr<VRNUploaderProtocol> uploader;
    std::shared_ptr<VRNAppRepository> appRepository;
    // The host's hook, as it stands when the flow opens.
    PrepareDataHook onPrepareData;
    // The look of this flow's screens; asked when a screen is built.
    std::function<std::shared_ptr<VRNBranding>()> branding;
    // Gathers a new report's facts; by default a report made now.
    std::function<std::shared_ptr<VRNVornaReportData>()> makeReportData;
};

// Runs the screens of one report in a window of its own: the annotation screen, then the
// compose screen, from which the inspect screen can be opened. Submit hands the report to the
// uploader, fades the window out and shows the banner; an archived application gets the
// reporting-disabled popup over the first screen instead. Everything runs on the main loop.
//
//   Created --start--> Annotating <--back-- Composing --inspect--> Inspecting
//                          |  --next-------->   |                     (back: Composing)
//                        close                submit
//                          v                    v
//                       Closing (fade-out) --> Finished (window hidden, finish callback)
class VRNCoordinator : public VRNCoordinatorProtocol,
                       public std::enable_shared_from_this<VRNCoordinator> {
public:
    VRNCoordinator(VRNCoordinatorContext context, std::shared_ptr<VRNFlowPlatform> platform);

    // A fresh report, passed through the host's hook, then the annotation screen.
    void start() override;
    void setOnCoordinatorFinish(std::function<void()> onFinish) override;

    void pushEditImageScreen();
    void pushReportComposeScreen();
    void showInspectBugScreen();
    void pushReportingDisabledPopup();
    // Fades the window out, hides it and calls the finish callback.
    void dismiss();
    void setupNavigationController();

    const std::shared_ptr<VRNVornaReportData>& reportData() const { return reportData_; }
    const std::optional<std::string>& enteredBugDescription() const {
        return enteredBugDescription_;
    }
    const std::shared_ptr<VRNNavigationController>& navigationController() const {
        return navigationController_;
    }
    const std::shared_ptr<VRNFlowWindow>& displayWindow() const { return displayWindow_; }

    static constexpr double kInitialScale = 0.9;

private:
    std::shared_ptr<const VRNBranding> currentBranding() const;

    std::optional<std::string> enteredBugDescription_;
    std::function<void()> onCoordinatorFinish_;
    std::shared_ptr<VRNNavigationController> navigationController_;
    std::shared_ptr<VRNUploaderProtocol> uploader_;
    std::shared_ptr<VRNVornaReportData> reportData_;
    std::shared_ptr<VRNAppRepository> appRepository_;
    std::shared_ptr<VRNFlowWindow> displayWindow_;
    VRNCoordinatorContext context_;
    std::shared_ptr<VRNFlowPlatform> platform_;
};

}  // namespace vorna
