#include <vorna/Vorna.h>

#include <QApplication>
#include <QLabel>
#include <QTimer>

#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

namespace {

std::mutex linesMutex;
std::vector<std::string> lines;

size_t linesStartingWith(const char* start) {
    std::lock_guard lock(linesMutex);
    size_t count = 0;
    for (const auto& line : lines) {
        count += line.rfind(start, 0) == 0 ? 1 : 0;
    }
    return count;
}

}  // namespace

// A Qt host built against the installed kit: it links Vorna::vorna_qt and starts the kit, and
// nothing else. The floating button's window appearing proves that the Qt binding came along
// with the static library and installed itself when the application was made.
//
// With --misuse the host does what the kit tolerates with a log line: it starts the kit before
// making its QApplication, and again afterwards. Still one floating button, and one line each.
int main(int argc, char** argv) {
    const bool misuse = argc > 1 && std::strcmp(argv[1], "--misuse") == 0;
    vorna::VRNSetLogSink([](const std::string& line) {
        std::lock_guard lock(linesMutex);
        lines.push_back(line);
    });
    const auto events =
        vorna::VornaInvocationEventFloatingButton | vorna::VornaInvocationEventRightEdgePan;
    if (misuse) {
        vorna::VRNVorna::startWithInvocationEvents(events);
    }
    QApplication app(argc, argv);
    QLabel host(QStringLiteral("host"));
    host.resize(320, 480);
    host.show();
    vorna::VRNVorna::startWithInvocationEvents(events);
    int buttons = 0;
    QTimer::singleShot(misuse ? 1000 : 200, &app, [&] {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (std::strstr(widget->metaObject()->className(), "VRNFloatingButtonWindow") &&
                widget->isVisible()) {
                ++buttons;
            }
        }
        app.quit();
    });
    app.exec();
    bool ok = buttons == 1;
    if (misuse) {
        ok = ok && linesStartingWith("VornaInvocationManager - No window toolkit yet") == 1 &&
             linesStartingWith("VornaInvocationManager - A window toolkit is installed") == 1 &&
             linesStartingWith("VRNVorna - Started again") == 1;
    }
    std::printf("qt consumer %s (%d floating buttons)\n", ok ? "ok" : "failed", buttons);
    if (!ok) {
        std::lock_guard lock(linesMutex);
        for (const auto& line : lines) {
            std::printf("  %s\n", line.c_str());
        }
    }
    // The kit keeps working threads for the life of the process; leave without unwinding them.
    std::fflush(stdout);
    std::_Exit(ok ? 0 : 1);
}
