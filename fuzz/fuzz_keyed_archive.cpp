// Report files and black box histories are keyed archives read back from disk, where anything
// may have been written.
#include <cstddef>
#include <cstdint>

#include "platform/VRNKeyedArchive.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const vorna::VRNData bytes(data, data + size);
    vorna::VRNErrorPtr error;
    vorna::VRNKeyedUnarchiver::unarchivedObjectOfClasses(
        {"NSDictionary", "NSArray", "NSString", "NSData"}, bytes, &error);
    if (auto value = vorna::VRNKeyedUnarchiver::unarchiveObjectWithData(bytes, &error)) {
        // What was read must archive again.
        (void)vorna::VRNKeyedArchiver::archivedDataWithRootObject(*value);
    }
    return 0;
}
