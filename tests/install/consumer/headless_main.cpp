// A headless host built from the installed package, public headers only, against a real
// backend: it starts while the backend is not yet up, goes to the background while the
// authorization retry is pending (the retry is cancelled), comes back once the backend is up
// (it authorizes again), sends three reports and waits for them.
//
//   vorna_headless_host INFO_PLIST BACKEND_UP_FILE
#include <vorna/Vorna.h>
#include <vorna/VornaReportData.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <set>
#include <string>
#include <thread>

namespace {

// Never destroyed: the kit's threads may still log while the process exits.
std::mutex& mutex = *new std::mutex;
std::set<std::string>& lines = *new std::set<std::string>;

bool waitForLine(const std::string& line, std::chrono::seconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline) {
        {
            std::lock_guard lock(mutex);
            if (lines.count(line) != 0) {
                return true;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    std::fprintf(stderr, "headless host: no \"%s\"\n", line.c_str());
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s INFO_PLIST BACKEND_UP_FILE\n", argv[0]);
        return 2;
    }
    vorna::VRNSetLogSink([](const std::string& line) {
        std::fprintf(stderr, "%s\n", line.c_str());
        std::lock_guard lock(mutex);
        lines.insert(line);
    });
    std::atomic<int> accepted{0};
    std::atomic<int> dropped{0};
    const auto observation = vorna::VRNVorna::observeDelivery([&](const vorna::VRNDelivery& d) {
        ++(d.outcome == vorna::VRNDeliveryOutcome::Accepted ? accepted : dropped);
    });
    vorna::VRNVorna::setInfoPlistPath(argv[1]);
    vorna::VRNVorna::setGrantedPermissions({{vorna::kVRNCameraPermission,
                                             vorna::kVRNAccessPermissionGranted}});
    vorna::VRNVorna::start();
    if (!waitForLine("VRNVorna - Will retry authorization after 10", std::chrono::seconds(20))) {
        return 1;
    }
    vorna::VRNVorna::hostDidEnterBackground();
    if (!waitForLine("VRNVorna - Entering background, cancel reauthorization actions",
                     std::chrono::seconds(20))) {
        return 1;
    }
    while (!std::filesystem::exists(argv[2])) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    vorna::VRNVorna::hostWillEnterForeground();
    if (!waitForLine("VRNVorna - Starting reauth after entering foreground",
                     std::chrono::seconds(20)) ||
        !waitForLine("Authentication succeeded", std::chrono::seconds(20))) {
        return 1;
    }
    vorna::VRNVorna::sharedInstance()->setOnPrepareData([](auto data) {
        data->setQuickFacts("installed headless host");
        return data;
    });
    for (const char* text : {"first", "second", "third"}) {
        vorna::VRNVorna::autoReportWithDescription(std::string(text));
    }
    const auto begin = std::chrono::steady_clock::now();
    const bool delivered = vorna::VRNVorna::waitForDelivery(std::chrono::seconds(30));
    const double waited =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    std::printf("headless host %s: %d accepted, %d dropped, waited %.3f s\n",
                delivered && accepted == 3 && dropped == 0 ? "ok" : "failed", accepted.load(),
                dropped.load(), waited);
    return delivered ? 0 : 1;
}
