// Reports survive the host being killed. A host process (this test program, started again in
// the role of ReportCrashChild.Host) submits reports one after another and is killed with
// SIGKILL at a random moment; after several such runs a last run sends what is left until the
// report store is empty. Every report whose save had returned must then be on the backend;
// reports sent twice are allowed.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "api/VRNAPI.h"
#include "platform/storage/VRNBundle.h"
#include "platform/loop/VRNDispatchQueue.h"
#include "platform/loop/VRNNotificationCenter.h"
#include "platform/loop/VRNThreadRunLoop.h"
#include "state/VRNAppRepository.h"
#include "state/VRNConstants.h"
#include "storage/VRNFileManager.h"
#include "storage/VRNUploader.h"
#include "support/BackendProcess.h"
#include "support/TempDir.h"
#include "vorna/VRNLog.h"
#include "vorna/VornaReportData.h"

extern char** environ;

namespace vorna {
namespace {

constexpr const char* kBundleId = "org.vorna.tests.crash";
constexpr const char* kSavedMark = "SAVED ";

// Appends whole lines with one write each, so what was written before a SIGKILL stays.
class LineFile {
public:
    explicit LineFile(const std::filesystem::path& path)
        : fd_(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644)) {}
    void write(const std::string& line) const {
        const std::string text = line + "\n";
        [[maybe_unused]] const ssize_t n = ::write(fd_, text.data(), text.size());
    }

private:
    int fd_;
};

// The report store as the host sees it, noting each report whose save has returned: from then
// on the report is the kit's to deliver.
class JournalledStore : public VRNFileManagerProtocol {
public:
    JournalledStore(std::shared_ptr<VRNFileManager> inner, const LineFile& journal)
        : inner_(std::move(inner)), journal_(journal) {}
    std::optional<std::string> saveDataForReportData(
        std::shared_ptr<VRNVornaReportData> reportData) override {
        auto id = inner_->saveDataForReportData(reportData);
        if (id) {
            const auto& text =
                std::get<std::string>(reportData->gatheredDataDict()->at(kVRNUserInput));
            journal_.write(kSavedMark + text);
        }
        return id;
    }
    std::shared_ptr<VRNVornaReportData> loadReportDataForIdentifier(
        const std::string& id) override {
        return inner_->loadReportDataForIdentifier(id);
    }
    void deleteReportDataForIdentifier(const std::string& id) override {
        inner_->deleteReportDataForIdentifier(id);
    }
    std::vector<std::string> savedReports() override { return inner_->savedReports(); }
    void deleteAllLocalReportData() override { inner_->deleteAllLocalReportData(); }

private:
    std::shared_ptr<VRNFileManager> inner_;
    const LineFile& journal_;
};

std::string env(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

// --- the host, in its own process ---------------------------------------------------------

TEST(ReportCrashChild, Host) {
    const std::string dirText = env("VORNA_CRASH_DIR");
    if (dirText.empty()) {
        GTEST_SKIP() << "runs only as the host of ReportCrash";
    }
    const std::filesystem::path dir = dirText;
    const std::string run = env("VORNA_CRASH_RUN");
    const bool drain = env("VORNA_CRASH_MODE") == "drain";
    static LineFile journal(dir / ("run-" + run + ".log"));
    VRNSetLogSink([](const std::string& line) { journal.write(line); });

    VRNBundle::setMainBundle(
        std::make_shared<VRNBundle>(nlohmann::json{{"CFBundleIdentifier", kBundleId}}));
    auto loop = std::make_shared<VRNThreadRunLoop>("crash-main");
    auto api = std::make_shared<VRNAPI>(env("VORNA_CRASH_URL"), loop);
    auto token = std::make_shared<VRNSemaphore>(0);
    api->authenticateWith("crash-client", "crash-secret", [token](auto, auto) { token->signal(); });
    if (!token->waitFor(std::chrono::seconds(30))) {
        journal.write("HOST no token");
        std::_Exit(3);
    }
    auto repository = std::make_shared<VRNAppRepository>(
        std::make_shared<VRNKeyValueStore>(dir / "defaults.sqlite"));
    repository->setClientAuthorized(true);
    auto files = std::make_shared<VRNFileManager>(dir / "Documents");
    auto store = std::make_shared<JournalledStore>(files, journal);
    VRNNotificationCenter center;
    VRNUploader::Dependencies deps;
    deps.runLoop = loop;
    deps.notificationCenter = &center;
    deps.appRepository = repository;
    auto uploader = VRNUploader::initWithFileManager(store, api, deps);

    if (drain) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
        while (!files->savedReports().empty()) {
            if (std::chrono::steady_clock::now() > deadline) {
                std::_Exit(4);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        journal.write("HOST drained");
        std::_Exit(0);
    }

    std::mt19937 random(static_cast<unsigned>(std::stoul(env("VORNA_CRASH_SEED"))));
    for (int k = 0;; ++k) {
        auto data = std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{});
        data->setGatheredDataDict(
            VRNGatheredDataDict{{kVRNUserInput, "run " + run + " report " + std::to_string(k)},
                                {kVRNUsedDiskSpace, 1.5},
                                {kVRNBatteryStatus, std::string("1")}});
        VRNVornaFile::Bytes screenshot(std::uniform_int_distribution<size_t>(1000, 400000)(random));
        for (auto& byte : screenshot) {
            byte = static_cast<uint8_t>(random());
        }
        data->setScreenshotFile(
            std::make_shared<VRNVornaFile>(std::string("screenshot.jpg"), std::move(screenshot)));
        if (k % 3 == 0) {
            data->setAttachedFiles(VRNVornaReportData::Files{std::make_shared<VRNVornaFile>(
                std::string("host.log"), VRNVornaFile::Bytes(20000, 'x'))});
        }
        uploader->uploadData(data);
        std::this_thread::sleep_for(
            std::chrono::milliseconds(std::uniform_int_distribution<int>(0, 60)(random)));
    }
}

// --- the test that kills it -----------------------------------------------------------------

pid_t spawnHost(const std::filesystem::path& dir, const std::string& url, int run,
                const std::string& mode, unsigned seed) {
    std::vector<std::string> envText;
    for (char** e = environ; *e != nullptr; ++e) {
        envText.emplace_back(*e);
    }
    envText.push_back("VORNA_CRASH_DIR=" + dir.string());
    envText.push_back("VORNA_CRASH_URL=" + url);
    envText.push_back("VORNA_CRASH_RUN=" + std::to_string(run));
    envText.push_back("VORNA_CRASH_MODE=" + mode);
    envText.push_back("VORNA_CRASH_SEED=" + std::to_string(seed));
    std::vector<char*> envp;
    for (auto& text : envText) {
        envp.push_back(text.data());
    }
    envp.push_back(nullptr);
    std::string exe = std::filesystem::read_symlink("/proc/self/exe").string();
    std::string filter = "--gtest_filter=ReportCrashChild.Host";
    char* argv[] = {exe.data(), filter.data(), nullptr};

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const std::string out = (dir / ("run-" + std::to_string(run) + ".out")).string();
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);
    pid_t pid = -1;
    const int rc = posix_spawn(&pid, exe.c_str(), &actions, nullptr, argv, envp.data());
    posix_spawn_file_actions_destroy(&actions);
    return rc == 0 ? pid : -1;
}

// Exit status, or -1 when the host was still running at the deadline (it is killed then).
int waitForHost(pid_t pid, std::chrono::seconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (;;) {
        int status = 0;
        if (::waitpid(pid, &status, WNOHANG) == pid) {
            return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
        if (std::chrono::steady_clock::now() > deadline) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, &status, 0);
            return -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

bool waitForFirstSave(const std::filesystem::path& log, std::chrono::seconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (std::chrono::steady_clock::now() < deadline) {
        std::ifstream in(log);
        for (std::string line; std::getline(in, line);) {
            if (line.rfind(kSavedMark, 0) == 0) {
                return true;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}

TEST(ReportCrash, ReportsSavedBeforeAKillAllReachTheBackend) {
    test::BackendProcess backend(VORNA_BACKEND_BINARY, "crash-client", "crash-secret");
    test::TempDir dir;
    const unsigned seed = std::random_device()();
    std::mt19937 random(seed);
    RecordProperty("seed", std::to_string(seed));

    // Slow answers widen the windows in which a kill lands mid-upload; a few dropped posts make
    // rounds fail and leave their reports for the next run.
    backend.injectFault("api/1.0/files", 100000, test::BackendFault::withDelay(15));
    test::BackendFault slowDrop = test::BackendFault::dropped();
    slowDrop.delayMs = 30;
    backend.injectFault(std::string("api/1.0/issue_tracking/apps/") + kBundleId, 2, slowDrop);
    backend.injectFault(std::string("api/1.0/issue_tracking/apps/") + kBundleId, 100000,
                        test::BackendFault::withDelay(25));

    constexpr int kRuns = 8;
    for (int run = 0; run < kRuns; ++run) {
        const pid_t host = spawnHost(dir.path(), backend.baseUrl(), run, "submit", random());
        ASSERT_GT(host, 0);
        // The kill lands a random while after the host's first saved report, however long a
        // slow (sanitized) host takes to get going.
        ASSERT_TRUE(waitForFirstSave(dir.path() / ("run-" + std::to_string(run) + ".log"),
                                     std::chrono::seconds(60)))
            << "run " << run << " saved nothing";
        std::this_thread::sleep_for(
            std::chrono::milliseconds(std::uniform_int_distribution<int>(100, 1500)(random)));
        ::kill(host, SIGKILL);
        int status = 0;
        ::waitpid(host, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status)) << "run " << run << " ended before it was killed";
    }
    backend.clearFaults();
    const pid_t last = spawnHost(dir.path(), backend.baseUrl(), kRuns, "drain", random());
    ASSERT_GT(last, 0);
    ASSERT_EQ(waitForHost(last, std::chrono::seconds(150)), 0) << "the store was not emptied";

    std::set<std::string> saved;
    size_t handedOver = 0;
    for (int run = 0; run <= kRuns; ++run) {
        // A sanitizer's finding in a host that was then killed shows only in its output.
        std::ifstream out(dir / ("run-" + std::to_string(run) + ".out"));
        for (std::string line; std::getline(out, line);) {
            EXPECT_EQ(line.find("Sanitizer"), std::string::npos) << "run " << run << ": " << line;
            EXPECT_EQ(line.find("runtime error"), std::string::npos)
                << "run " << run << ": " << line;
        }
        std::ifstream log(dir / ("run-" + std::to_string(run) + ".log"));
        for (std::string line; std::getline(log, line);) {
            if (line.rfind(kSavedMark, 0) == 0) {
                saved.insert(line.substr(std::string(kSavedMark).size()));
            } else if (line == "VRNUploader: Got request to upload data") {
                ++handedOver;
            }
        }
    }
    std::map<std::string, int> delivered;
    size_t received = 0;
    for (const auto& report : backend.reports()) {
        ++delivered[report.at("description").get<std::string>()];
        ++received;
    }
    std::vector<std::string> lost;
    for (const auto& text : saved) {
        if (!delivered.contains(text)) {
            lost.push_back(text);
        }
    }
    size_t partial = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(dir / "Documents" / VornaSavedDirectory)) {
        EXPECT_FALSE(entry.path().filename().string().ends_with(VornaFileExtension))
            << entry.path();
        ++partial;
    }
    std::printf(
        "[ measure  ] crash runs %d (seed %u): %zu reports handed to the uploader, %zu saved, "
        "%zu on the backend (%zu distinct, %zu duplicates), %zu lost, %zu unfinished partial "
        "files left\n",
        kRuns, seed, handedOver, saved.size(), received, delivered.size(),
        received - delivered.size(), lost.size(), partial);
    EXPECT_GE(saved.size(), static_cast<size_t>(kRuns)) << "the runs saved too little to judge";
    EXPECT_TRUE(lost.empty()) << "lost, e.g. " << (lost.empty() ? "" : lost.front());
}

}  // namespace
}  // namespace vorna
