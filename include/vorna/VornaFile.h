#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorna {

// One file that travels with a report: the name the backend is to see (with its extension) and
// the whole content. Hosts attach files in their onPrepareData hook:
//
//     if (auto log = vorna::VRNVornaFile::initWithFileURL("/var/log/myapp.log")) {
//         files.push_back(log);
//     }
class VRNVornaFile {
public:
    using Bytes = std::vector<uint8_t>;

    // initWithName:andData: — stores both as given; either may be absent.
    VRNVornaFile(std::optional<std::string> name, std::shared_ptr<const Bytes> data);
    VRNVornaFile(std::optional<std::string> name, Bytes data);

    // Reads the whole file; nothing when it cannot be read. An empty file gives empty bytes.
    static std::shared_ptr<VRNVornaFile> initWithName(std::optional<std::string> name,
                                                      const std::filesystem::path& fileURL);
    // The same, named after the file's last path component.
    static std::shared_ptr<VRNVornaFile> initWithFileURL(const std::filesystem::path& fileURL);

    const std::optional<std::string>& name() const { return name_; }
    void setName(std::optional<std::string> name) { name_ = std::move(name); }
    // Shared, not copied, with the upload form of the file.
    const std::shared_ptr<const Bytes>& data() const { return data_; }
    void setData(std::shared_ptr<const Bytes> data) { data_ = std::move(data); }

private:
    std::optional<std::string> name_;
    std::shared_ptr<const Bytes> data_;
};

}  // namespace vorna
