#include <QApplication>
#include <QStringList>
#include <cstdlib>

#include "MainWindow.h"
#include "QtPlatform.h"
#include "frontend/Application.h"
#include "frontend/Startup.h"

int main(int argc, char** argv) {
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
