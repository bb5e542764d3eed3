#include "storage/VRNFileManager.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

#include "api/VRNUUID.h"
#include "platform/VRNHandles.h"
#include "platform/storage/VRNBundle.h"
#include "report/VRNReportArchiving.h"
#include "state/VRNConstants.h"
#include "vorna/VRNLog.h"

namespace vorna {
namespace {

bool isDeletable(const std::filesystem::path& path) {
    std::error_code ec;
    if (!std::filesystem::exists(std::filesystem::symlink_status(path, ec))) {
        return false;
    }
    return ::access(path.parent_path().c_str(), W_OK | X_OK) == 0;
}

// Makes a folder's list of entries durable: a file renamed into it, or a folder made in it,
// survives a power cut only once the folder itself is synced.
void syncDirectory(const std::filesystem::path& folder) {
    const VRNFileDescriptor dir(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (dir) {
        ::fsync(dir.get());
    }
}

// Writes the bytes under a temporary name in the same folder, syncs them, gives the file its
// name and syncs the folder: the report is on disk whole or not at all.
bool writeAtomically(const std::filesystem::path& path, const VRNData& bytes) {
    // Appended piece by piece: GCC 12 at -O3 reports a false overlap for "." + name.
    std::string hidden = ".";
    hidden += path.filename().string();
    hidden += ".partial";
    const auto temporary = path.parent_path() / hidden;
    VRNFileDescriptor file(
        ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (!file) {
        return false;
    }
    size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t n = ::write(file.get(), bytes.data() + written, bytes.size() - written);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            file.reset();
            ::unlink(temporary.c_str());
            return false;
        }
        written += static_cast<size_t>(n);
    }
    // The close is checked too: it can be the first news of a write that did not reach the disk.
    if (::fsync(file.get()) != 0 || !file.close()) {
        ::unlink(temporary.c_str());
        return false;
    }
    if (::rename(temporary.c_str(), path.c_str()) != 0) {
        ::unlink(temporary.c_str());
        return false;
    }
    syncDirectory(path.parent_path());
    return true;
}

std::optional<VRNData> readAll(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return std::nullopt;
    }
    std::error_code ec;
    VRNData bytes;
    const auto size = std::filesystem::file_size(path, ec);
    if (!ec) {
        bytes.resize(static_cast<size_t>(size));
        file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
        if (!file || static_cast<uint64_t>(file.gcount()) != size) {
            return std::nullopt;
        }
        return bytes;
    }
    return std::nullopt;
}

}  // namespace

VRNFileManager::VRNFileManager(std::filesystem::path documentsDirectory)
    : documentsDirectory_(std::move(documentsDirectory)) {
    VRNReportArchiving::registerArchiveClasses();
}

std::filesystem::path VRNFileManager::documentsDirectory() const {
    return documentsDirectory_.empty() ? VRNSandbox::documentsDirectory() : documentsDirectory_;
}

std::optional<std::filesystem::path> VRNFileManager::vornaSavedFolder() {
    const auto folder = documentsDirectory() / VornaSavedDirectory;
    std::error_code ec;
    if (!std::filesystem::exists(folder, ec)) {
        VRNLog("VRNFileManager: Need to create target directory at %s", folder.c_str());
        // The folders made here (Documents too, on a first run) are synced into their parents,
        // so the first report saved in them does not vanish with them after a power cut.
        std::vector<std::filesystem::path> made;
        for (auto missing = folder; !missing.empty() && !std::filesystem::exists(missing, ec);
             missing = missing.parent_path()) {
            made.push_back(missing);
            if (missing == missing.parent_path()) {
                break;
            }
        }
        std::filesystem::create_directories(folder, ec);
        if (ec) {
            VRNLog("VRNFileManager: Error creating target directory: (error)");
        } else {
            for (const auto& created : made) {
                syncDirectory(created.parent_path());
            }
        }
    } else {
        VRNLog("VRNFileManager: Existing target directory at %s", folder.c_str());
    }
    return folder;
}

std::optional<std::filesystem::path> VRNFileManager::generateFilenameForIdentifier(
    const std::string& identifier) {
    const auto folder = vornaSavedFolder();
    if (!folder) {
        VRNLog("VRNFileManager: Error generating filename for identifier %s", identifier.c_str());
        return std::nullopt;
    }
    return *folder / (identifier + VornaFileExtension);
}

std::optional<std::string> VRNFileManager::saveDataForReportData(
    std::shared_ptr<VRNVornaReportData> reportData) {
    std::lock_guard lock(lock_);
    const std::string identifier = VRNUUID::UUIDString();
    const auto path = generateFilenameForIdentifier(identifier);
    if (!path) {
        VRNLog("VRNFileManager: Can not generate save path for %s", identifier.c_str());
        return std::nullopt;
    }
    if (!reportData) {
        VRNLog("VRNFileManager: Error archiving data");
        return std::nullopt;
    }
    const VRNData archive = VRNReportArchiving::archive(reportData);
    if (archive.empty()) {
        VRNLog("VRNFileManager: Error archiving data");
        return std::nullopt;
    }
    if (!writeAtomically(*path, archive)) {
        VRNLog("VRNFileManager: Did not save encoded data to path");
        return std::nullopt;
    }
    return identifier;
}

std::shared_ptr<VRNVornaReportData> VRNFileManager::loadReportDataForIdentifier(
    const std::string& identifier) {
    std::lock_guard lock(lock_);
    const auto path = generateFilenameForIdentifier(identifier);
    if (!path) {
        VRNLog("VRNFileManager: Did not generate target url");
        return nullptr;
    }
    const auto bytes = readAll(*path);
    if (!bytes) {
        VRNLog("VRNFileManager: Did not load data for url");
        return nullptr;
    }
    VRNErrorPtr error;
    auto reportData = VRNReportArchiving::unarchive(*bytes, &error);
    if (error) {
        VRNLog("VRNFileManager: Failed to deserialize because of error %s",
               error->localizedDescription.c_str());
    }
    if (!reportData) {
        VRNLog("VRNFileManager: Did not load data for url");
        return nullptr;
    }
    return reportData;
}

void VRNFileManager::deleteReportDataForIdentifier(const std::string& identifier) {
    std::lock_guard lock(lock_);
    const auto path = generateFilenameForIdentifier(identifier);
    if (!path) {
        VRNLog("VRNFileManager: Did not generate target url");
        return;
    }
    if (!isDeletable(*path)) {
        VRNLog("VRNFileManager: Can not delete file at %s", path->c_str());
        return;
    }
    std::error_code ec;
    std::filesystem::remove(*path, ec);
    if (ec) {
        VRNLog("VRNFileManager: Error deleting file %s: %s", path->c_str(), ec.message().c_str());
    } else {
        VRNLog("VRNFileManager: Delete file at %s", path->c_str());
    }
}

void VRNFileManager::deleteAllLocalReportData() {
    std::lock_guard lock(lock_);
    VRNLog("VRNFileManager: Deleting all locally saved report data");
    const auto folder = vornaSavedFolder();
    if (!folder) {
        VRNLog("VRNFileManager: Error retrieving vorna local data directory url");
        return;
    }
    std::error_code ec;
    std::vector<std::filesystem::path> entries;
    for (std::filesystem::directory_iterator it(*folder, ec), end; !ec && it != end;
         it.increment(ec)) {
        entries.push_back(it->path());
    }
    for (const auto& entry : entries) {
        if (isDeletable(entry)) {
            std::error_code removeError;
            std::filesystem::remove_all(entry, removeError);
            if (removeError) {
                VRNLog("VRNFileManager: Error deleting file at url -> %s /n error -> %s",
                       entry.c_str(), removeError.message().c_str());
            }
        } else {
            VRNLog("VRNFileManager: Cant delete file at url -> %s", entry.c_str());
        }
    }
    if (ec) {
        VRNLog(
            "VRNFileManager: Error while reading the local report data directory at url -> %s "
            "/n error -> %s",
            folder->c_str(), ec.message().c_str());
    }
}

std::vector<std::string> VRNFileManager::savedReports() {
    std::lock_guard lock(lock_);
    const auto folder = documentsDirectory() / VornaSavedDirectory;
    std::error_code ec;
    if (!std::filesystem::is_directory(folder, ec)) {
        VRNLog("VRNFileManager: Can't load stored files, directory does not exist %s",
               folder.c_str());
        return {};
    }
    std::vector<std::string> identifiers;
    const std::string extension = VornaFileExtension;
    for (std::filesystem::directory_iterator it(folder, ec), end; !ec && it != end;
         it.increment(ec)) {
        std::string name = it->path().filename().string();
        if (name.size() < extension.size() ||
            name.compare(name.size() - extension.size(), extension.size(), extension) != 0) {
            continue;
        }
        for (size_t at; (at = name.find(extension)) != std::string::npos;) {
            name.erase(at, extension.size());
        }
        identifiers.push_back(name);
    }
    if (ec) {
        VRNLog("VRNFileManager: Error getting contents of directory at %s", folder.c_str());
        return {};
    }
    return identifiers;
}

}  // namespace vorna
