#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>

#include "vorna/VRNLog.h"

namespace {

QtMessageHandler previousHandler = nullptr;

// The offscreen platform says so each time the floating button's window is shaped or raised;
// nothing the tests look at depends on it.
void quietOffscreenNotices(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (text.startsWith(QLatin1String("This plugin does not support"))) {
        return;
    }
    if (previousHandler) {
        previousHandler(type, context, text);
    } else {
        std::fprintf(stderr, "%s\n", qPrintable(text));
    }
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // Every test runs headless, and none touches the tester's own folders: the kit's state
    // and the pictures folder it watches for screenshots live in a folder of the run's own.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QTemporaryDir home;
    const QString pictures = home.filePath(QStringLiteral("Pictures"));
    QDir().mkpath(pictures + QStringLiteral("/Screenshots"));
    QDir().mkpath(home.filePath(QStringLiteral("config")));
    QFile dirs(home.filePath(QStringLiteral("config/user-dirs.dirs")));
    if (dirs.open(QIODevice::WriteOnly)) {
        dirs.write(QStringLiteral("XDG_PICTURES_DIR=\"%1\"\n").arg(pictures).toUtf8());
        dirs.close();
    }
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
    qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toUtf8());

    previousHandler = qInstallMessageHandler(quietOffscreenNotices);
    QApplication app(argc, argv);
    // The kit's lines stay out of the test output unless a test captures them.
    vorna::VRNSetLogSink([](const std::string&) {});
    return RUN_ALL_TESTS();
}
