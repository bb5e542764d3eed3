#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorna::backend {

// The form body of a token request, read for the three parameters the token endpoint knows;
// every other parameter is passed over without being copied, so a body of any shape costs no
// memory beyond its own bytes.
//
// Values are kept as they were sent: the kit puts its client id and secret into the form
// without encoding them, so decoding is left to the comparison (see spellings()).
struct TokenForm {
    // A token request carries three parameters, a few more with a scope or an extension; a
    // form of more fields than this is not a token request.
    static constexpr std::size_t kMaxFields = 64;

    enum class Problem {
        None,
        TooManyFields,
        Repeated,  // a known parameter sent twice with a value: which one is meant is unclear
    };

    static TokenForm read(std::string_view body);

    // The ways a value may have been meant: as it stands, and form-decoded with '+' as a space
    // or as a plus sign. A value without '%' or '+' has only the first.
    static std::vector<std::string> spellings(std::string_view sent);

    // Absent when not sent or sent without a value; a parameter without a value counts as
    // one that was left out.
    std::optional<std::string> grantType;
    std::optional<std::string> clientId;
    std::optional<std::string> clientSecret;

    Problem problem = Problem::None;
    std::string repeatedName;  // with Problem::Repeated
};

}  // namespace vorna::backend
