#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/loop/VRNNotificationCenter.h"
#include "vorna/Vorna.h"

namespace vorna {

class VRNAPIProtocol;
class VRNAppRepository;
class VRNBranding;
class VRNBrandingService;
class VRNConnection;
class VRNCoordinatorProtocol;
struct VRNCoordinatorContext;
class VRNDeliveryLedger;
class VRNFileManagerProtocol;
class VRNRunLoop;
class VRNStarterProtocol;
class VRNTimer;
class VRNUploaderProtocol;

// The shared instance behind VRNVorna's class methods: it owns the kit's collaborators and runs
// the start-up life cycle (authorize, register, check that the application is enabled, retry
// authorization with a doubling delay). Tests make their own with their own collaborators.
class VRNVornaInstance : public VRNVorna, public std::enable_shared_from_this<VRNVornaInstance> {
public:
    using CoordinatorFactory =
        std::function<std::shared_ptr<VRNCoordinatorProtocol>(VRNCoordinatorContext)>;
    using UploaderFactory = std::function<std::shared_ptr<VRNUploaderProtocol>(
        std::shared_ptr<VRNFileManagerProtocol>, std::shared_ptr<VRNAPIProtocol>)>;
    using FileManagerFactory = std::function<std::shared_ptr<VRNFileManagerProtocol>()>;

    // Collaborators: the shared instance uses the process-wide ones.
    struct Dependencies {
        std::shared_ptr<VRNAPIProtocol> api;
        std::shared_ptr<VRNAppRepository> appRepository;
        std::shared_ptr<VRNConnection> connection;
        std::shared_ptr<VRNRunLoop> runLoop;
        VRNNotificationCenter* notificationCenter = nullptr;
        std::shared_ptr<VRNDeliveryLedger> ledger;
        FileManagerFactory makeFileManager;
        UploaderFactory makeUploader;
        // How a report flow is made; none: the installed UI platform's.
        CoordinatorFactory makeCoordinator;
    };
    // With the process-wide collaborators.
    VRNVornaInstance();
    explicit VRNVornaInstance(Dependencies dependencies);
    ~VRNVornaInstance() override;

    static std::shared_ptr<VRNVornaInstance> shared();

    // --- the instance's side of the class methods ---
    void performStart(VornaInvocationEvent events);
    void performAutoReport(bool attachScreenshot, const std::optional<std::string>& description);
    bool performWaitForDelivery(std::chrono::milliseconds timeout);
    void display();
    void authorizeVorna();
    void retryAuthorization();
    void determineEnabled();
    void registerApplication();
    void addObservers();
    void appWillEnterForeground();
    void appDidEnterBackground();
    // Runs the task on the kit's main run loop: now when called there, else posted.
    void runOnMain(std::function<void()> task);
    std::shared_ptr<VRNRunLoop> mainLoop() const;

    PrepareDataHook onPrepareData() const override;
    void setOnPrepareData(PrepareDataHook hook) override;
    std::shared_ptr<VRNUploaderProtocol> uploader();
    std::shared_ptr<VRNFileManagerProtocol> fileManager();
    std::shared_ptr<VRNCoordinatorProtocol> coordinator() const;
    std::shared_ptr<VRNStarterProtocol> starter() const;
    void setStarter(std::shared_ptr<VRNStarterProtocol> starter);
    const std::shared_ptr<VRNAPIProtocol>& api() const { return api_; }
    const std::shared_ptr<VRNAppRepository>& appRepository() const { return appRepository_; }
    const std::shared_ptr<VRNDeliveryLedger>& ledger() const { return ledger_; }
    VRNNotificationCenter& notificationCenter() const { return center_; }
    std::shared_ptr<VRNTimer> timer() const;
    // The look of the report screens: empty until the first report flow opens, then a fresh
    // built-in record each time one opens.
    std::shared_ptr<VRNBranding> branding() const;
    // Whether the kit has been started in this process.
    bool started() const;

private:
    void cancelTimer();
    void authorized();
    void dropAllSavedReports();
    bool hasUndeliveredReports();

    std::shared_ptr<VRNAPIProtocol> api_;
    std::shared_ptr<VRNAppRepository> appRepository_;
    std::shared_ptr<VRNConnection> connection_;
    std::shared_ptr<VRNRunLoop> runLoop_;
    VRNNotificationCenter& center_;
    std::shared_ptr<VRNDeliveryLedger> ledger_;
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
    std::vector<VRNNotificationCenter::Subscription> observers_;
    // Threads in waitForDelivery: a successful authorization then starts a round for them.
    int waiters_ = 0;
    bool invocationsStarted_ = false;  // main loop only
    std::atomic<bool> started_{false};
};

}  // namespace vorna
