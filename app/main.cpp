#include <QApplication>
#include <QStringList>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "MainWindow.h"
#include "QtPlatform.h"
#include "frontend/Application.h"
#include "frontend/Startup.h"
#include "inspection/LevelCheck.h"

int main(int argc, char** argv) {
    // "convert --check LEVEL": no window, no settings, no log.
    if (argc > 1 && std::strcmp(argv[1], "--check") == 0)
        return RunLevelCheck(argc == 3 ? argv[2] : "", std::cout, std::cerr);
    // Without a display the program still runs, on Qt's offscreen platform.
    if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY")) setenv("QT_QPA_PLATFORM", "offscreen", 1);
    QApplication app(argc, argv);
    QtPlatform platform;
    Application prog(platform, QCoreApplication::applicationDirPath().toStdString());
    prog.front.CommandTail = QCoreApplication::arguments().mid(1).join(' ').toStdString();
    MainWindow window(prog, platform);
    LoadResult load = Form_Load(prog);
    if (load.EndProcess) return load.ExitStatus;
    return app.exec();
}
