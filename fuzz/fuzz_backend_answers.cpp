// Whatever the backend answers — a token, a branding — reaches the kit's parsers as it is.
#include <cstddef>
#include <cstdint>

#include "api/VRNAPIAuthResponse.h"
#include "theme/VRNAPIBrandingResponse.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const vorna::VRNData bytes(data, data + size);
    (void)vorna::VRNAPIAuthResponse::initWithData(bytes);
    vorna::VRNErrorPtr error;
    (void)vorna::VRNAPIBrandingResponse::initWithData(bytes, &error);
    return 0;
}
