// A Qt Widgets host of the kit. Creating the QApplication binds the kit to Qt; the host then
// shows its window and starts the kit with every way of opening a report.
//
//   vorna-qt-host                      run it
//   vorna-qt-host --capture shot.png   save a picture of the whole screen after two seconds
//                                      and quit (the README's picture is made so, under Xvfb)

#include <QApplication>
#include <QCommandLineParser>
#include <QGuiApplication>
#include <QScreen>
#include <QTimer>

#include <vorna/Vorna.h>

#include "OrderDesk.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    app.setApplicationName(QStringLiteral("Order Desk"));

    QCommandLineParser options;
    options.addHelpOption();
    const QCommandLineOption capture(QStringLiteral("capture"),
                                     QStringLiteral("Save the screen to <png> and quit."),
                                     QStringLiteral("png"));
    options.addOption(capture);
    options.process(app);

    // The desk fills the screen, as an application does on a phone: the kit's round button
    // floats over it.
    OrderDesk desk;
    if (QScreen* screen = QGuiApplication::primaryScreen()) {
        desk.setGeometry(screen->availableGeometry());
    }
    desk.show();

    vorna::VRNVorna::startWithInvocationEvents(
        vorna::VornaInvocationEventMotion | vorna::VornaInvocationEventFloatingButton |
        vorna::VornaInvocationEventScreenshot | vorna::VornaInvocationEventRightEdgePan);

    if (options.isSet(capture)) {
        const QString path = options.value(capture);
        QTimer::singleShot(2000, &app, [path] {
            QScreen* screen = QGuiApplication::primaryScreen();
            const bool saved = screen && screen->grabWindow(0).save(path);
            QCoreApplication::exit(saved ? 0 : 1);
        });
    }
    return app.exec();
}
