#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace vorna {

// The information dictionary of a bundle: the host application's Info.plist, or the kit's own
// build-time information. Values are kept as read (strings, numbers, booleans, dictionaries,
// arrays); lookups answer nothing for a key that is absent or of another kind.
class VRNBundle {
public:
    explicit VRNBundle(nlohmann::json info = nlohmann::json::object(),
                       std::filesystem::path source = {});

    // The host application's bundle: the Info.plist named by setMainInfoPlistPath(), else the
    // Info.plist beside the running executable. Read once; a missing or malformed file logs one
    // line and leaves an empty dictionary, so every lookup answers nothing.
    static std::shared_ptr<VRNBundle> mainBundle();
    // Names the host's Info.plist; takes effect for lookups made after the call, so hosts call
    // it before starting the kit.
    static void setMainInfoPlistPath(std::filesystem::path path);
    // Replaces the main bundle outright (tests, hosts that configure in code).
    static void setMainBundle(std::shared_ptr<VRNBundle> bundle);
    // The kit's own bundle: its information is fixed when the kit is built.
    static std::shared_ptr<VRNBundle> vornaBundle();

    // Parses an XML (or binary) property list whose root is a dictionary.
    static std::shared_ptr<VRNBundle> fromInfoPlist(const std::filesystem::path& path);
    // The same from bytes already read; `source` names them in log lines.
    static std::shared_ptr<VRNBundle> fromInfoPlistData(const std::string& bytes,
                                                        const std::filesystem::path& source);

    std::optional<std::string> stringForKey(const std::string& key) const;
    std::optional<std::string> stringInDictionary(const std::string& dictionaryKey,
                                                  const std::string& key) const;
    bool hasDictionary(const std::string& key) const;
    std::optional<std::string> bundleIdentifier() const {
        return stringForKey("CFBundleIdentifier");
    }
    const nlohmann::json& infoDictionary() const { return info_; }
    const std::filesystem::path& source() const { return source_; }

private:
    nlohmann::json info_;
    std::filesystem::path source_;
};

// The host application's private directory: $XDG_DATA_HOME/<bundle identifier>/ (by default
// ~/.local/share/<bundle identifier>/), with Documents/ inside.
class VRNSandbox {
public:
    static std::filesystem::path directory();
    static std::filesystem::path documentsDirectory();
    // The folder name: the host's bundle identifier, or the executable's name when the host
    // declares none.
    static std::string folderName();
    // Moves the sandbox elsewhere (tests); an empty path restores the default.
    static void setDirectory(std::filesystem::path directory);
};

}  // namespace vorna
