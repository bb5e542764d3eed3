// The backend client: what building a request costs on the caller's thread (the multipart body
// of an attachment, the pretty-printed report document), and a whole exchange with the
// reference backend on loopback over the session's kept-alive connections.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

#include "api/VRNAPI.h"
#include "api/VRNMimeTypes.h"
#include "api/VRNMultiPartForm.h"
#include "platform/loop/VRNDispatchQueue.h"
#include "platform/loop/VRNThreadRunLoop.h"
#include "report/VRNAPIReportFile.h"
#include "theme/VRNAPIBrandingResponse.h"
#include "vorna/VRNLog.h"
#ifdef VORNA_BACKEND_BINARY
#include "support/BackendProcess.h"
#endif

namespace {

using namespace vorna;
using Clock = std::chrono::steady_clock;

[[maybe_unused]] void reportLatencies(benchmark::State& state, std::vector<double>& micros) {
    if (micros.empty()) {
        return;
    }
    std::sort(micros.begin(), micros.end());
    state.counters["median_us"] = micros[micros.size() / 2];
    state.counters["p99_us"] = micros[std::min(micros.size() - 1, micros.size() * 99 / 100)];
}

void BM_MultipartRequest(benchmark::State& state) {
    const VRNData file(static_cast<size_t>(state.range(0)), 0xA5);
    for (auto _ : state) {
        auto request = VRNMultiPartForm::requestWithURL("http://127.0.0.1/api/1.0/files", file,
                                                        "attachment.log", {});
        benchmark::DoNotOptimize(request.httpBody.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(BM_MultipartRequest)->Arg(64 << 10)->Arg(1 << 20)->Arg(16 << 20);

// A document of the size a report carries: six histories of 120 samples and a session list.
void BM_ReportBody(benchmark::State& state) {
    nlohmann::json document = {{"title", "Crash on save"}, {"description", "Crash on save"}};
    nlohmann::json blackbox = nlohmann::json::object();
    for (const char* key :
         {"cpu_usage_history", "memory_usage_history", "disk_space_usage_history",
          "battery_usage_history", "network_usage_history", "device_orientation_history"}) {
        nlohmann::json list = nlohmann::json::array();
        for (int i = 0; i < 120; ++i) {
            list.push_back({{"value", "12.345"}, {"time_occurred", "2024-05-01T10:00:00+02:00"}});
        }
        blackbox[key] = std::move(list);
    }
    document["blackbox"] = std::move(blackbox);
    VRNAPI::addScreenshotURL("http://127.0.0.1:8642/files/1/screenshot.jpg", document);
    size_t bytes = 0;
    for (auto _ : state) {
        const VRNData body = VRNAPI::bodyDataFromDictionary(document);
        bytes = body.size();
        benchmark::DoNotOptimize(body.data());
    }
    state.counters["body_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_ReportBody);

void BM_MimeTypeLookup(benchmark::State& state) {
    VRNMimeTypes::shared();  // the one-time read is not what is measured
    for (auto _ : state) {
        benchmark::DoNotOptimize(VRNMultiPartForm::mimeTypeForPath("screenshot.jpg"));
    }
}
BENCHMARK(BM_MimeTypeLookup);

#ifdef VORNA_BACKEND_BINARY

struct LoopbackClient {
    LoopbackClient() {
        VRNSetLogSink([](const std::string&) {});
        api->setAccessToken(backend.accessToken("client", "secret"));
    }
    test::BackendProcess backend{VORNA_BACKEND_BINARY, "client", "secret"};
    std::shared_ptr<VRNThreadRunLoop> loop = std::make_shared<VRNThreadRunLoop>("bench-loop");
    std::unique_ptr<VRNAPI> api = std::make_unique<VRNAPI>(backend.baseUrl(), loop);
};

// One GET answered 404 (no branding set): the round trip of the smallest exchange, from the
// call to the completion on the session's thread.
void BM_LoopbackRoundTrip(benchmark::State& state) {
    LoopbackClient client;
    std::vector<double> micros;
    for (auto _ : state) {
        auto done = std::make_shared<VRNSemaphore>();
        const auto begin = Clock::now();
        client.api->getBrandingOnCompletion([done](auto, VRNErrorPtr) { done->signal(); });
        done->wait();
        micros.push_back(std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
    }
    reportLatencies(state, micros);
}
BENCHMARK(BM_LoopbackRoundTrip)->Unit(benchmark::kMicrosecond);

void BM_LoopbackUpload(benchmark::State& state) {
    LoopbackClient client;
    auto file = std::make_shared<VRNAPIReportFile>(
        "attachment.bin",
        std::make_shared<const VRNData>(static_cast<size_t>(state.range(0)), uint8_t{0x5A}));
    for (auto _ : state) {
        auto done = std::make_shared<VRNSemaphore>();
        client.api->uploadFile(file, [done](auto, VRNErrorPtr) { done->signal(); });
        done->wait();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(BM_LoopbackUpload)->Arg(64 << 10)->Arg(4 << 20)->Unit(benchmark::kMillisecond);

#endif

}  // namespace
