// The host's Info.plist is the kit's configuration; a broken one must cost a log line, never
// the host.
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/storage/VRNBundle.h"
#include "vorna/VRNLog.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool quiet = [] {
        vorna::VRNSetLogSink([](const std::string&) {});
        return true;
    }();
    (void)quiet;
    auto bundle = vorna::VRNBundle::fromInfoPlistData(
        std::string(reinterpret_cast<const char*>(data), size), "fuzz input");
    (void)bundle->bundleIdentifier();
    (void)bundle->stringInDictionary("Vorna", "APIClientID");
    return 0;
}
