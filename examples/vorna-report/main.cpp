// A host without a screen that sends one report and waits until the backend has it:
//
//   vorna-report [--info-plist PATH] [--description TEXT] [--attach FILE]... [--delay SECONDS]
//                [--timeout SECONDS]
//
// It starts the kit, waits --delay seconds (so that the black box has a history to send), sends
// an auto-report (with the white placeholder screenshot, as reports without screens carry) and
// the files given, and waits for delivery: it exits 0 once the backend has accepted every saved
// report, or 1 after the time-out or when the backend archived the application.
#include <vorna/Vorna.h>
#include <vorna/VornaReportData.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

void usage(const char* program) {
    std::fprintf(stderr,
                 "usage: %s [--info-plist PATH] [--description TEXT] [--attach FILE]... "
                 "[--delay SECONDS] [--timeout SECONDS]\n",
                 program);
}

}  // namespace

int main(int argc, char** argv) {
    std::string description = "Sent by vorna-report";
    std::vector<std::shared_ptr<vorna::VRNVornaFile>> attachments;
    double timeout = 60;
    double delaySeconds = 0;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--info-plist" && i + 1 < argc) {
            vorna::VRNVorna::setInfoPlistPath(argv[++i]);
        } else if (arg == "--description" && i + 1 < argc) {
            description = argv[++i];
        } else if (arg == "--attach" && i + 1 < argc) {
            const char* path = argv[++i];
            auto file = vorna::VRNVornaFile::initWithFileURL(path);
            if (!file) {
                std::fprintf(stderr, "vorna-report: cannot read the attachment %s\n", path);
                return 2;
            }
            attachments.push_back(std::move(file));
        } else if (arg == "--delay" && i + 1 < argc) {
            delaySeconds = std::atof(argv[++i]);
        } else if (arg == "--timeout" && i + 1 < argc) {
            timeout = std::atof(argv[++i]);
        } else {
            usage(argv[0]);
            return 2;
        }
    }

    const auto begin = std::chrono::steady_clock::now();
    vorna::VRNSetLogSink([begin](const std::string& line) {
        const double t =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        std::fprintf(stderr, "[%7.3f] %s\n", t, line.c_str());
    });
    std::atomic<int> dropped{0};
    const auto observation = vorna::VRNVorna::observeDelivery([&](const vorna::VRNDelivery& d) {
        const bool accepted = d.outcome == vorna::VRNDeliveryOutcome::Accepted;
        std::fprintf(stderr, "vorna-report: report %s %s\n",
                     d.reportId.empty() ? "(unsaved)" : d.reportId.c_str(),
                     accepted ? "accepted by the backend" : "dropped: the application is archived");
        if (!accepted) {
            ++dropped;
        }
    });

    vorna::VRNVorna::sharedInstance()->setOnPrepareData(
        [attachments](std::shared_ptr<vorna::VRNVornaReportData> data) {
            data->setQuickFacts("Sent from the command line by vorna-report");
            data->setAttachedFiles(attachments);
            return data;
        });
    vorna::VRNVorna::start();
    std::this_thread::sleep_for(std::chrono::duration<double>(delaySeconds));
    vorna::VRNVorna::autoReportWithDescription(description);

    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::duration<double>(timeout) - (std::chrono::steady_clock::now() - begin));
    if (!vorna::VRNVorna::waitForDelivery(left)) {
        std::fprintf(stderr, "vorna-report: %s\n",
                     dropped > 0 ? "the backend has archived this application; the report was dropped"
                                 : "the backend did not accept the report before the time-out (is "
                                   "it running, are the credentials right?); it stays saved and "
                                   "goes out at the next start");
        return 1;
    }
    std::printf("vorna-report: the backend accepted the report\n");
    return 0;
}
