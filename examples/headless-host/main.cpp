// A host without a UI toolkit: a daemon, a game server, a command-line tool. It starts the kit
// once and goes on with its own work; the kit authorizes against its backend in the background
// and keeps retrying with a doubling delay when it cannot. The kit's log shows the start-up.
//
//   vorna-headless-host [--info-plist PATH] [--seconds N]
#include <vorna/Vorna.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <thread>

int main(int argc, char** argv) {
    int seconds = 3;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--info-plist") == 0 && i + 1 < argc) {
            vorna::VRNVorna::setInfoPlistPath(argv[++i]);
        } else if (std::strcmp(argv[i], "--seconds") == 0 && i + 1 < argc) {
            seconds = std::atoi(argv[++i]);
        } else {
            std::fprintf(stderr, "usage: %s [--info-plist PATH] [--seconds N]\n", argv[0]);
            return 2;
        }
    }
    const auto begin = std::chrono::steady_clock::now();
    vorna::VRNSetLogSink([begin](const std::string& line) {
        const double t =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        std::fprintf(stderr, "[%7.3f] %s\n", t, line.c_str());
    });
    vorna::VRNVorna::start();
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    std::fprintf(stderr, "vorna-headless-host: done after %d s\n", seconds);
    return 0;
}
