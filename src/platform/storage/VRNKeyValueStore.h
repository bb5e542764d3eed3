#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/VRNHandles.h"

namespace vorna {

using VRNData = std::vector<uint8_t>;

// An archived object as the store keeps it: the keyed archive's bytes, marked as an object so
// that a data accessor does not mistake it for plain data.
struct VRNArchivedObject {
    VRNData bytes;
    bool operator==(const VRNArchivedObject&) const = default;
};

// One stored value, with its kind kept exactly: booleans and numbers are numbers, but a value
// written as a boolean reads back as a boolean, an integer as an integer.
using VRNDefaultsValue =
    std::variant<bool, int64_t, double, std::string, VRNData, VRNArchivedObject>;

// The host application's defaults: a persistent key-value store, one per host bundle
// identifier. Reads come from memory; every write goes to the SQLite file (WAL journal) before
// it returns, so a value written survives the process being killed right after. Safe to use
// from several threads at once.
//
// A database that cannot be opened, is not a database or is corrupt is moved aside (its name
// gets ".corrupt" and the time) and a fresh one is started, with one log line; a location that
// cannot be written at all leaves the store in memory for this run, also with one log line.
class VRNKeyValueStore {
public:
    explicit VRNKeyValueStore(std::filesystem::path databasePath);
    ~VRNKeyValueStore();
    VRNKeyValueStore(const VRNKeyValueStore&) = delete;
    VRNKeyValueStore& operator=(const VRNKeyValueStore&) = delete;

    // The store of the host application, under its sandbox directory.
    static std::shared_ptr<VRNKeyValueStore> standard();
    // Replaces the standard store (tests, hosts that keep their defaults elsewhere).
    static void setStandard(std::shared_ptr<VRNKeyValueStore> store);

    std::optional<VRNDefaultsValue> value(const std::string& key) const;
    void setValue(const std::string& key, VRNDefaultsValue value);
    void removeValue(const std::string& key);

    // True while the values reach the file; false when the store fell back to memory.
    bool isPersistent() const;
    const std::filesystem::path& path() const { return path_; }

private:
    bool open();
    bool loadAll();
    void closeDatabase();
    bool write(const std::string& key, const VRNDefaultsValue& value);
    bool erase(const std::string& key);

    const std::filesystem::path path_;
    mutable std::mutex mutex_;
    std::map<std::string, VRNDefaultsValue, std::less<>> values_;
    // The statements before the database: they are finalized first when the store goes.
    VRNDatabase db_;
    VRNStatement upsert_;
    VRNStatement delete_;
};

}  // namespace vorna
