#include <fstream>
#include <iterator>

#include "vorna/VornaFile.h"

namespace vorna {

VRNVornaFile::VRNVornaFile(std::optional<std::string> name, std::shared_ptr<const Bytes> data)
    : name_(std::move(name)), data_(std::move(data)) {}

VRNVornaFile::VRNVornaFile(std::optional<std::string> name, Bytes data)
    : name_(std::move(name)), data_(std::make_shared<const Bytes>(std::move(data))) {}

std::shared_ptr<VRNVornaFile> VRNVornaFile::initWithName(std::optional<std::string> name,
                                                         const std::filesystem::path& fileURL) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(fileURL, ec)) {
        return nullptr;
    }
    std::ifstream file(fileURL, std::ios::binary);
    if (!file) {
        return nullptr;
    }
    const auto size = std::filesystem::file_size(fileURL, ec);
    Bytes bytes;
    if (!ec) {
        bytes.reserve(static_cast<size_t>(size));
    }
    bytes.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    if (file.bad()) {
        return nullptr;
    }
    return std::make_shared<VRNVornaFile>(std::move(name), std::move(bytes));
}

std::shared_ptr<VRNVornaFile> VRNVornaFile::initWithFileURL(const std::filesystem::path& fileURL) {
    return initWithName(fileURL.filename().string(), fileURL);
}

}  // namespace vorna
