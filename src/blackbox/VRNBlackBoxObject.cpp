#include "blackbox/VRNBlackBoxObject.h"

#include <mutex>

#include "blackbox/Battery.h"
#include "blackbox/Network.h"
#include "blackbox/Record.h"

namespace vorna {

void VRNBlackBoxObject::registerArchiveClasses() {
    static std::once_flag once;
    std::call_once(once, [] {
        VRNArchiveClassRegistry::registerClass("VRNBlackBoxObject", "NSObject",
                                               [](const VRNDecoder&) -> VRNCodingPtr {
                                                   return std::make_shared<VRNBlackBoxObject>();
                                               });
        VRNArchiveClassRegistry::registerClass(
            "Record", "VRNBlackBoxObject",
            [](const VRNDecoder& coder) -> VRNCodingPtr { return Record::initWithCoder(coder); });
        VRNArchiveClassRegistry::registerClass(
            "Battery", "VRNBlackBoxObject",
            [](const VRNDecoder& coder) -> VRNCodingPtr { return Battery::initWithCoder(coder); });
        VRNArchiveClassRegistry::registerClass(
            "Network", "VRNBlackBoxObject",
            [](const VRNDecoder& coder) -> VRNCodingPtr { return Network::initWithCoder(coder); });
    });
}

}  // namespace vorna
