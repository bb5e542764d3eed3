#include <vorna/Vorna.h>

#include <QApplication>
#include <QLabel>
#include <QTimer>

#include <cstdio>
#include <cstring>

// A Qt host built against the installed kit: it links Vorna::vorna_qt and starts the kit, and
// nothing else. The floating button's window appearing proves that the Qt binding came along
// with the static library and installed itself when the application was made.
int main(int argc, char** argv) {
    vorna::VRNSetLogSink([](const std::string&) {});
    QApplication app(argc, argv);
    QLabel host(QStringLiteral("host"));
    host.resize(320, 480);
    host.show();
    vorna::VRNVorna::startWithInvocationEvents(vorna::VornaInvocationEventFloatingButton);
    bool found = false;
    QTimer::singleShot(200, &app, [&] {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (std::strstr(widget->metaObject()->className(), "VRNFloatingButtonWindow")) {
                found = widget->isVisible();
            }
        }
        app.quit();
    });
    app.exec();
    std::printf("qt consumer %s\n", found ? "ok" : "found no floating button");
    // The kit keeps working threads for the life of the process; leave without unwinding them.
    std::fflush(stdout);
    std::_Exit(found ? 0 : 1);
}
