#include "core/VRNDefaultCollaborators.h"

#include <mutex>

#include "api/VRNAPI.h"
#include "blackbox/VRNBlackBox.h"
#include "blackbox/VRNSessionReporter.h"
#include "platform/VRNImage.h"
#include "state/VRNConstants.h"
#include "storage/VRNFileManager.h"
#include "storage/VRNUploader.h"
#include "vorna/VornaReportData.h"

namespace vorna {
namespace {

struct Registrar {
    std::mutex mutex;
    std::function<void()> resources;
    std::function<std::optional<std::vector<uint8_t>>()> screenshot;
};

Registrar& registrar() {
    static Registrar r;
    return r;
}

}  // namespace

std::shared_ptr<VRNAPIProtocol> VRNMakeDefaultAPI() {
    return std::make_shared<VRNAPI>();
}

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

std::shared_ptr<VRNFileManagerProtocol> VRNMakeDefaultFileManager() {
    return std::make_shared<VRNFileManager>();
}

std::shared_ptr<VRNUploaderProtocol> VRNMakeDefaultUploader(
    std::shared_ptr<VRNFileManagerProtocol> fileManager, std::shared_ptr<VRNAPIProtocol> api) {
    return VRNUploader::initWithFileManager(std::move(fileManager), std::move(api));
}

void VRNSetScreenshotCapture(std::function<std::optional<std::vector<uint8_t>>()> capture) {
    std::lock_guard lock(registrar().mutex);
    registrar().screenshot = std::move(capture);
}

std::shared_ptr<VRNVornaReportData> VRNMakeAutoReportData(
    bool attachScreenshot, const std::optional<std::string>& description,
    const VRNVorna::PrepareDataHook& onPrepareData) {
    auto reportData = std::make_shared<VRNVornaReportData>();
    if (onPrepareData) {
        reportData = onPrepareData(reportData);
        if (!reportData) {
            return nullptr;
        }
    }
    if (description) {
        VRNGatheredDataDict dict = reportData->gatheredDataDict().value_or(VRNGatheredDataDict{});
        dict[kVRNUserInput] = *description;
        reportData->setGatheredDataDict(std::move(dict));
    }
    std::optional<std::vector<uint8_t>> captured;
    if (attachScreenshot) {
        std::function<std::optional<std::vector<uint8_t>>()> capture;
        {
            std::lock_guard lock(registrar().mutex);
            capture = registrar().screenshot;
        }
        if (capture) {
            captured = capture();
        } else {
            VRNLog("VRNVorna - No screen to capture in this host, sending the empty screenshot");
        }
    }
    // A report always carries a screenshot file: the captured one, or a white pixel.
    if (captured) {
        reportData->setScreenshotFile(
            std::make_shared<VRNVornaFile>(std::string("screenshot.jpg"), std::move(*captured)));
    } else {
        reportData->setScreenshotFile(std::make_shared<VRNVornaFile>(
            std::string("emptyScreenshot.jpg"), VRNEmptyScreenshotJPEG()));
    }
    return reportData;
}

}  // namespace vorna
