#include "report/VRNAPIReport.h"

namespace vorna {

nlohmann::json VRNAPIReport::dictValues() const {
    return document_;
}

void VRNAPIReport::setDocument(nlohmann::json document) {
    document_ = std::move(document);
}

}  // namespace vorna
