#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/storage/VRNKeyValueStore.h"
#include "theme/VRNColor.h"

namespace vorna {

class VRNAppRepository;

// The three colours the tester draws with, and the index under which the last one chosen is
// remembered (the repository's lastUsedColor): 0 red, 1 black, 2 white.
class VRNAnnotationColors {
public:
    static constexpr int64_t kRedIndex = 0;
    static constexpr int64_t kBlackIndex = 1;
    static constexpr int64_t kWhiteIndex = 2;

    // The platform's plain red, black and white, in index order.
    static const std::vector<VRNColor>& drawingColors();

    // The colour at a stored index. The index is not checked beforehand: one outside the list
    // throws std::out_of_range, which reaches the host, as an array read out of bounds does on
    // the platform the kit comes from.
    static const VRNColor& colorAt(int64_t index);

    // The index the screen starts with: nothing when none was stored (the screen starts red),
    // else the stored value's integer value, whatever it is.
    static std::optional<int64_t> storedIndex(const VRNAppRepository& repository);
    static void storeIndex(VRNAppRepository& repository, int64_t index);

    // A stored value read as an integer, as a number or text answers it: a fraction is cut
    // toward zero, a boolean is 0 or 1, a text gives its leading decimal integer (0 if none).
    // Data has no integer value: std::invalid_argument.
    static int64_t integerValue(const VRNDefaultsValue& value);
};

}  // namespace vorna
