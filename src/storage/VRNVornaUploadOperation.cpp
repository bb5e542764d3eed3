#include "storage/VRNVornaUploadOperation.h"

#include <cstdio>

#include "api/VRNAPIProtocol.h"
#include "report/VRNAPIReport.h"
#include "vorna/VRNLog.h"

namespace vorna {

VRNVornaUploadOperation::VRNVornaUploadOperation(std::shared_ptr<VRNVornaReportData> reportData,
                                                 std::shared_ptr<VRNAPIProtocol> api)
    : reportData_(std::move(reportData)), api_(std::move(api)) {}

std::string VRNVornaUploadOperation::description() const {
    char text[64];
    std::snprintf(text, sizeof text, "<VRNVornaUploadOperation: %p>",
                  static_cast<const void*>(this));
    return text;
}

void VRNVornaUploadOperation::main() {
    auto report = std::make_shared<VRNAPIReport>();
    if (reportData_) {
        report->populateWith(*reportData_);
    }
    const std::string name = description();
    VRNLog("VRNVornaUploadOperation: starting operation %s", name.c_str());
    if (!api_) {
        uploadedSuccessfully_ = false;
        return;
    }
    // The semaphore is shared with the completion, which may run after this operation is gone
    // if the client answers more than once.
    auto semaphore = semaphore_;
    api_->sendReport(report, [this, semaphore, name, report](VRNErrorPtr error) {
        // A report whose files did not all upload was not posted, even when the last upload to
        // answer gave no error: that is a failure too, so the job stays on disk.
        if (error || report->notPosted()) {
            uploadedSuccessfully_ = false;
            uploadErrorCode_ = error ? error->code : 0;
            VRNLog("VRNVornaUploadOperation: operation completed %s with error %s", name.c_str(),
                   error ? error->localizedDescription.c_str() : "(null)");
        } else {
            VRNLog("VRNVornaUploadOperation: operation completed %s", name.c_str());
            uploadedSuccessfully_ = true;
        }
        semaphore->signal();
    });
    semaphore->wait();
}

}  // namespace vorna
