#pragma once

#include <memory>
#include <vector>

#include <nlohmann/json.hpp>

#include "report/VRNAPIReportFile.h"

namespace vorna {

// One bug report as the backend sees it: the JSON document, plus the files that travel beside
// it (the screenshot and the attachments), which are uploaded first and referenced from the
// document by their addresses.
class VRNAPIReport {
public:
    using Files = std::vector<std::shared_ptr<VRNAPIReportFileProtocol>>;

    VRNAPIReport() = default;

    std::shared_ptr<VRNAPIReportFileProtocol> screenshotFile() const { return screenshotFile_; }
    void setScreenshotFile(std::shared_ptr<VRNAPIReportFileProtocol> file) {
        screenshotFile_ = std::move(file);
    }
    const Files& files() const { return files_; }
    void setFiles(Files files) { files_ = std::move(files); }

    // The JSON document (an object), a fresh copy at every call.
    nlohmann::json dictValues() const;
    void setDocument(nlohmann::json document);

private:
    std::shared_ptr<VRNAPIReportFileProtocol> screenshotFile_;
    Files files_;
    nlohmann::json document_ = nlohmann::json::object();
};

}  // namespace vorna
