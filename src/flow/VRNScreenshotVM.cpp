#include "flow/VRNScreenshotVM.h"

#include "vorna/VornaReportData.h"

namespace vorna {
namespace {

constexpr double kCompressionQuality = 0.7;
constexpr const char* kScreenshotFileName = "screenshot.jpg";

}  // namespace

VRNScreenshotVM::VRNScreenshotVM(VRNImage image, std::shared_ptr<VRNVornaReportData> reportData)
    : screenshotImage_(std::move(image)), reportData_(std::move(reportData)) {}

void VRNScreenshotVM::didPressCloseButton() {
    if (onDidPressCloseButton_) {
        onDidPressCloseButton_();
    }
}

void VRNScreenshotVM::didPressNextButton() {
    std::shared_ptr<const VRNVornaFile::Bytes> data;
    if (auto jpeg = VRNJPEGRepresentation(screenshotImage_, kCompressionQuality)) {
        data = std::make_shared<const VRNVornaFile::Bytes>(std::move(*jpeg));
    }
    if (reportData_) {
        reportData_->setScreenshotFile(
            std::make_shared<VRNVornaFile>(std::string(kScreenshotFileName), std::move(data)));
    }
    if (onDidPressNextButton_) {
        onDidPressNextButton_(reportData_);
    }
}

}  // namespace vorna
