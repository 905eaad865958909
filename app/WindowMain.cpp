// Entry of the window module: the program with its Qt window. The core is not linked in here;
// the `convert` executable that loads this module provides it.
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QApplication>
#include <QStringList>
#include <cstdlib>
#include <string>
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

// Without XDG_RUNTIME_DIR the toolkit picks a folder of its own in the temporary folder and warns
// on standard error that it did. The program names that same folder, made private to the user
// as the toolkit wants it, so that a run prints nothing it didn't mean to. A folder that isn't
// the user's own, or not private, is left to the toolkit to report.
void NameRuntimeFolder() {
    if (!qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR")) return;
    const char* temp = std::getenv("TMPDIR");
    std::string folder = temp && *temp ? temp : "/tmp";
    while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
    const passwd* user = ::getpwuid(::getuid());
    folder += "/runtime-" + (user && user->pw_name ? std::string(user->pw_name) : std::to_string(::getuid()));
    ::mkdir(folder.c_str(), 0700);
    struct stat st {};
    if (::lstat(folder.c_str(), &st) != 0 || !S_ISDIR(st.st_mode) || st.st_uid != ::getuid() ||
        (st.st_mode & 0777) != 0700)
        return;
    qputenv("XDG_RUNTIME_DIR", QByteArray::fromStdString(folder));
}

int RunWindow(int argc, char** argv, const char* programFolder) {
    AddScreenlessFallback();
    NameRuntimeFolder();
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
