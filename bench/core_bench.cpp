// Start-up cost on the host's thread, and the cost of one defaults write beside a raw SQLite
// write of the same bytes with the same journal settings.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <vector>

#include "connectivity/VRNConnection.h"
#include "core/VRNDefaultCollaborators.h"
#include "core/VRNStarter.h"
#include "platform/storage/VRNBundle.h"
#include "platform/storage/VRNKeyValueStore.h"
#include "platform/loop/VRNThreadRunLoop.h"
#include "state/VRNAppRepository.h"
#include "support/TempDir.h"
#include "core/VRNVornaInstance.h"

namespace {

using namespace vorna;
using Clock = std::chrono::steady_clock;

void reportLatencies(benchmark::State& state, std::vector<double>& micros) {
    if (micros.empty()) {
        return;
    }
    std::sort(micros.begin(), micros.end());
    state.counters["median_us"] = micros[micros.size() / 2];
    state.counters["p99_us"] = micros[std::min(micros.size() - 1, micros.size() * 99 / 100)];
}

// The start-up sequence as the host's main thread runs it: invocation set-up, starter,
// observers, the authorization request handed to the backend client, the black box and the
// session history. Nothing here may wait for the network or the disk beyond the kit's own state.
void BM_VRNVornaStartOnCallingThread(benchmark::State& state) {
    VRNSetLogSink([](const std::string&) {});
    test::TempDir dir;
    VRNSandbox::setDirectory(dir.path());
    VRNBundle::setMainBundle(std::make_shared<VRNBundle>(nlohmann::json{
        {"CFBundleIdentifier", "org.vorna.bench"},
        {"Vorna", {{"APIClientID", "demo-client"}, {"APIClientSecret", "demo-secret"}}}}));
    auto loop = std::make_shared<VRNThreadRunLoop>("bench-loop");
    auto store = std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite");
    VRNNotificationCenter center;
    std::vector<double> micros;
    for (auto _ : state) {
        state.PauseTiming();
        VRNVornaInstance::Dependencies deps;
        deps.api = VRNMakeDefaultAPI();
        deps.appRepository = std::make_shared<VRNAppRepository>(store);
        deps.connection = std::make_shared<VRNConnection>(VRNMakeLinuxReachability(), loop, center);
        deps.runLoop = loop;
        deps.notificationCenter = &center;
        auto vorna = std::make_shared<VRNVornaInstance>(std::move(deps));
        state.ResumeTiming();
        const auto begin = Clock::now();
        loop->runSync([&] { vorna->performStart(VornaInvocationEventMotion); });
        micros.push_back(std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
        state.PauseTiming();
        vorna.reset();
        state.ResumeTiming();
    }
    reportLatencies(state, micros);
    VRNSandbox::setDirectory({});
    VRNBundle::setMainBundle(nullptr);
}
BENCHMARK(BM_VRNVornaStartOnCallingThread)->Iterations(200)->Unit(benchmark::kMicrosecond);

// The class method a host calls: it hands the work to the kit's loop and returns.
void BM_VRNVornaClassStartReturns(benchmark::State& state) {
    VRNSetLogSink([](const std::string&) {});
    auto loop = std::make_shared<VRNThreadRunLoop>("bench-loop");
    for (auto _ : state) {
        loop->post([] {});
    }
}
BENCHMARK(BM_VRNVornaClassStartReturns)->Unit(benchmark::kNanosecond);

constexpr size_t kPayload = 12 * 1024;

void BM_KeyValueStoreWrite12KB(benchmark::State& state) {
    test::TempDir dir;
    VRNKeyValueStore store(dir / "defaults.sqlite");
    const VRNData payload(kPayload, 0x5a);
    std::vector<double> micros;
    size_t i = 0;
    for (auto _ : state) {
        const auto begin = Clock::now();
        store.setValue("key-" + std::to_string(i++ % 64), payload);
        micros.push_back(std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kPayload));
    reportLatencies(state, micros);
}
BENCHMARK(BM_KeyValueStoreWrite12KB)->Iterations(5000)->Unit(benchmark::kMicrosecond);

// The floor: the same upsert of the same bytes straight into SQLite, WAL journal,
// synchronous=NORMAL, one prepared statement.
void BM_RawSqliteWalWrite12KB(benchmark::State& state) {
    test::TempDir dir;
    sqlite3* db = nullptr;
    sqlite3_open((dir / "raw.sqlite").c_str(), &db);
    sqlite3_exec(
        db,
        "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;"
        "CREATE TABLE kv(key TEXT PRIMARY KEY NOT NULL, kind INTEGER, value) WITHOUT ROWID;",
        nullptr, nullptr, nullptr);
    sqlite3_stmt* upsert = nullptr;
    sqlite3_prepare_v2(db,
                       "INSERT INTO kv(key, kind, value) VALUES(?1, 4, ?2) ON CONFLICT(key) DO "
                       "UPDATE SET kind=excluded.kind, value=excluded.value",
                       -1, &upsert, nullptr);
    const std::vector<uint8_t> payload(kPayload, 0x5a);
    std::vector<double> micros;
    size_t i = 0;
    for (auto _ : state) {
        const auto begin = Clock::now();
        const std::string key = "key-" + std::to_string(i++ % 64);
        sqlite3_bind_text(upsert, 1, key.data(), static_cast<int>(key.size()), SQLITE_STATIC);
        sqlite3_bind_blob(upsert, 2, payload.data(), static_cast<int>(payload.size()),
                          SQLITE_STATIC);
        sqlite3_step(upsert);
        sqlite3_reset(upsert);
        micros.push_back(std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
    }
    sqlite3_finalize(upsert);
    sqlite3_close(db);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kPayload));
    reportLatencies(state, micros);
}
BENCHMARK(BM_RawSqliteWalWrite12KB)->Iterations(5000)->Unit(benchmark::kMicrosecond);

}  // namespace
