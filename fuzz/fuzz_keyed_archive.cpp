// Report files and black box histories are keyed archives read back from disk, where anything
// may have been written.
#include <cstddef>
#include <cstdint>

#include "platform/storage/VRNKeyedArchive.h"
#include "report/VRNReportArchiving.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // The kit's own classes (reports, files, black box records) are known, so their decoders
    // are reached as they are when a saved report or a history is read.
    static const bool registered = [] {
        vorna::VRNReportArchiving::registerArchiveClasses();
        return true;
    }();
    (void)registered;
    const vorna::VRNData bytes(data, data + size);
    vorna::VRNErrorPtr error;
    (void)vorna::VRNReportArchiving::unarchive(bytes, &error);
    vorna::VRNKeyedUnarchiver::unarchivedObjectOfClasses(
        {"NSDictionary", "NSArray", "NSString", "NSData"}, bytes, &error);
    if (auto value = vorna::VRNKeyedUnarchiver::unarchiveObjectWithData(bytes, &error)) {
        // What was read must archive again.
        (void)vorna::VRNKeyedArchiver::archivedDataWithRootObject(*value);
    }
    return 0;
}
