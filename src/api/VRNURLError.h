#pragma once

#include <cstdint>
#include <string>

#include "platform/VRNError.h"

namespace vorna {

// Transport failures keep the platform's URL error domain and codes, so callers (and hosts that
// log them) tell a refused connection from a time-out the usual way.
inline constexpr const char* NSURLErrorDomain = "NSURLErrorDomain";

inline constexpr int64_t NSURLErrorUnknown = -1;
inline constexpr int64_t NSURLErrorCancelled = -999;
inline constexpr int64_t NSURLErrorBadURL = -1000;
inline constexpr int64_t NSURLErrorTimedOut = -1001;
inline constexpr int64_t NSURLErrorUnsupportedURL = -1002;
inline constexpr int64_t NSURLErrorCannotFindHost = -1003;
inline constexpr int64_t NSURLErrorCannotConnectToHost = -1004;
inline constexpr int64_t NSURLErrorNetworkConnectionLost = -1005;
inline constexpr int64_t NSURLErrorHTTPTooManyRedirects = -1007;
inline constexpr int64_t NSURLErrorResourceUnavailable = -1008;
inline constexpr int64_t NSURLErrorNotConnectedToInternet = -1009;
inline constexpr int64_t NSURLErrorBadServerResponse = -1011;
inline constexpr int64_t NSURLErrorSecureConnectionFailed = -1200;
inline constexpr int64_t NSURLErrorServerCertificateUntrusted = -1202;
inline constexpr int64_t NSURLErrorClientCertificateRejected = -1205;

// An error that carries no description of its own reads the way the platform words it:
// "The operation couldn’t be completed. (<domain> error <code>.)".
VRNErrorPtr VRNErrorWithoutDescription(const std::string& domain, int64_t code);

}  // namespace vorna
