#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/storage/VRNKeyValueStore.h"

namespace vorna {

// A file as the backend client uploads it: a name and the whole bytes. The report document
// (its screenshot and its attachments) and the file upload see files only through this.
class VRNAPIReportFileProtocol {
public:
    virtual ~VRNAPIReportFileProtocol() = default;

    // The bytes are shared, not copied, between the report's own file and its upload form; an
    // empty pointer means the file has no bytes at all.
    virtual std::shared_ptr<const VRNData> data() const = 0;
    virtual void setData(std::shared_ptr<const VRNData> data) = 0;
    // The name the backend is to see, with its extension ("screenshot.jpg").
    virtual std::optional<std::string> fileName() const = 0;
    virtual void setFileName(std::optional<std::string> fileName) = 0;
};

// The upload form of one file of a report.
class VRNAPIReportFile : public VRNAPIReportFileProtocol {
public:
    VRNAPIReportFile() = default;
    VRNAPIReportFile(std::optional<std::string> fileName, std::shared_ptr<const VRNData> data);

    std::shared_ptr<const VRNData> data() const override { return data_; }
    void setData(std::shared_ptr<const VRNData> data) override { data_ = std::move(data); }
    std::optional<std::string> fileName() const override { return fileName_; }
    void setFileName(std::optional<std::string> fileName) override {
        fileName_ = std::move(fileName);
    }

private:
    std::shared_ptr<const VRNData> data_;
    std::optional<std::string> fileName_;
};

}  // namespace vorna
