#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "vorna/VRNLog.h"
#include "vorna/VornaInvocationEvent.h"

namespace vorna {

class VRNAPIProtocol;
class VRNAppRepository;
class VRNBranding;
class VRNBrandingService;
class VRNConnection;
class VRNCoordinatorProtocol;
struct VRNCoordinatorContext;
class VRNFileManagerProtocol;
class VRNNotificationCenter;
class VRNRunLoop;
class VRNStarterProtocol;
class VRNTimer;
class VRNUploaderProtocol;
class VRNVornaReportData;

// The one class a host talks to. Start the kit once, early (after creating the QApplication
// in a Qt host):
//
//     vorna::VRNVorna::startWithInvocationEvents(vorna::VornaInvocationEventMotion |
//                                                vorna::VornaInvocationEventFloatingButton);
//
// The class methods may be called from any thread; they return at once and do their work on
// the kit's main run loop. The kit reads its client id and secret from the "Vorna" dictionary
// of the Info.plist beside the host executable (or the one named with setInfoPlistPath).
class VRNVorna : public std::enable_shared_from_this<VRNVorna> {
public:
    using PrepareDataHook =
        std::function<std::shared_ptr<VRNVornaReportData>(std::shared_ptr<VRNVornaReportData>)>;
    using CoordinatorFactory =
        std::function<std::shared_ptr<VRNCoordinatorProtocol>(VRNCoordinatorContext)>;
    using UploaderFactory = std::function<std::shared_ptr<VRNUploaderProtocol>(
        std::shared_ptr<VRNFileManagerProtocol>, std::shared_ptr<VRNAPIProtocol>)>;
    using FileManagerFactory = std::function<std::shared_ptr<VRNFileManagerProtocol>()>;

    // --- the host's interface ---
    static std::shared_ptr<VRNVorna> sharedInstance();
    // Names the host's Info.plist; call before starting the kit.
    static void setInfoPlistPath(const std::string& path);
    static void start();
    static void startWithInvocationEvents(VornaInvocationEvent events);
    static void manualStart();
    static void setBlackBoxEnabled(bool enabled);
    static void autoReportWithAttachScreenshot(bool attachScreenshot,
                                               const std::optional<std::string>& description);
    static void autoReportWithAttachScreenshot(bool attachScreenshot);
    static void autoReportWithDescription(const std::optional<std::string>& description);
    static void autoReport();

    // --- collaborators: the shared instance uses the process-wide ones; tests bring their own ---
    struct Dependencies {
        std::shared_ptr<VRNAPIProtocol> api;
        std::shared_ptr<VRNAppRepository> appRepository;
        std::shared_ptr<VRNConnection> connection;
        std::shared_ptr<VRNRunLoop> runLoop;
        VRNNotificationCenter* notificationCenter = nullptr;
        FileManagerFactory makeFileManager;
        UploaderFactory makeUploader;
        // How a report flow is made; none: the installed UI platform's.
        CoordinatorFactory makeCoordinator;
    };
    VRNVorna();
    explicit VRNVorna(Dependencies dependencies);
    ~VRNVorna();
    VRNVorna(const VRNVorna&) = delete;
    VRNVorna& operator=(const VRNVorna&) = delete;

    // --- the instance's side of the class methods ---
    void performStart(VornaInvocationEvent events);
    void performAutoReport(bool attachScreenshot, const std::optional<std::string>& description);
    void display();
    void authorizeVorna();
    void retryAuthorization();
    void determineEnabled();
    void registerApplication();
    void addObservers();
    void appWillEnterForeground();
    void appDidEnterBackground();

    // Lets the host replace or enrich a report's data before it is sent:
    //     VRNVorna::sharedInstance()->setOnPrepareData([](auto data) { ...; return data; });
    PrepareDataHook onPrepareData() const;
    void setOnPrepareData(PrepareDataHook hook);
    std::shared_ptr<VRNUploaderProtocol> uploader();
    std::shared_ptr<VRNFileManagerProtocol> fileManager();
    std::shared_ptr<VRNCoordinatorProtocol> coordinator() const;
    std::shared_ptr<VRNStarterProtocol> starter() const;
    void setStarter(std::shared_ptr<VRNStarterProtocol> starter);
    const std::shared_ptr<VRNAPIProtocol>& api() const { return api_; }
    const std::shared_ptr<VRNAppRepository>& appRepository() const { return appRepository_; }
    std::shared_ptr<VRNTimer> timer() const;
    // The look of the report screens: empty until the first report flow opens, then a fresh
    // built-in record each time one opens.
    std::shared_ptr<VRNBranding> branding() const;

    // The report pipeline installs how the store and the uploader are made.
    static void setDefaultPipelineFactories(FileManagerFactory makeFileManager,
                                            UploaderFactory makeUploader);

private:
    std::shared_ptr<VRNRunLoop> mainLoop() const;
    void runOnMain(std::function<void()> task);
    void cancelTimer();

    std::shared_ptr<VRNAPIProtocol> api_;
    std::shared_ptr<VRNAppRepository> appRepository_;
    std::shared_ptr<VRNConnection> connection_;
    std::shared_ptr<VRNRunLoop> runLoop_;
    VRNNotificationCenter& center_;
    FileManagerFactory makeFileManager_;
    UploaderFactory makeUploader_;
    CoordinatorFactory makeCoordinator_;
    std::shared_ptr<VRNBrandingService> brandingService_;

    mutable std::mutex mutex_;
    PrepareDataHook onPrepareData_;
    std::shared_ptr<VRNCoordinatorProtocol> coordinator_;
    std::shared_ptr<VRNStarterProtocol> starter_;
    std::shared_ptr<VRNUploaderProtocol> uploader_;
    std::shared_ptr<VRNFileManagerProtocol> fileManager_;
    std::shared_ptr<VRNTimer> timer_;
    std::vector<uint64_t> observers_;
    bool invocationsStarted_ = false;  // main loop only
};

}  // namespace vorna
