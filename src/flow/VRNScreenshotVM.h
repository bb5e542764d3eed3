#pragma once

#include <functional>
#include <memory>

#include "platform/VRNImage.h"

namespace vorna {

class VRNVornaReportData;

// What the annotation screen asks of its view model.
class VRNScreenshotVMProtocol {
public:
    virtual ~VRNScreenshotVMProtocol() = default;
    // The picture so far: the screenshot, then the annotated picture after each stroke.
    virtual const VRNImage& screenshotImage() const = 0;
    virtual void setScreenshotImage(VRNImage image) = 0;
    virtual const std::shared_ptr<VRNVornaReportData>& reportData() const = 0;
    virtual void didPressCloseButton() = 0;
    virtual void didPressNextButton() = 0;
};

// The first screen of a report: the picture the tester draws on. Next turns the picture into
// the report's "screenshot.jpg"; close abandons the report. The coordinator decides what both
// lead to.
class VRNScreenshotVM : public VRNScreenshotVMProtocol {
public:
    using NextCallback = std::function<void(std::shared_ptr<VRNVornaReportData>)>;

    VRNScreenshotVM(VRNImage image, std::shared_ptr<VRNVornaReportData> reportData);

    const VRNImage& screenshotImage() const override { return screenshotImage_; }
    void setScreenshotImage(VRNImage image) override { screenshotImage_ = std::move(image); }
    const std::shared_ptr<VRNVornaReportData>& reportData() const override { return reportData_; }
    void setReportData(std::shared_ptr<VRNVornaReportData> data) { reportData_ = std::move(data); }

    const std::function<void()>& onDidPressCloseButton() const { return onDidPressCloseButton_; }
    void setOnDidPressCloseButton(std::function<void()> callback) {
        onDidPressCloseButton_ = std::move(callback);
    }
    const NextCallback& onDidPressNextButton() const { return onDidPressNextButton_; }
    void setOnDidPressNextButton(NextCallback callback) {
        onDidPressNextButton_ = std::move(callback);
    }

    void didPressCloseButton() override;
    // The picture as a JPEG at quality 0.7, named "screenshot.jpg", becomes the report's
    // screenshot file (a picture that cannot be encoded gives a file without data); then the
    // report goes to the callback.
    void didPressNextButton() override;

private:
    VRNImage screenshotImage_;
    std::function<void()> onDidPressCloseButton_;
    NextCallback onDidPressNextButton_;
    std::shared_ptr<VRNVornaReportData> reportData_;
};

}  // namespace vorna
