#pragma once

#include <functional>
#include <string>

namespace vorna {

// Every line the kit writes goes through one sink. By default it is standard error; a host that
// keeps its own log (or a test that checks exact lines) installs its own function. The sink may
// be called from any of the kit's threads, one line at a time.
using VRNLogSink = std::function<void(const std::string& line)>;

// Replaces the sink; an empty function restores the default (standard error). Returns the sink
// that was installed before.
VRNLogSink VRNSetLogSink(VRNLogSink sink);

// printf-style line, without a trailing newline.
void VRNLog(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace vorna
