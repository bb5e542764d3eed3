#include "core/VRNDefaultCollaborators.h"

#include "api/VRNAPI.h"
#include "blackbox/VRNBlackBox.h"
#include "blackbox/VRNSessionReporter.h"
#include "core/VRNUIPlatform.h"
#include "platform/VRNImage.h"
#include "state/VRNConstants.h"
#include "storage/VRNFileManager.h"
#include "storage/VRNUploader.h"
#include "vorna/VornaReportData.h"

namespace vorna {
std::shared_ptr<VRNAPIProtocol> VRNMakeDefaultAPI() {
    return std::make_shared<VRNAPI>();
}

void VRNRegisterKitResources() {
    VRNUIPlatform::registerKitResources();
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
        captured = VRNUIPlatform::current()->captureScreenshot();
        if (!captured) {
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
