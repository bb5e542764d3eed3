// A Qt Widgets host of the kit. Creating the QApplication binds the kit to Qt; the host then
// shows its window and starts the kit with every way of opening a report.
//
//   vorna-qt-host                      run it
//   vorna-qt-host --capture shot.png   save a picture of the whole screen after two seconds
//                                      and quit (the README's picture is made so, under Xvfb)
//   vorna-qt-host --language de        the kit's screens in German (default: the system's
//                                      language, when the host has the kit's texts in it)

#include <QApplication>
#include <QCommandLineParser>
#include <QGuiApplication>
#include <QLocale>
#include <QScreen>
#include <QTimer>
#include <QTranslator>

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
    const QCommandLineOption language(QStringLiteral("language"),
                                      QStringLiteral("Show the kit's texts in <language> (de)."),
                                      QStringLiteral("language"));
    options.addOption(language);
    options.process(app);

    // The kit's texts are the host's to translate: every one of them is looked up under the
    // context "Vorna" among the application's translators, and shows in English otherwise.
    QTranslator kitTexts;
    const QLocale locale = options.isSet(language) ? QLocale(options.value(language)) : QLocale();
    if (kitTexts.load(locale, QStringLiteral("vorna"), QStringLiteral("_"),
                      QStringLiteral(":/translations"))) {
        app.installTranslator(&kitTexts);
    }

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
