#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace vorna {

// An error value as the kit hands it to completions: a domain, a code and a readable
// description. Errors are returned, never thrown; "no error" is an empty pointer.
struct VRNError {
    std::string domain;
    int64_t code = 0;
    std::string localizedDescription;

    static std::shared_ptr<VRNError> make(std::string domain, int64_t code,
                                          std::string description = {}) {
        return std::make_shared<VRNError>(
            VRNError{std::move(domain), code, std::move(description)});
    }
};

using VRNErrorPtr = std::shared_ptr<VRNError>;

}  // namespace vorna
