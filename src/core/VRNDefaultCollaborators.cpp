#include "core/VRNDefaultCollaborators.h"

#include <mutex>

#include "api/VRNAPI.h"
#include "blackbox/VRNBlackBox.h"
#include "blackbox/VRNSessionReporter.h"

namespace vorna {
namespace {

struct Registrar {
    std::mutex mutex;
    std::function<void()> resources;
};

Registrar& registrar() {
    static Registrar r;
    return r;
}

}  // namespace

std::shared_ptr<VRNAPIProtocol> VRNMakeDefaultAPI() { return std::make_shared<VRNAPI>(); }

void VRNRegisterKitResources() {
    std::function<void()> registerResources;
    {
        std::lock_guard lock(registrar().mutex);
        registerResources = registrar().resources;
    }
    if (registerResources) {
        registerResources();
    }
}

void VRNSetKitResourceRegistrar(std::function<void()> resources) {
    std::lock_guard lock(registrar().mutex);
    registrar().resources = std::move(resources);
}

void VRNStartBlackBox() {
    VRNBlackBox::sharedInstance()->startRecording();
}

void VRNSetBlackBoxEnabled(bool enabled) {
    VRNBlackBox::sharedInstance()->setBlackBoxEnabled(enabled);
}

void VRNStartSessionReporter() {
    // Made now so that it observes the application's state from the start; nothing else is
    // asked of it here.
    (void)VRNSessionReporter::sharedInstance();
}

void VRNStartBrandingService() {}

std::shared_ptr<VRNVornaReportData> VRNMakeAutoReportData(
    bool /*attachScreenshot*/, const std::optional<std::string>& /*description*/,
    const VRNVorna::PrepareDataHook& /*onPrepareData*/) {
    return nullptr;
}

}  // namespace vorna
