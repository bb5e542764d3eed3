// Saving a report with a 10 MB attachment in the report store (archive, write, fsync, rename,
// fsync of the folder) beside the floor: writing the same bytes to a file and syncing it.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include "blackbox/Record.h"
#include "report/VRNAPIReport.h"
#include "state/VRNConstants.h"
#include "storage/VRNFileManager.h"
#include "support/TempDir.h"
#include "vorna/VRNLog.h"
#include "vorna/VornaReportData.h"

namespace {

using namespace vorna;
constexpr size_t kAttachment = 10u << 20;

void BM_FileManagerSave10MB(benchmark::State& state) {
    VRNSetLogSink([](const std::string&) {});
    test::TempDir dir;
    VRNFileManager store(dir.path());
    auto data = std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{});
    data->setGatheredDataDict(VRNGatheredDataDict{{kVRNUserInput, std::string("bench")}});
    data->setAttachedFiles(VRNVornaReportData::Files{std::make_shared<VRNVornaFile>(
        std::string("core.bin"), VRNVornaFile::Bytes(kAttachment, 0x42))});
    for (auto _ : state) {
        auto id = store.saveDataForReportData(data);
        state.PauseTiming();
        store.deleteReportDataForIdentifier(*id);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kAttachment));
}
BENCHMARK(BM_FileManagerSave10MB)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_RawWriteFsync10MB(benchmark::State& state) {
    test::TempDir dir;
    const std::vector<uint8_t> bytes(kAttachment, 0x42);
    const auto path = dir / "raw.bin";
    for (auto _ : state) {
        const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        size_t written = 0;
        while (written < bytes.size()) {
            written +=
                static_cast<size_t>(::write(fd, bytes.data() + written, bytes.size() - written));
        }
        ::fsync(fd);
        ::close(fd);
        state.PauseTiming();
        ::unlink(path.c_str());
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kAttachment));
}
BENCHMARK(BM_RawWriteFsync10MB)->Unit(benchmark::kMillisecond)->UseRealTime();

// Building the document of a report whose black box is full (120 + 120 + 120 + 30 + 30 + 30
// samples), as the upload operation does before every send.
void BM_ReportDocumentFullBlackBox(benchmark::State& state) {
    auto history = [](int count) {
        std::vector<std::shared_ptr<VRNBlackBoxObject>> records;
        for (int i = 0; i < count; ++i) {
            records.push_back(std::make_shared<Record>("12.345", "2024-03-05T14:07:09+01:00"));
        }
        return records;
    };
    auto dict = VRNVornaReportData::setupDefaultData();
    dict[kVRNCpuHistory] = history(120);
    dict[kVRNMemoryHistory] = history(120);
    dict[kVRNStorageHistory] = history(120);
    dict[kVRNOrientationHistory] = history(30);
    dict[kVRNSessionStateHistory] = history(15);
    auto data = std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{});
    data->setGatheredDataDict(std::move(dict));
    for (auto _ : state) {
        VRNAPIReport report(*data);
        benchmark::DoNotOptimize(report.dictValues());
    }
}
BENCHMARK(BM_ReportDocumentFullBlackBox)->Unit(benchmark::kMicrosecond);

}  // namespace
