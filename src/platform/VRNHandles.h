#pragma once

// Owners of the C handles the kit and its backend open: file descriptors, directory streams,
// stdio files, SQLite databases and statements. Each closes its handle exactly once, when it goes
// or when it is reset; nothing else in the code base calls close(2), closedir, fclose,
// sqlite3_finalize or sqlite3_close itself.

#include <dirent.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <utility>

namespace vorna {

// A file descriptor, closed when its owner goes. Move-only.
class VRNFileDescriptor {
public:
    VRNFileDescriptor() = default;
    explicit VRNFileDescriptor(int fd) : fd_(fd) {}
    ~VRNFileDescriptor() { reset(); }
    VRNFileDescriptor(VRNFileDescriptor&& other) noexcept : fd_(other.release()) {}
    VRNFileDescriptor& operator=(VRNFileDescriptor&& other) noexcept {
        if (this != &other) {
            reset(other.release());
        }
        return *this;
    }
    VRNFileDescriptor(const VRNFileDescriptor&) = delete;
    VRNFileDescriptor& operator=(const VRNFileDescriptor&) = delete;

    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }
    explicit operator bool() const { return valid(); }

    // Gives the descriptor up without closing it.
    int release() { return std::exchange(fd_, -1); }
    void reset(int fd = -1) {
        const int old = std::exchange(fd_, fd);
        if (old >= 0) {
            ::close(old);
        }
    }
    // Closes now and says whether the kernel accepted it: after a write, a failed close can be
    // the first news of a lost write, which a durable save must not ignore.
    bool close() {
        const int old = std::exchange(fd_, -1);
        return old < 0 || ::close(old) == 0;
    }

private:
    int fd_ = -1;
};

namespace detail {
struct CloseDirectory {
    void operator()(DIR* directory) const { ::closedir(directory); }
};
struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
struct FinalizeStatement {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
struct CloseDatabase {
    void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
};
}  // namespace detail

using VRNDirectoryStream = std::unique_ptr<DIR, detail::CloseDirectory>;
using VRNStatement = std::unique_ptr<sqlite3_stmt, detail::FinalizeStatement>;
using VRNDatabase = std::unique_ptr<sqlite3, detail::CloseDatabase>;

// A stdio file. `close()` reports whether the buffered bytes reached the file.
class VRNStdioFile {
public:
    VRNStdioFile() = default;
    explicit VRNStdioFile(std::FILE* file) : file_(file) {}
    std::FILE* get() const { return file_.get(); }
    explicit operator bool() const { return file_ != nullptr; }
    bool close() {
        std::FILE* file = file_.release();
        return file == nullptr || std::fclose(file) == 0;
    }

private:
    std::unique_ptr<std::FILE, detail::CloseFile> file_;
};

// Prepares one statement; empty (and the database's error message set) when SQLite refuses it.
inline VRNStatement VRNPrepare(sqlite3* database, const char* sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database, sql, -1, &statement, nullptr) != SQLITE_OK) {
        sqlite3_finalize(statement);
        return nullptr;
    }
    return VRNStatement(statement);
}

// The same with sqlite3_prepare_v3's flags, e.g. SQLITE_PREPARE_PERSISTENT for a statement that
// lives as long as its database.
inline VRNStatement VRNPrepare(sqlite3* database, const char* sql, unsigned int prepareFlags) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v3(database, sql, -1, prepareFlags, &statement, nullptr) != SQLITE_OK) {
        sqlite3_finalize(statement);
        return nullptr;
    }
    return VRNStatement(statement);
}

}  // namespace vorna
