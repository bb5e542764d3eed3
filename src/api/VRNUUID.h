#pragma once

#include <string>

namespace vorna {

// Random (version 4) UUIDs in their canonical upper-case text form:
// "E621E1F8-C36C-495A-93FC-0C247A3E6E5F".
class VRNUUID {
public:
    static std::string UUIDString();
};

}  // namespace vorna
