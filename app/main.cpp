#include <QApplication>
#include <QListWidget>
#include <QProgressBar>
#include <QVBoxLayout>
#include <QWidget>
#include <cstdlib>

#include "frontend/Program.h"

int main(int argc, char** argv) {
    // Without a display the program still runs, on Qt's offscreen platform.
    if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY") && !std::getenv("QT_QPA_PLATFORM"))
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
    QApplication app(argc, argv);
    HeadlessPlatform platform;
    Program prog(platform, QCoreApplication::applicationDirPath().toStdString());
    QWidget window;
    window.setWindowTitle(QString::fromStdString(prog.form.Caption));
    auto* layout = new QVBoxLayout(&window);
    layout->addWidget(new QListWidget);
    layout->addWidget(new QProgressBar);
    window.show();
    return app.exec();
}
