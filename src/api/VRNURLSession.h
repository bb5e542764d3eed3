#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "api/VRNURLRequest.h"
#include "platform/VRNError.h"

namespace vorna {

struct VRNURLSessionConfiguration {
    // Sent with every request unless the request sets the same field itself.
    VRNHTTPHeaders HTTPAdditionalHeaders;
    // Seconds a transfer may stand still (nothing sent, nothing received, or no connection yet)
    // before it fails with a time-out. Not a limit on the whole transfer: a large upload that
    // keeps moving is never cut.
    double timeoutIntervalForRequest = 60;

    static VRNURLSessionConfiguration defaultSessionConfiguration() { return {}; }
};

// What a finished task hands its completion.
struct VRNURLTaskResult {
    // The response body when the exchange completed (empty, not absent, for an empty body).
    std::optional<VRNData> data;
    // The HTTP status when one was received, even if the transfer failed afterwards.
    std::optional<long> statusCode;
    // A transport failure, in the URL error domain, with the transport's own wording.
    VRNErrorPtr error;
};

// One HTTP session: a connection pool shared by every request (keep-alive), TLS certificates
// verified, redirects followed. All transfers are driven by the session's one thread, which is
// also its delegate queue: every completion runs there, one after another, so a completion
// must not wait for another request of the same session. A request that finds its pooled
// connection closed before any answer came is sent once more on a fresh connection, since a
// server may close an idle connection just as it is reused.
//
// Destroying the session cancels what is still running; those tasks complete with
// NSURLErrorCancelled on the delegate queue before the destructor returns.
class VRNURLSession {
public:
    using CompletionHandler = std::function<void(VRNURLTaskResult result)>;

    explicit VRNURLSession(VRNURLSessionConfiguration configuration =
                               VRNURLSessionConfiguration::defaultSessionConfiguration());
    ~VRNURLSession();
    VRNURLSession(const VRNURLSession&) = delete;
    VRNURLSession& operator=(const VRNURLSession&) = delete;

    // Starts the request at once; never blocks the caller.
    void dataTask(VRNURLRequest request, CompletionHandler completionHandler);

    const VRNURLSessionConfiguration& configuration() const;
    // True on the thread that runs the completions.
    bool isDelegateQueue() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace vorna
