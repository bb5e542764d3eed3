#pragma once

#include <memory>
#include <string>

#include "platform/storage/VRNKeyedArchive.h"

namespace vorna {

// The common base of the black box's history elements (Record, Battery, Network). Secure
// readers of the histories allow this one class and thereby all three.
class VRNBlackBoxObject : public VRNCoding {
public:
    static bool supportsSecureCoding() { return true; }

    std::string archiveClassName() const override { return "VRNBlackBoxObject"; }
    void encodeWithCoder(VRNCoder& /*coder*/) const override {}

    // Makes the element classes known to the keyed archive with their superclass chain, so that
    // stored histories (and reports holding them) can be read. Idempotent; the black box, the
    // queues and the session reporter call it themselves, and so must any other reader of an
    // archive that holds elements, before its first read.
    static void registerArchiveClasses();
};

using VRNBlackBoxObjectPtr = std::shared_ptr<VRNBlackBoxObject>;

}  // namespace vorna
