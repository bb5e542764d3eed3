#include "state/VRNInfoPlist.h"

#include <cstdlib>
#include <mutex>

#include "state/VRNConstants.h"
#include "vorna/VRNLog.h"

namespace vorna {
namespace {

std::optional<std::string> vornaEntry(const char* key) {
    const auto bundle = VRNBundle::mainBundle();
    if (!bundle->hasDictionary(VornaDictKey)) {
        // Said once per bundle read, not at every lookup: the answer cannot change.
        static std::shared_ptr<VRNBundle> reported;
        static std::mutex mutex;
        std::lock_guard lock(mutex);
        if (reported != bundle) {
            reported = bundle;
            VRNLog(
                "VRNInfoPlist - The host's Info.plist (%s) has no \"%s\" dictionary; client id "
                "and secret are missing",
                bundle->source().c_str(), VornaDictKey);
        }
        return std::nullopt;
    }
    return bundle->stringInDictionary(VornaDictKey, key);
}

// A kit built once can be pointed at another backend (a staging server, a tester's own) by the
// host's environment; an empty value counts as unset. Read at each use, like the rest of the
// configuration, and said once per distinct value so that a log shows where reports went.
std::optional<std::string> environmentApiUrl() {
    const char* value = std::getenv(kVornaApiURLKey);
    if (value == nullptr || *value == '\0') {
        return std::nullopt;
    }
    std::string url = value;
    if (url.back() != '/') {
        // Request paths are appended to the base directly.
        url += '/';
    }
    static std::string reported;
    static std::mutex mutex;
    std::lock_guard lock(mutex);
    if (reported != url) {
        reported = url;
        VRNLog("VRNInfoPlist - The backend URL comes from the environment (%s): %s",
               kVornaApiURLKey, url.c_str());
    }
    return url;
}

}  // namespace

std::optional<std::string> VRNInfoPlist::apiClientID() const {
    return vornaEntry(APIClientID);
}

std::optional<std::string> VRNInfoPlist::apiClientSecret() const {
    return vornaEntry(APIClientSecret);
}

std::optional<std::string> VRNInfoPlist::hostApplicationBundleId() const {
    const auto bundle = VRNBundle::mainBundle();
    auto identifier = bundle->bundleIdentifier();
    if (!identifier || identifier->empty()) {
        static std::shared_ptr<VRNBundle> reported;
        static std::mutex mutex;
        std::lock_guard lock(mutex);
        if (reported != bundle) {
            reported = bundle;
            VRNLog("VRNInfoPlist - The host's Info.plist (%s) has no \"CFBundleIdentifier\": the "
                   "backend cannot register the application nor take its reports, and the kit's "
                   "state folder is named after the executable until one is added",
                   bundle->source().c_str());
        }
    }
    return identifier;
}

std::shared_ptr<VRNBundle> VRNInfoPlist::vornaBundle() const {
    return VRNBundle::vornaBundle();
}

std::optional<std::string> VRNInfoPlist::apiUrl() const {
    if (auto url = environmentApiUrl()) {
        return url;
    }
    return vornaBundle()->stringForKey(kVornaApiURLKey);
}

std::optional<std::string> VRNInfoPlist::helpUrl() const {
    // Optional configuration: a host without it is not told so (the credentials' lookups
    // already say when the dictionary is missing).
    if (auto own = VRNBundle::mainBundle()->stringInDictionary(VornaDictKey, kVornaHelpURLKey);
        own && !own->empty()) {
        return own;
    }
    if (auto base = apiUrl()) {
        return *base + "help";
    }
    return std::nullopt;
}

}  // namespace vorna
