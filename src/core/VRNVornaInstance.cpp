#include "core/VRNVornaInstance.h"

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
#include "storage/VRNDeliveryLedger.h"
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

VRNVornaInstance::Dependencies sharedDependencies() {
    VRNVornaInstance::Dependencies deps;
    deps.api = VRNMakeDefaultAPI();
    deps.appRepository = VRNAppRepository::sharedInstance();
    deps.connection = VRNConnection::sharedInstance();
    deps.notificationCenter = &VRNNotificationCenter::defaultCenter();
    deps.makeFileManager = VRNMakeDefaultFileManager;
    deps.makeUploader = VRNMakeDefaultUploader;
    deps.ledger = VRNDeliveryLedger::shared();
    return deps;
}

}  // namespace

VRNVornaInstance::VRNVornaInstance() : VRNVornaInstance(sharedDependencies()) {}

VRNVornaInstance::VRNVornaInstance(Dependencies deps)
    : api_(std::move(deps.api)),
      appRepository_(deps.appRepository ? std::move(deps.appRepository)
                                        : VRNAppRepository::sharedInstance()),
      connection_(deps.connection ? std::move(deps.connection) : VRNConnection::sharedInstance()),
      runLoop_(std::move(deps.runLoop)),
      center_(deps.notificationCenter ? *deps.notificationCenter
                                      : VRNNotificationCenter::defaultCenter()),
      ledger_(deps.ledger ? std::move(deps.ledger) : VRNDeliveryLedger::shared()),
      makeFileManager_(std::move(deps.makeFileManager)),
      makeUploader_(std::move(deps.makeUploader)),
      makeCoordinator_(std::move(deps.makeCoordinator)),
      brandingService_(std::make_shared<VRNBrandingService>()) {
    VRNRegisterKitResources();
}

VRNVornaInstance::~VRNVornaInstance() {
    cancelTimer();
}

std::shared_ptr<VRNVornaInstance> VRNVornaInstance::shared() {
    // The kit lives as long as the host process and has no stop operation; the instance is
    // never destroyed, so nothing runs against it while the process exits.
    static auto* instance =
        new std::shared_ptr<VRNVornaInstance>(std::make_shared<VRNVornaInstance>());
    return *instance;
}

std::shared_ptr<VRNRunLoop> VRNVornaInstance::mainLoop() const {
    // Without a loop of its own the facade follows the process's main loop as it stands: a host
    // may start the kit before its toolkit (and the toolkit's loop) exists.
    return runLoop_ ? runLoop_ : VRNRunLoop::main();
}

void VRNVornaInstance::runOnMain(std::function<void()> task) {
    const auto loop = mainLoop();
    if (loop->isCurrent()) {
        task();
    } else {
        loop->post(std::move(task));
    }
}

bool VRNVornaInstance::started() const {
    return started_;
}

void VRNVornaInstance::performStart(VornaInvocationEvent events) {
    started_ = true;
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
        std::weak_ptr<VRNVornaInstance> weak = weak_from_this();
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

void VRNVornaInstance::authorizeVorna() {
    VRNLog("VRNVorna - Started authorization procces");
    const auto currentStarter = starter();
    if (!currentStarter) {
        VRNLog("VRNVorna - Starter not set, canceling authorization");
        return;
    }
    std::weak_ptr<VRNVornaInstance> weak = weak_from_this();
    currentStarter->start([weak](bool authorized) {
        auto self = weak.lock();
        if (!self) {
            return;
        }
        if (authorized) {
            self->authorized();
        } else {
            self->appRepository_->setClientAuthorized(false);
            if (!reauthorizationPending) {
                self->retryAuthorization();
            }
        }
    });
}

void VRNVornaInstance::authorized() {
    appRepository_->setClientAuthorized(true);
    registerApplication();
    determineEnabled();
    // Creating the uploader sends the reports left from earlier runs.
    const auto pipeline = uploader();
    bool waited;
    {
        std::lock_guard lock(mutex_);
        waited = waiters_ > 0;
    }
    // Reports made before this first authorization would otherwise wait for the next start,
    // foreground or report; a host waiting for them gets them out now.
    if (waited && pipeline) {
        pipeline->startRoundIfIdle();
    }
    ledger_->changed();
}

void VRNVornaInstance::retryAuthorization() {
    reauthorizationPending = true;
    std::weak_ptr<VRNVornaInstance> weak = weak_from_this();
    if (!connection_->hasConnectivity()) {
        // Parked under the facade's key, "VRNVornaretryAuthorization": the instance acts for
        // VRNVorna, and a later retry must replace this block, not add a second one.
        connection_->performWhenConnectedAs([weak] {
            auto self = weak.lock();
            if (!self) {
                return;
            }
            VRNLog("VRNVorna - Retrying authorization after regained connection");
            reauthorizationPending = false;
            self->cancelTimer();
            delay = 5;
            self->authorizeVorna();
        }, "void vorna::VRNVorna::retryAuthorization()");
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

void VRNVornaInstance::determineEnabled() {
    if (!api_) {
        return;
    }
    std::weak_ptr<VRNVornaInstance> weak = weak_from_this();
    api_->getApplicationEnabled(VRNInfoPlist().hostApplicationBundleId(), kOperatingSystem,
                                kPlatform, [weak](std::optional<bool> enabled) {
                                    auto self = weak.lock();
                                    if (!self || !enabled) {
                                        return;
                                    }
                                    self->appRepository_->setApplicationActive(*enabled);
                                    if (!*enabled) {
                                        VRNLog("VRNVorna: Application is archived.");
                                        self->dropAllSavedReports();
                                    }
                                });
}

void VRNVornaInstance::registerApplication() {
    if (api_) {
        api_->registerApplication(VRNInfoPlist().hostApplicationBundleId(), kOperatingSystem,
                                  kPlatform);
    }
}

void VRNVornaInstance::addObservers() {
    const std::weak_ptr<VRNVornaInstance> weak = weak_from_this();
    auto foreground = center_.subscribe(VRNApplicationWillEnterForegroundNotification, weak,
                                        &VRNVornaInstance::appWillEnterForeground);
    auto background = center_.subscribe(VRNApplicationDidEnterBackgroundNotification, weak,
                                        &VRNVornaInstance::appDidEnterBackground);
    std::lock_guard lock(mutex_);
    observers_.push_back(std::move(foreground));
    observers_.push_back(std::move(background));
}

void VRNVornaInstance::appWillEnterForeground() {
    if (!appRepository_->clientAuthorized()) {
        VRNLog("VRNVorna - Starting reauth after entering foreground");
        authorizeVorna();
    }
}

void VRNVornaInstance::appDidEnterBackground() {
    if (!appRepository_->clientAuthorized() && reauthorizationPending) {
        VRNLog("VRNVorna - Entering background, cancel reauthorization actions");
        connection_->cancelGlobalPendingBlocks();
        cancelTimer();
        reauthorizationPending = false;
        delay = 5;
    }
}

void VRNVornaInstance::display() {
    {
        std::lock_guard lock(mutex_);
        if (coordinator_) {
            return;
        }
    }
    const std::weak_ptr<VRNVornaInstance> weak = weak_from_this();
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

void VRNVornaInstance::performAutoReport(bool attachScreenshot,
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

VRNVornaInstance::PrepareDataHook VRNVornaInstance::onPrepareData() const {
    std::lock_guard lock(mutex_);
    return onPrepareData_;
}

void VRNVornaInstance::setOnPrepareData(PrepareDataHook hook) {
    std::lock_guard lock(mutex_);
    onPrepareData_ = std::move(hook);
}

std::shared_ptr<VRNFileManagerProtocol> VRNVornaInstance::fileManager() {
    std::lock_guard lock(mutex_);
    if (!fileManager_ && makeFileManager_) {
        fileManager_ = makeFileManager_();
    }
    return fileManager_;
}

std::shared_ptr<VRNUploaderProtocol> VRNVornaInstance::uploader() {
    {
        std::lock_guard lock(mutex_);
        if (uploader_) {
            return uploader_;
        }
    }
    auto store = fileManager();
    std::lock_guard lock(mutex_);
    if (!uploader_ && makeUploader_) {
        uploader_ = makeUploader_(store, api_);
    }
    return uploader_;
}

std::shared_ptr<VRNCoordinatorProtocol> VRNVornaInstance::coordinator() const {
    std::lock_guard lock(mutex_);
    return coordinator_;
}

std::shared_ptr<VRNStarterProtocol> VRNVornaInstance::starter() const {
    std::lock_guard lock(mutex_);
    return starter_;
}

void VRNVornaInstance::setStarter(std::shared_ptr<VRNStarterProtocol> newStarter) {
    std::lock_guard lock(mutex_);
    starter_ = std::move(newStarter);
}

std::shared_ptr<VRNTimer> VRNVornaInstance::timer() const {
    std::lock_guard lock(mutex_);
    return timer_;
}

std::shared_ptr<VRNBranding> VRNVornaInstance::branding() const {
    return brandingService_->branding();
}

void VRNVornaInstance::cancelTimer() {
    std::shared_ptr<VRNTimer> old;
    {
        std::lock_guard lock(mutex_);
        old = std::move(timer_);
    }
    if (old) {
        old->invalidate();
    }
}

}  // namespace vorna
