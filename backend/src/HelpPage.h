#pragma once

#include <string>

namespace vorna::backend {

// "How to report better bugs?": the page the kit's compose screen links to ("Read here") unless
// the host names its own.
const std::string& helpPageHtml();

}  // namespace vorna::backend
