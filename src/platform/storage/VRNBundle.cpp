#include "platform/storage/VRNBundle.h"

#include <plist/plist.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

#include "vorna/VRNLog.h"

#ifndef VORNA_VERSION_STRING
#define VORNA_VERSION_STRING "1.0.0"
#endif
#ifndef VORNA_API_URL
#define VORNA_API_URL "http://127.0.0.1:8642/"
#endif

namespace vorna {
namespace {

struct PlistDeleter {
    void operator()(void* node) const { plist_free(static_cast<plist_t>(node)); }
};
using PlistPtr = std::unique_ptr<void, PlistDeleter>;

// A configuration file nests two or three levels; anything deeper than this is refused before
// the conversion below, which recurses once per level, can run out of stack.
constexpr int kMaxPlistDepth = 64;

// Converts one node; false when the property list nests deeper than the kit reads.
bool toJson(plist_t node, int depth, nlohmann::json& out) {
    if (depth > kMaxPlistDepth) {
        return false;
    }
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            uint8_t value = 0;
            plist_get_bool_val(node, &value);
            out = value != 0;
            return true;
        }
        case PLIST_UINT: {
            uint64_t value = 0;
            plist_get_uint_val(node, &value);
            out = value;
            return true;
        }
        case PLIST_REAL: {
            double value = 0;
            plist_get_real_val(node, &value);
            out = value;
            return true;
        }
        case PLIST_STRING: {
            // Read through the pointer: a string with a NUL byte inside trips an assertion in
            // libplist's copying accessor. The XML reader keeps no bytes after such a NUL, so
            // the text ends there.
            uint64_t length = 0;
            const char* value = plist_get_string_ptr(node, &length);
            out = value ? std::string(value, strnlen(value, static_cast<size_t>(length)))
                        : std::string();
            return true;
        }
        case PLIST_ARRAY: {
            out = nlohmann::json::array();
            const uint32_t count = plist_array_get_size(node);
            for (uint32_t i = 0; i < count; ++i) {
                nlohmann::json item;
                if (!toJson(plist_array_get_item(node, i), depth + 1, item)) {
                    return false;
                }
                out.push_back(std::move(item));
            }
            return true;
        }
        case PLIST_DICT: {
            out = nlohmann::json::object();
            plist_dict_iter iter = nullptr;
            plist_dict_new_iter(node, &iter);
            bool ok = true;
            while (ok) {
                char* key = nullptr;
                plist_t value = nullptr;
                plist_dict_next_item(node, iter, &key, &value);
                if (key == nullptr) {
                    break;
                }
                nlohmann::json item;
                ok = value == nullptr || toJson(value, depth + 1, item);
                out[key] = std::move(item);
                std::free(key);
            }
            std::free(iter);
            return ok;
        }
        default:
            // Dates, data and keys are not configuration the kit reads.
            out = nullptr;
            return true;
    }
}

std::filesystem::path executablePath() {
    std::error_code ec;
    auto path = std::filesystem::read_symlink("/proc/self/exe", ec);
    return ec ? std::filesystem::path() : path;
}

struct MainState {
    std::mutex mutex;
    std::filesystem::path plistPath;
    std::shared_ptr<VRNBundle> bundle;
    std::filesystem::path sandbox;
};

// Never destroyed: the kit's queue threads may still ask for the main bundle while the host
// is already running its exit handlers.
MainState& mainState() {
    static auto* const state = new MainState;
    return *state;
}

}  // namespace

VRNBundle::VRNBundle(nlohmann::json info, std::filesystem::path source)
    : info_(info.is_object() ? std::move(info) : nlohmann::json::object()),
      source_(std::move(source)) {}

std::shared_ptr<VRNBundle> VRNBundle::fromInfoPlist(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        VRNLog("VRNBundle - No Info.plist at %s (%s), using defaults", path.c_str(),
               std::strerror(errno));
        return std::make_shared<VRNBundle>(nlohmann::json::object(), path);
    }
    const std::string bytes((std::istreambuf_iterator<char>(file)),
                            std::istreambuf_iterator<char>());
    return fromInfoPlistData(bytes, path);
}

std::shared_ptr<VRNBundle> VRNBundle::fromInfoPlistData(const std::string& bytes,
                                                        const std::filesystem::path& path) {
    plist_t root = nullptr;
    if (!bytes.empty()) {
        plist_from_memory(bytes.data(), static_cast<uint32_t>(bytes.size()), &root);
    }
    PlistPtr owner(root);
    if (root == nullptr || plist_get_node_type(root) != PLIST_DICT) {
        VRNLog("VRNBundle - Info.plist at %s is malformed (%s), using defaults", path.c_str(),
               root == nullptr ? "not a property list" : "its root is not a dictionary");
        return std::make_shared<VRNBundle>(nlohmann::json::object(), path);
    }
    nlohmann::json info;
    if (!toJson(root, 0, info)) {
        VRNLog("VRNBundle - Info.plist at %s is malformed (%s), using defaults", path.c_str(),
               "it nests deeper than 64 levels");
        return std::make_shared<VRNBundle>(nlohmann::json::object(), path);
    }
    return std::make_shared<VRNBundle>(std::move(info), path);
}

std::shared_ptr<VRNBundle> VRNBundle::mainBundle() {
    auto& state = mainState();
    std::lock_guard lock(state.mutex);
    if (!state.bundle) {
        auto path = state.plistPath;
        if (path.empty()) {
            path = executablePath().parent_path() / "Info.plist";
        }
        state.bundle = fromInfoPlist(path);
    }
    return state.bundle;
}

void VRNBundle::setMainInfoPlistPath(std::filesystem::path path) {
    auto& state = mainState();
    std::lock_guard lock(state.mutex);
    state.plistPath = std::move(path);
    state.bundle.reset();
}

void VRNBundle::setMainBundle(std::shared_ptr<VRNBundle> bundle) {
    auto& state = mainState();
    std::lock_guard lock(state.mutex);
    state.bundle = std::move(bundle);
}

std::shared_ptr<VRNBundle> VRNBundle::vornaBundle() {
    static const auto bundle = std::make_shared<VRNBundle>(nlohmann::json{
        {"CFBundleIdentifier", "org.vorna.kit"},
        {"CFBundleShortVersionString", VORNA_VERSION_STRING},
        {"VORNA_API_URL", VORNA_API_URL},
    });
    return bundle;
}

std::optional<std::string> VRNBundle::stringForKey(const std::string& key) const {
    auto it = info_.find(key);
    if (it == info_.end() || !it->is_string()) {
        return std::nullopt;
    }
    return it->get<std::string>();
}

std::optional<std::string> VRNBundle::stringInDictionary(const std::string& dictionaryKey,
                                                         const std::string& key) const {
    auto dict = info_.find(dictionaryKey);
    if (dict == info_.end() || !dict->is_object()) {
        return std::nullopt;
    }
    auto it = dict->find(key);
    if (it == dict->end() || !it->is_string()) {
        return std::nullopt;
    }
    return it->get<std::string>();
}

bool VRNBundle::hasDictionary(const std::string& key) const {
    auto it = info_.find(key);
    return it != info_.end() && it->is_object();
}

std::string VRNSandbox::folderName() {
    if (auto identifier = VRNBundle::mainBundle()->bundleIdentifier();
        identifier && !identifier->empty()) {
        return *identifier;
    }
    auto name = executablePath().filename().string();
    return name.empty() ? std::string("vorna-host") : name;
}

std::filesystem::path VRNSandbox::directory() {
    {
        auto& state = mainState();
        std::lock_guard lock(state.mutex);
        if (!state.sandbox.empty()) {
            return state.sandbox;
        }
    }
    std::filesystem::path dataHome;
    if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg && *xdg == '/') {
        dataHome = xdg;
    } else if (const char* home = std::getenv("HOME"); home && *home) {
        dataHome = std::filesystem::path(home) / ".local" / "share";
    } else {
        dataHome = std::filesystem::temp_directory_path();
    }
    return dataHome / folderName();
}

std::filesystem::path VRNSandbox::documentsDirectory() {
    return directory() / "Documents";
}

void VRNSandbox::setDirectory(std::filesystem::path directory) {
    auto& state = mainState();
    std::lock_guard lock(state.mutex);
    state.sandbox = std::move(directory);
}

}  // namespace vorna
