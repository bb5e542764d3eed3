#include "vorna/Vorna.h"

#include "api/VRNAPIProtocol.h"
#include "connectivity/VRNConnection.h"
#include "core/VRNDefaultCollaborators.h"
#include "core/VRNStarter.h"
#include "core/VRNUIPlatform.h"
#include "flow/VRNCoordinator.h"
#include "invocation/VornaInvocationManager.h"
#include "platform/storage/VRNBundle.h"
#include "platform/loop/VRNNotificationCenter.h"
#include "platform/loop/VRNRunLoop.h"
#include "state/VRNAppRepository.h"
#include "state/VRNConstants.h"
#include "state/VRNInfoPlist.h"
#include "storage/VRNFileManagerProtocol.h"
#include "storage/VRNUploaderProtocol.h"
#include "theme/VRNBranding.h"
#include "theme/VRNBrandingService.h"
#include "vorna/VRNLog.h"

namespace vorna {
namespace {

// What the backend is told about the platform; it knows the kit's reports by these words.
constexpr const char* kOperatingSystem = "iOS";
constexpr const char* kPlatform = "iOS";

struct FactoryRegistry {
    std::mutex mutex;
    VRNVorna::FileManagerFactory fileManager;
    VRNVorna::UploaderFactory uploader;
};

FactoryRegistry& factories() {
    static FactoryRegistry registry;
    return registry;
}

VRNVorna::Dependencies sharedDependencies() {
    VRNVorna::Dependencies deps;
    deps.api = VRNMakeDefaultAPI();
    deps.appRepository = VRNAppRepository::sharedInstance();
    deps.connection = VRNConnection::sharedInstance();
    deps.notificationCenter = &VRNNotificationCenter::defaultCenter();
    deps.makeFileManager = VRNMakeDefaultFileManager;
    deps.makeUploader = VRNMakeDefaultUploader;
    return deps;
}

}  // namespace

VRNVorna::VRNVorna() : VRNVorna(sharedDependencies()) {}

VRNVorna::VRNVorna(Dependencies deps)
    : api_(std::move(deps.api)),
      appRepository_(deps.appRepository ? std::move(deps.appRepository)
                                        : VRNAppRepository::sharedInstance()),
      connection_(deps.connection ? std::move(deps.connection) : VRNConnection::sharedInstance()),
      runLoop_(std::move(deps.runLoop)),
      center_(deps.notificationCenter ? *deps.notificationCenter
                                      : VRNNotificationCenter::defaultCenter()),
      makeFileManager_(std::move(deps.makeFileManager)),
      makeUploader_(std::move(deps.makeUploader)),
      makeCoordinator_(std::move(deps.makeCoordinator)),
      brandingService_(std::make_shared<VRNBrandingService>()) {
    VRNRegisterKitResources();
}

VRNVorna::~VRNVorna() {
    for (auto token : observers_) {
        center_.removeObserver(token);
    }
    cancelTimer();
}

std::shared_ptr<VRNVorna> VRNVorna::sharedInstance() {
    // The kit lives as long as the host process and has no stop operation; the instance is
    // never destroyed, so nothing runs against it while the process exits.
    static auto* instance = new std::shared_ptr<VRNVorna>(std::make_shared<VRNVorna>());
    return *instance;
}

void VRNVorna::setInfoPlistPath(const std::string& path) {
    VRNBundle::setMainInfoPlistPath(path);
}

void VRNVorna::start() {
    startWithInvocationEvents(VornaInvocationEventMotion);
}

void VRNVorna::startWithInvocationEvents(VornaInvocationEvent events) {
    auto self = sharedInstance();
    self->runOnMain([self, events] { self->performStart(events); });
}

void VRNVorna::manualStart() {
    auto self = sharedInstance();
    self->runOnMain([self] { self->display(); });
}

void VRNVorna::setBlackBoxEnabled(bool enabled) {
    auto self = sharedInstance();
    self->runOnMain([enabled] { VRNSetBlackBoxEnabled(enabled); });
}

void VRNVorna::autoReportWithAttachScreenshot(bool attachScreenshot,
                                              const std::optional<std::string>& description) {
    auto self = sharedInstance();
    self->runOnMain([self, attachScreenshot, description] {
        self->performAutoReport(attachScreenshot, description);
    });
}

void VRNVorna::autoReportWithAttachScreenshot(bool attachScreenshot) {
    autoReportWithAttachScreenshot(attachScreenshot, std::string());
}

void VRNVorna::autoReportWithDescription(const std::optional<std::string>& description) {
    autoReportWithAttachScreenshot(false, description);
}

void VRNVorna::autoReport() {
    autoReportWithAttachScreenshot(false, std::string());
}

std::shared_ptr<VRNRunLoop> VRNVorna::mainLoop() const {
    // Without a loop of its own the facade follows the process's main loop as it stands: a host
    // may start the kit before its toolkit (and the toolkit's loop) exists.
    return runLoop_ ? runLoop_ : VRNRunLoop::main();
}

void VRNVorna::runOnMain(std::function<void()> task) {
    const auto loop = mainLoop();
    if (loop->isCurrent()) {
        task();
    } else {
        loop->post(std::move(task));
    }
}

void VRNVorna::performStart(VornaInvocationEvent events) {
    auto invocationManager = VornaInvocationManager::sharedInstance();
    invocationManager->setInvocationEvents(events);
    if (invocationsStarted_) {
        // Setting the invocations up again would add a second floating button, edge swipe and
        // screenshot observer, and every invocation would then open its report twice; the
        // life-cycle observers, added twice, would authorize twice at every foreground entry.
        VRNLog("VRNVorna - Started again: the invocations of the first start stay as they were "
               "set up (a new set of events changes only the shake gesture); authorizing again");
    } else {
        invocationsStarted_ = true;
        std::weak_ptr<VRNVorna> weak = weak_from_this();
        invocationManager->setInvokeHandler([weak] {
            if (auto self = weak.lock()) {
                self->display();
            }
        });
        invocationManager->start();
        addObservers();
    }

    setStarter(std::make_shared<VRNStarter>(api_));
    authorizeVorna();
    VRNStartBlackBox();
    VRNStartSessionReporter();
}

void VRNVorna::authorizeVorna() {
    VRNLog("VRNVorna - Started authorization procces");
    const auto currentStarter = starter();
    if (!currentStarter) {
        VRNLog("VRNVorna - Starter not set, canceling authorization");
        return;
    }
    std::weak_ptr<VRNVorna> weak = weak_from_this();
    currentStarter->start([weak](bool authorized) {
        auto self = weak.lock();
        if (!self) {
            return;
        }
        if (authorized) {
            self->appRepository_->setClientAuthorized(true);
            self->registerApplication();
            self->determineEnabled();
            // Creating the uploader sends the reports left from earlier runs.
            self->uploader();
        } else {
            self->appRepository_->setClientAuthorized(false);
            if (!reauthorizationPending) {
                self->retryAuthorization();
            }
        }
    });
}

void VRNVorna::retryAuthorization() {
    reauthorizationPending = true;
    std::weak_ptr<VRNVorna> weak = weak_from_this();
    if (!connection_->hasConnectivity()) {
        connection_->performWhenConnected([weak] {
            auto self = weak.lock();
            if (!self) {
                return;
            }
            VRNLog("VRNVorna - Retrying authorization after regained connection");
            reauthorizationPending = false;
            self->cancelTimer();
            delay = 5;
            self->authorizeVorna();
        });
    }
    cancelTimer();
    delay = delay * 2;
    VRNLog("VRNVorna - Will retry authorization after %ld", static_cast<long>(delay.load()));
    // The failure arrives on the HTTP thread; the timer belongs to the main run loop.
    mainLoop()->post([weak] {
        auto self = weak.lock();
        if (!self) {
            return;
        }
        auto timer =
            self->mainLoop()->scheduleTimer(static_cast<double>(delay.load()), false, [weak] {
                auto inner = weak.lock();
                if (!inner) {
                    return;
                }
                VRNLog("VRNVorna - Retrying authorization");
                reauthorizationPending = false;
                inner->authorizeVorna();
            });
        std::lock_guard lock(self->mutex_);
        self->timer_ = std::move(timer);
    });
}

void VRNVorna::determineEnabled() {
    if (!api_) {
        return;
    }
    std::weak_ptr<VRNVorna> weak = weak_from_this();
    api_->getApplicationEnabled(VRNInfoPlist().hostApplicationBundleId(), kOperatingSystem,
                                kPlatform, [weak](std::optional<bool> enabled) {
                                    auto self = weak.lock();
                                    if (!self || !enabled) {
                                        return;
                                    }
                                    self->appRepository_->setApplicationActive(*enabled);
                                    if (!*enabled) {
                                        VRNLog("VRNVorna: Application is archived.");
                                        if (auto store = self->fileManager()) {
                                            store->deleteAllLocalReportData();
                                        }
                                    }
                                });
}

void VRNVorna::registerApplication() {
    if (api_) {
        api_->registerApplication(VRNInfoPlist().hostApplicationBundleId(), kOperatingSystem,
                                  kPlatform);
    }
}

void VRNVorna::addObservers() {
    const std::weak_ptr<VRNVorna> weak = weak_from_this();
    const auto foreground = center_.addObserver(VRNApplicationWillEnterForegroundNotification, weak,
                                                &VRNVorna::appWillEnterForeground);
    const auto background = center_.addObserver(VRNApplicationDidEnterBackgroundNotification, weak,
                                                &VRNVorna::appDidEnterBackground);
    std::lock_guard lock(mutex_);
    observers_.push_back(foreground);
    observers_.push_back(background);
}

void VRNVorna::appWillEnterForeground() {
    if (!appRepository_->clientAuthorized()) {
        VRNLog("VRNVorna - Starting reauth after entering foreground");
        authorizeVorna();
    }
}

void VRNVorna::appDidEnterBackground() {
    if (!appRepository_->clientAuthorized() && reauthorizationPending) {
        VRNLog("VRNVorna - Entering background, cancel reauthorization actions");
        connection_->cancelGlobalPendingBlocks();
        cancelTimer();
        reauthorizationPending = false;
        delay = 5;
    }
}

void VRNVorna::display() {
    {
        std::lock_guard lock(mutex_);
        if (coordinator_) {
            return;
        }
    }
    const std::weak_ptr<VRNVorna> weak = weak_from_this();
    VRNCoordinatorContext context;
    context.uploader = uploader();
    context.appRepository = appRepository_;
    context.onPrepareData = onPrepareData();
    context.branding = [weak]() -> std::shared_ptr<VRNBranding> {
        auto self = weak.lock();
        return self ? self->branding() : nullptr;
    };
    auto created = makeCoordinator_ ? makeCoordinator_(std::move(context))
                                    : VRNUIPlatform::current()->makeCoordinator(std::move(context));
    if (!created) {
        VRNLog("VRNVorna - No report flow in this host: link the kit's UI layer to show one");
        return;
    }
    {
        std::lock_guard lock(mutex_);
        coordinator_ = created;
    }
    brandingService_->start();
    // Set before the flow starts, so that a flow which ends at once is still let go of. The
    // coordinator is released after its callback has returned (it calls it from its own
    // completion) and outside the lock, and only if it is still the one on screen.
    created->setOnCoordinatorFinish([weak, finished = created.get()] {
        auto self = weak.lock();
        if (!self) {
            return;
        }
        self->mainLoop()->post([weak, finished] {
            auto owner = weak.lock();
            if (!owner) {
                return;
            }
            std::shared_ptr<VRNCoordinatorProtocol> released;
            {
                std::lock_guard lock(owner->mutex_);
                if (owner->coordinator_.get() == finished) {
                    released = std::move(owner->coordinator_);
                }
            }
        });
    });
    created->start();
}

void VRNVorna::performAutoReport(bool attachScreenshot,
                                 const std::optional<std::string>& description) {
    if (!appRepository_->applicationActive()) {
        return;
    }
    auto reportData = VRNMakeAutoReportData(attachScreenshot, description, onPrepareData());
    if (!reportData) {
        return;
    }
    if (auto target = uploader()) {
        target->uploadData(reportData);
    }
}

VRNVorna::PrepareDataHook VRNVorna::onPrepareData() const {
    std::lock_guard lock(mutex_);
    return onPrepareData_;
}

void VRNVorna::setOnPrepareData(PrepareDataHook hook) {
    std::lock_guard lock(mutex_);
    onPrepareData_ = std::move(hook);
}

std::shared_ptr<VRNFileManagerProtocol> VRNVorna::fileManager() {
    std::lock_guard lock(mutex_);
    if (!fileManager_) {
        FileManagerFactory make = makeFileManager_;
        if (!make) {
            std::lock_guard registryLock(factories().mutex);
            make = factories().fileManager;
        }
        if (make) {
            fileManager_ = make();
        }
    }
    return fileManager_;
}

std::shared_ptr<VRNUploaderProtocol> VRNVorna::uploader() {
    {
        std::lock_guard lock(mutex_);
        if (uploader_) {
            return uploader_;
        }
    }
    auto store = fileManager();
    UploaderFactory make = makeUploader_;
    if (!make) {
        std::lock_guard registryLock(factories().mutex);
        make = factories().uploader;
    }
    std::lock_guard lock(mutex_);
    if (!uploader_ && make) {
        uploader_ = make(store, api_);
    }
    return uploader_;
}

std::shared_ptr<VRNCoordinatorProtocol> VRNVorna::coordinator() const {
    std::lock_guard lock(mutex_);
    return coordinator_;
}

std::shared_ptr<VRNStarterProtocol> VRNVorna::starter() const {
    std::lock_guard lock(mutex_);
    return starter_;
}

void VRNVorna::setStarter(std::shared_ptr<VRNStarterProtocol> newStarter) {
    std::lock_guard lock(mutex_);
    starter_ = std::move(newStarter);
}

std::shared_ptr<VRNTimer> VRNVorna::timer() const {
    std::lock_guard lock(mutex_);
    return timer_;
}

std::shared_ptr<VRNBranding> VRNVorna::branding() const {
    return brandingService_->branding();
}

void VRNVorna::cancelTimer() {
    std::shared_ptr<VRNTimer> old;
    {
        std::lock_guard lock(mutex_);
        old = std::move(timer_);
    }
    if (old) {
        old->invalidate();
    }
}

void VRNVorna::setDefaultPipelineFactories(FileManagerFactory makeFileManager,
                                           UploaderFactory makeUploader) {
    std::lock_guard lock(factories().mutex);
    factories().fileManager = std::move(makeFileManager);
    factories().uploader = std::move(makeUploader);
}

}  // namespace vorna
