#include "api/VRNURLSession.h"

#include <curl/curl.h>
#include <pthread.h>

#include <array>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <unordered_map>

#include "api/VRNURLError.h"
#include "vorna/VRNLog.h"

namespace vorna {
namespace {

// Owners of libcurl's handles, so that no path leaks one.
struct EasyDeleter {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct MultiDeleter {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};
struct SlistDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using CurlEasy = std::unique_ptr<CURL, EasyDeleter>;
using CurlMulti = std::unique_ptr<CURLM, MultiDeleter>;
using CurlSlist = std::unique_ptr<curl_slist, SlistDeleter>;

void appendLine(CurlSlist& list, const std::string& line) {
    if (curl_slist* head = curl_slist_append(list.get(), line.c_str())) {
        (void)list.release();
        list.reset(head);
    }
}

void initializeCurlOnce() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

int64_t urlErrorCode(CURLcode code) {
    switch (code) {
        case CURLE_UNSUPPORTED_PROTOCOL:
            return NSURLErrorUnsupportedURL;
        case CURLE_URL_MALFORMAT:
            return NSURLErrorBadURL;
        case CURLE_COULDNT_RESOLVE_PROXY:
        case CURLE_COULDNT_RESOLVE_HOST:
            return NSURLErrorCannotFindHost;
        case CURLE_COULDNT_CONNECT:
            return NSURLErrorCannotConnectToHost;
        case CURLE_OPERATION_TIMEDOUT:
            return NSURLErrorTimedOut;
        case CURLE_GOT_NOTHING:
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
        case CURLE_PARTIAL_FILE:
            return NSURLErrorNetworkConnectionLost;
        case CURLE_TOO_MANY_REDIRECTS:
            return NSURLErrorHTTPTooManyRedirects;
        case CURLE_WEIRD_SERVER_REPLY:
        case CURLE_HTTP2:
        case CURLE_HTTP2_STREAM:
        case CURLE_BAD_CONTENT_ENCODING:
            return NSURLErrorBadServerResponse;
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_SSL_ENGINE_NOTFOUND:
        case CURLE_SSL_ENGINE_SETFAILED:
        case CURLE_SSL_CIPHER:
        case CURLE_SSL_SHUTDOWN_FAILED:
            return NSURLErrorSecureConnectionFailed;
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_CACERT_BADFILE:
        case CURLE_SSL_ISSUER_ERROR:
        case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
        case CURLE_SSL_INVALIDCERTSTATUS:
            return NSURLErrorServerCertificateUntrusted;
        case CURLE_SSL_CERTPROBLEM:
            return NSURLErrorClientCertificateRejected;
        case CURLE_ABORTED_BY_CALLBACK:
            return NSURLErrorCancelled;
        default:
            return NSURLErrorUnknown;
    }
}

using Clock = std::chrono::steady_clock;

struct Transfer {
    CurlEasy easy;
    CurlSlist headers;
    VRNURLRequest request;  // owns the body that curl sends from
    VRNData received;
    std::array<char, CURL_ERROR_SIZE> errorText{};
    VRNURLSession::CompletionHandler completion;

    // Idle watch: the bytes moved so far and when that count last changed.
    std::chrono::milliseconds idleLimit{60000};
    curl_off_t bytesMoved = 0;
    Clock::time_point lastActivity = Clock::now();
    bool timedOut = false;
};

// Fails a transfer that has moved no byte for the idle limit. libcurl's own low-speed check
// averages over several seconds, so after a short request it would wait well beyond the limit.
int watchProgress(void* context, curl_off_t, curl_off_t downloaded, curl_off_t,
                  curl_off_t uploaded) {
    auto* transfer = static_cast<Transfer*>(context);
    const auto now = Clock::now();
    if (downloaded + uploaded != transfer->bytesMoved) {
        transfer->bytesMoved = downloaded + uploaded;
        transfer->lastActivity = now;
        return 0;
    }
    if (now - transfer->lastActivity >= transfer->idleLimit) {
        transfer->timedOut = true;
        return 1;
    }
    return 0;
}

size_t receive(char* bytes, size_t size, size_t count, void* context) {
    auto* transfer = static_cast<Transfer*>(context);
    const size_t length = size * count;
    transfer->received.insert(transfer->received.end(), reinterpret_cast<uint8_t*>(bytes),
                              reinterpret_cast<uint8_t*>(bytes) + length);
    return length;
}

}  // namespace

struct VRNURLSession::Impl {
    explicit Impl(VRNURLSessionConfiguration sessionConfiguration)
        : configuration(std::move(sessionConfiguration)) {}

    void run();
    void start(std::unique_ptr<Transfer> transfer);
    bool configure(Transfer& transfer);
    void finishCompleted();
    void complete(std::unique_ptr<Transfer> transfer, VRNURLTaskResult result);
    void cancelAll(std::deque<std::unique_ptr<Transfer>> notStarted);

    const VRNURLSessionConfiguration configuration;
    CurlMulti multi;

    std::mutex mutex;
    std::condition_variable wake;                    // used only when there is no multi handle
    std::deque<std::unique_ptr<Transfer>> incoming;  // guarded by mutex
    bool stopping = false;                           // guarded by mutex

    // Touched only by the session's thread.
    std::unordered_map<CURL*, std::unique_ptr<Transfer>> active;

    std::thread thread;
};

VRNURLSession::VRNURLSession(VRNURLSessionConfiguration configuration)
    : impl_(std::make_unique<Impl>(std::move(configuration))) {
    initializeCurlOnce();
    impl_->multi.reset(curl_multi_init());
    if (impl_->multi) {
        // A modest pool per host, as mobile platforms keep; uploads of one report share it.
        curl_multi_setopt(impl_->multi.get(), CURLMOPT_MAX_HOST_CONNECTIONS, 6L);
    } else {
        VRNLog("VRNURLSession - could not create the transfer handle; requests will fail");
    }
    impl_->thread = std::thread([impl = impl_.get()] { impl->run(); });
}

VRNURLSession::~VRNURLSession() {
    {
        std::lock_guard lock(impl_->mutex);
        impl_->stopping = true;
    }
    impl_->wake.notify_all();
    if (impl_->multi) {
        curl_multi_wakeup(impl_->multi.get());
    }
    impl_->thread.join();
}

void VRNURLSession::dataTask(VRNURLRequest request, CompletionHandler completionHandler) {
    auto transfer = std::make_unique<Transfer>();
    transfer->request = std::move(request);
    transfer->completion = std::move(completionHandler);
    {
        std::lock_guard lock(impl_->mutex);
        impl_->incoming.push_back(std::move(transfer));
    }
    impl_->wake.notify_all();
    if (impl_->multi) {
        curl_multi_wakeup(impl_->multi.get());
    }
}

const VRNURLSessionConfiguration& VRNURLSession::configuration() const {
    return impl_->configuration;
}

bool VRNURLSession::isDelegateQueue() const {
    return std::this_thread::get_id() == impl_->thread.get_id();
}

void VRNURLSession::Impl::run() {
    pthread_setname_np(pthread_self(), "VRNURLSession");
    for (;;) {
        std::deque<std::unique_ptr<Transfer>> starting;
        bool stop = false;
        {
            std::unique_lock lock(mutex);
            if (!multi) {
                // Without a transfer handle every task fails at once; nothing to poll.
                wake.wait(lock, [&] { return stopping || !incoming.empty(); });
            }
            starting.swap(incoming);
            stop = stopping;
        }
        if (stop) {
            // A cancelled task's completion may start another request; it is cancelled too.
            do {
                cancelAll(std::move(starting));
                starting.clear();
                std::lock_guard lock(mutex);
                starting.swap(incoming);
            } while (!starting.empty());
            return;
        }
        for (auto& transfer : starting) {
            start(std::move(transfer));
        }
        if (!multi) {
            continue;
        }
        int running = 0;
        curl_multi_perform(multi.get(), &running);
        finishCompleted();
        // Sleeps until a socket is ready, curl's own timer is due, or dataTask() wakes it; with
        // transfers under way it also wakes often enough for their idle watch.
        curl_multi_poll(multi.get(), nullptr, 0, active.empty() ? 60000 : 200, nullptr);
    }
}

void VRNURLSession::Impl::start(std::unique_ptr<Transfer> transfer) {
    if (!transfer->request.url) {
        complete(std::move(transfer),
                 {std::nullopt, std::nullopt,
                  VRNError::make(NSURLErrorDomain, NSURLErrorUnsupportedURL, "unsupported URL")});
        return;
    }
    transfer->easy.reset(curl_easy_init());
    if (!multi || !transfer->easy || !configure(*transfer)) {
        complete(std::move(transfer), {std::nullopt, std::nullopt,
                                       VRNError::make(NSURLErrorDomain, NSURLErrorUnknown,
                                                      "the request could not be set up")});
        return;
    }
    CURL* easy = transfer->easy.get();
    if (curl_multi_add_handle(multi.get(), easy) != CURLM_OK) {
        complete(std::move(transfer), {std::nullopt, std::nullopt,
                                       VRNError::make(NSURLErrorDomain, NSURLErrorUnknown,
                                                      "the request could not be started")});
        return;
    }
    active.emplace(easy, std::move(transfer));
}

bool VRNURLSession::Impl::configure(Transfer& transfer) {
    CURL* easy = transfer.easy.get();
    const VRNURLRequest& request = transfer.request;

    for (const auto& [field, value] : VRNURLRequest::mergedHeaders(
             configuration.HTTPAdditionalHeaders, request.allHTTPHeaderFields)) {
        appendLine(transfer.headers, field + ": " + value);
    }
    // Bodies go out at once instead of waiting for a "100 Continue" first.
    appendLine(transfer.headers, "Expect:");

    transfer.idleLimit = std::chrono::milliseconds(
        std::max(1L, std::lround(configuration.timeoutIntervalForRequest * 1000)));
    transfer.lastActivity = Clock::now();
    bool ok = true;
    auto set = [&](CURLoption option, auto value) {
        ok = ok && curl_easy_setopt(easy, option, value) == CURLE_OK;
    };
    set(CURLOPT_URL, request.url->c_str());
    set(CURLOPT_ERRORBUFFER, transfer.errorText.data());
    set(CURLOPT_HTTPHEADER, transfer.headers.get());
    set(CURLOPT_WRITEFUNCTION, &receive);
    set(CURLOPT_WRITEDATA, static_cast<void*>(&transfer));
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    set(CURLOPT_FOLLOWLOCATION, 1L);
    set(CURLOPT_MAXREDIRS, 16L);
    set(CURLOPT_SSL_VERIFYPEER, 1L);
    set(CURLOPT_SSL_VERIFYHOST, 2L);
    set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(transfer.idleLimit.count()));
    set(CURLOPT_NOPROGRESS, 0L);
    set(CURLOPT_XFERINFOFUNCTION, &watchProgress);
    set(CURLOPT_XFERINFODATA, static_cast<void*>(&transfer));

    // An empty body must still be a zero-length POST, not "no body given".
    static const char kEmpty[] = "";
    const char* body =
        request.httpBody.empty() ? kEmpty : reinterpret_cast<const char*>(request.httpBody.data());
    const auto bodySize = static_cast<curl_off_t>(request.httpBody.size());
    if (request.httpMethod == "GET") {
        set(CURLOPT_HTTPGET, 1L);
    } else if (request.httpMethod == "POST") {
        set(CURLOPT_POST, 1L);
        set(CURLOPT_POSTFIELDSIZE_LARGE, bodySize);
        set(CURLOPT_POSTFIELDS, body);
    } else {
        set(CURLOPT_CUSTOMREQUEST, request.httpMethod.c_str());
        if (!request.httpBody.empty()) {
            set(CURLOPT_POSTFIELDSIZE_LARGE, bodySize);
            set(CURLOPT_POSTFIELDS, body);
        }
    }
    return ok;
}

void VRNURLSession::Impl::finishCompleted() {
    int remaining = 0;
    while (CURLMsg* message = curl_multi_info_read(multi.get(), &remaining)) {
        if (message->msg != CURLMSG_DONE) {
            continue;
        }
        CURL* easy = message->easy_handle;
        const CURLcode code = message->data.result;
        curl_multi_remove_handle(multi.get(), easy);
        auto found = active.find(easy);
        if (found == active.end()) {
            continue;
        }
        std::unique_ptr<Transfer> transfer = std::move(found->second);
        active.erase(found);

        VRNURLTaskResult result;
        long status = 0;
        if (curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status) == CURLE_OK && status > 0) {
            result.statusCode = status;
        }
        if (code == CURLE_OK) {
            result.data = std::move(transfer->received);
        } else {
            if (transfer->timedOut) {
                result.error =
                    VRNError::make(NSURLErrorDomain, NSURLErrorTimedOut, "The request timed out.");
            } else {
                const std::string text = transfer->errorText[0] != '\0'
                                             ? std::string(transfer->errorText.data())
                                             : std::string(curl_easy_strerror(code));
                result.error = VRNError::make(NSURLErrorDomain, urlErrorCode(code), text);
            }
        }
        complete(std::move(transfer), std::move(result));
    }
}

void VRNURLSession::Impl::complete(std::unique_ptr<Transfer> transfer, VRNURLTaskResult result) {
    // The handle goes before the completion runs, so that a completion that starts the next
    // request finds the connection back in the pool.
    auto completion = std::move(transfer->completion);
    transfer.reset();
    if (completion) {
        completion(std::move(result));
    }
}

void VRNURLSession::Impl::cancelAll(std::deque<std::unique_ptr<Transfer>> notStarted) {
    for (auto& [easy, transfer] : active) {
        curl_multi_remove_handle(multi.get(), easy);
        notStarted.push_back(std::move(transfer));
    }
    active.clear();
    for (auto& transfer : notStarted) {
        complete(std::move(transfer),
                 {std::nullopt, std::nullopt,
                  VRNError::make(NSURLErrorDomain, NSURLErrorCancelled, "cancelled")});
    }
}

}  // namespace vorna
