#include "api/VRNURLError.h"

namespace vorna {

VRNErrorPtr VRNErrorWithoutDescription(const std::string& domain, int64_t code) {
    return VRNError::make(domain, code,
                          "The operation couldn\u2019t be completed. (" + domain + " error " +
                              std::to_string(code) + ".)");
}

}  // namespace vorna
