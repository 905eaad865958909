// Entry of the window module: the program with its Qt window. The core is not linked in here;
// the `convert` executable that loads this module provides it.
#include <QApplication>
#include <QStringList>
#include <cstdlib>
#include <exception>
#include <iostream>

#include "MainWindow.h"
#include "QtPlatform.h"
#include "WindowModule.h"
#include "frontend/Application.h"
#include "frontend/Startup.h"

namespace {
bool Screenless(const QString& platform) { return platform == "offscreen" || platform == "minimal"; }

// Qt ends the process when no platform of its list can start, as with a display that can't be
// reached; the offscreen platform at the end of the list lets the program say so instead.
void AddScreenlessFallback() {
    QByteArray platforms = qgetenv("QT_QPA_PLATFORM");
    if (platforms.isEmpty()) {
        if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) platforms += "wayland;";
        if (!qEnvironmentVariableIsEmpty("DISPLAY")) platforms += "xcb;";
    } else {
        platforms += ";";
    }
    platforms += "offscreen";
    qputenv("QT_QPA_PLATFORM", platforms);
}

int RunWindow(int argc, char** argv, const char* programFolder) {
    AddScreenlessFallback();
    QApplication app(argc, argv);
    const std::string tail = QCoreApplication::arguments().mid(1).join(' ').toStdString();
    if (Screenless(QGuiApplication::platformName()) && tail.empty()) {
        std::cerr << "convert: the display can't be reached, so the window can't be shown. Run a job "
                     "unattended with 'convert N'."
                  << std::endl;
        return ExitStatus::NoWindow;
    }
    QtPlatform platform;
    platform.SetUnattendedRun(!tail.empty());
    Application prog(platform, programFolder);
    prog.front.CommandTail = tail;
    MainWindow window(prog, platform);
    LoadResult load = Form_Load(prog);
    if (load.EndProcess) return load.ExitStatus;
    return app.exec();
}
}  // namespace

extern "C" int ConvertWindowMain(int argc, char** argv, const char* programFolder) {
    try {
        return RunWindow(argc, argv, programFolder);
    } catch (const std::exception& e) {
        std::cerr << "convert: " << e.what() << std::endl;
    }
    return ExitStatus::ConversionError;
}
