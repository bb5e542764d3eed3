// A host without a screen that sends one report and waits until the backend has it:
//
//   vorna-report [--info-plist PATH] [--description TEXT] [--attach FILE]... [--delay SECONDS]
//                [--timeout SECONDS]
//
// It starts the kit, waits for the kit to be authorized (and --delay seconds more, so that the
// black box has a history to send), sends an auto-report (with the white
// placeholder screenshot, as reports without screens carry) and the files given, and exits 0
// once the upload round has ended with every saved report accepted — or 1 after the time-out,
// saying what it was still waiting for.
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

std::atomic<bool> authorized{false};
std::atomic<bool> accepted{false};
std::atomic<bool> archived{false};

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
        if (line == "Authentication succeeded") {
            authorized = true;
        } else if (line == "VRNUploader: All upload operations completed succesfully") {
            accepted = true;
        } else if (line == "VRNVorna: Application is archived." ||
                   line.rfind("VRNUploader: Upload failed, application archived", 0) == 0) {
            archived = true;
        }
    });

    vorna::VRNVorna::sharedInstance()->setOnPrepareData(
        [attachments](std::shared_ptr<vorna::VRNVornaReportData> data) {
            data->setQuickFacts("Sent from the command line by vorna-report");
            data->setAttachedFiles(attachments);
            return data;
        });
    vorna::VRNVorna::start();

    auto deadline = begin + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                std::chrono::duration<double>(timeout));
    auto waitFor = [&](const std::atomic<bool>& flag) {
        while (!flag && !archived && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return flag.load();
    };
    if (!waitFor(authorized)) {
        std::fprintf(stderr, "vorna-report: %s\n",
                     archived ? "the backend has archived this application; nothing was sent"
                              : "the kit was not authorized before the time-out; the report was "
                                "not sent (is the backend running, are the credentials right?)");
        return 1;
    }
    std::this_thread::sleep_for(std::chrono::duration<double>(delaySeconds));
    vorna::VRNVorna::autoReportWithDescription(description);
    if (!waitFor(accepted)) {
        std::fprintf(stderr, "vorna-report: %s\n",
                     archived ? "the backend has archived this application; the report was dropped"
                              : "the backend did not accept the report before the time-out; it "
                                "stays saved and goes out at the next start");
        return 1;
    }
    std::printf("vorna-report: the backend accepted the report\n");
    return 0;
}
