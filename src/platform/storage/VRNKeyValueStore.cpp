#include "platform/storage/VRNKeyValueStore.h"

#include <sqlite3.h>

#include <chrono>
#include <system_error>

#include "platform/storage/VRNBundle.h"
#include "vorna/VRNLog.h"

namespace vorna {
namespace {

enum Kind : int { kBoolean = 0, kInteger = 1, kReal = 2, kText = 3, kData = 4, kObject = 5 };

std::mutex& standardMutex() {
    static std::mutex m;
    return m;
}

std::shared_ptr<VRNKeyValueStore>& standardStore() {
    static std::shared_ptr<VRNKeyValueStore> store;
    return store;
}

bool isCorruption(int code) {
    const int primary = code & 0xff;
    return primary == SQLITE_NOTADB || primary == SQLITE_CORRUPT;
}

}  // namespace

VRNKeyValueStore::VRNKeyValueStore(std::filesystem::path databasePath)
    : path_(std::move(databasePath)) {
    if (open()) {
        return;
    }
    // Nothing could be opened at this place: the values live in memory for this run.
    closeDatabase();
}

VRNKeyValueStore::~VRNKeyValueStore() = default;

std::shared_ptr<VRNKeyValueStore> VRNKeyValueStore::standard() {
    std::lock_guard lock(standardMutex());
    if (!standardStore()) {
        standardStore() =
            std::make_shared<VRNKeyValueStore>(VRNSandbox::directory() / "Library" / "Preferences" /
                                               (VRNSandbox::folderName() + ".sqlite"));
    }
    return standardStore();
}

void VRNKeyValueStore::setStandard(std::shared_ptr<VRNKeyValueStore> store) {
    std::lock_guard lock(standardMutex());
    standardStore() = std::move(store);
}

bool VRNKeyValueStore::open() {
    for (int attempt = 0; attempt < 2; ++attempt) {
        std::error_code ec;
        std::filesystem::create_directories(path_.parent_path(), ec);
        sqlite3* opened = nullptr;
        int rc = sqlite3_open_v2(path_.c_str(), &opened,
                                 SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                                 nullptr);
        // Even a failed open leaves a handle that must be closed.
        db_.reset(opened);
        std::string failure;
        if (rc == SQLITE_OK) {
            sqlite3_busy_timeout(db_.get(), 5000);
            rc = sqlite3_exec(db_.get(),
                              "PRAGMA journal_mode=WAL;"
                              "PRAGMA synchronous=NORMAL;"
                              "CREATE TABLE IF NOT EXISTS defaults("
                              " key TEXT PRIMARY KEY NOT NULL, kind INTEGER NOT NULL, value)"
                              " WITHOUT ROWID;",
                              nullptr, nullptr, nullptr);
        }
        if (rc == SQLITE_OK) {
            upsert_ = VRNPrepare(db_.get(),
                                 "INSERT INTO defaults(key, kind, value) VALUES(?1, ?2, ?3)"
                                 " ON CONFLICT(key) DO UPDATE SET kind=excluded.kind,"
                                 " value=excluded.value",
                                 SQLITE_PREPARE_PERSISTENT);
            rc = upsert_ ? SQLITE_OK : SQLITE_ERROR;
        }
        if (rc == SQLITE_OK) {
            delete_ = VRNPrepare(db_.get(), "DELETE FROM defaults WHERE key = ?1",
                                 SQLITE_PREPARE_PERSISTENT);
            rc = delete_ ? SQLITE_OK : SQLITE_ERROR;
        }
        if (rc == SQLITE_OK && loadAll()) {
            return true;
        }
        rc = db_ ? sqlite3_extended_errcode(db_.get()) : rc;
        failure = db_ ? sqlite3_errmsg(db_.get()) : sqlite3_errstr(rc);
        closeDatabase();
        values_.clear();
        if (attempt == 0 && isCorruption(rc)) {
            const auto stamp = std::chrono::duration_cast<std::chrono::seconds>(
                                   std::chrono::system_clock::now().time_since_epoch())
                                   .count();
            auto aside = path_;
            aside += ".corrupt-" + std::to_string(stamp);
            std::filesystem::rename(path_, aside, ec);
            for (const char* suffix : {"-wal", "-shm"}) {
                auto side = path_;
                side += suffix;
                std::filesystem::remove(side, ec);
            }
            VRNLog(
                "VRNKeyValueStore - Defaults database %s is unreadable (%s), moved it to %s and "
                "started a new one",
                path_.c_str(), failure.c_str(), aside.c_str());
            continue;
        }
        VRNLog(
            "VRNKeyValueStore - Cannot open defaults database %s (%s), keeping values in memory "
            "for this run",
            path_.c_str(), failure.c_str());
        return false;
    }
    return false;
}

bool VRNKeyValueStore::loadAll() {
    const VRNStatement statement = VRNPrepare(db_.get(), "SELECT key, kind, value FROM defaults");
    if (!statement) {
        return false;
    }
    sqlite3_stmt* select = statement.get();
    int rc;
    while ((rc = sqlite3_step(select)) == SQLITE_ROW) {
        const auto* keyText = sqlite3_column_text(select, 0);
        if (keyText == nullptr) {
            continue;
        }
        std::string key(reinterpret_cast<const char*>(keyText));
        const auto blob = [&] {
            const auto* bytes = static_cast<const uint8_t*>(sqlite3_column_blob(select, 2));
            const auto size = static_cast<size_t>(sqlite3_column_bytes(select, 2));
            return bytes ? VRNData(bytes, bytes + size) : VRNData{};
        };
        switch (sqlite3_column_int(select, 1)) {
            case kBoolean:
                values_[key] = sqlite3_column_int64(select, 2) != 0;
                break;
            case kInteger:
                values_[key] = static_cast<int64_t>(sqlite3_column_int64(select, 2));
                break;
            case kReal:
                values_[key] = sqlite3_column_double(select, 2);
                break;
            case kText: {
                const auto* text = sqlite3_column_text(select, 2);
                values_[key] = std::string(text ? reinterpret_cast<const char*>(text) : "",
                                           static_cast<size_t>(sqlite3_column_bytes(select, 2)));
                break;
            }
            case kData:
                values_[key] = blob();
                break;
            case kObject:
                values_[key] = VRNArchivedObject{blob()};
                break;
            default:
                VRNLog("VRNKeyValueStore - Skipping value of unknown kind for key %s", key.c_str());
                break;
        }
    }
    return rc == SQLITE_DONE;
}

void VRNKeyValueStore::closeDatabase() {
    upsert_.reset();
    delete_.reset();
    db_.reset();
}

std::optional<VRNDefaultsValue> VRNKeyValueStore::value(const std::string& key) const {
    std::lock_guard lock(mutex_);
    auto it = values_.find(key);
    if (it == values_.end()) {
        return std::nullopt;
    }
    return it->second;
}

void VRNKeyValueStore::setValue(const std::string& key, VRNDefaultsValue value) {
    std::lock_guard lock(mutex_);
    if (db_ != nullptr && !write(key, value)) {
        VRNLog("VRNKeyValueStore - Failed to write value for key %s: %s", key.c_str(),
               sqlite3_errmsg(db_.get()));
    }
    values_.insert_or_assign(key, std::move(value));
}

void VRNKeyValueStore::removeValue(const std::string& key) {
    std::lock_guard lock(mutex_);
    if (db_ != nullptr && !erase(key)) {
        VRNLog("VRNKeyValueStore - Failed to remove value for key %s: %s", key.c_str(),
               sqlite3_errmsg(db_.get()));
    }
    values_.erase(key);
}

bool VRNKeyValueStore::isPersistent() const {
    std::lock_guard lock(mutex_);
    return db_ != nullptr;
}

bool VRNKeyValueStore::write(const std::string& key, const VRNDefaultsValue& value) {
    sqlite3_stmt* upsert = upsert_.get();
    sqlite3_reset(upsert);
    sqlite3_bind_text(upsert, 1, key.data(), static_cast<int>(key.size()), SQLITE_STATIC);
    std::visit(
        [&](const auto& v) {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, bool>) {
                sqlite3_bind_int(upsert, 2, kBoolean);
                sqlite3_bind_int(upsert, 3, v ? 1 : 0);
            } else if constexpr (std::is_same_v<T, int64_t>) {
                sqlite3_bind_int(upsert, 2, kInteger);
                sqlite3_bind_int64(upsert, 3, v);
            } else if constexpr (std::is_same_v<T, double>) {
                sqlite3_bind_int(upsert, 2, kReal);
                sqlite3_bind_double(upsert, 3, v);
            } else if constexpr (std::is_same_v<T, std::string>) {
                sqlite3_bind_int(upsert, 2, kText);
                sqlite3_bind_text(upsert, 3, v.data(), static_cast<int>(v.size()), SQLITE_STATIC);
            } else if constexpr (std::is_same_v<T, VRNData>) {
                sqlite3_bind_int(upsert, 2, kData);
                sqlite3_bind_blob(upsert, 3, v.data(), static_cast<int>(v.size()), SQLITE_STATIC);
            } else {
                sqlite3_bind_int(upsert, 2, kObject);
                sqlite3_bind_blob(upsert, 3, v.bytes.data(), static_cast<int>(v.bytes.size()),
                                  SQLITE_STATIC);
            }
        },
        value);
    const int rc = sqlite3_step(upsert);
    sqlite3_reset(upsert);
    sqlite3_clear_bindings(upsert);
    return rc == SQLITE_DONE;
}

bool VRNKeyValueStore::erase(const std::string& key) {
    sqlite3_stmt* statement = delete_.get();
    sqlite3_reset(statement);
    sqlite3_bind_text(statement, 1, key.data(), static_cast<int>(key.size()), SQLITE_STATIC);
    const int rc = sqlite3_step(statement);
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    return rc == SQLITE_DONE;
}

}  // namespace vorna
