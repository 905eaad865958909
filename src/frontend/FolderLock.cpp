#include "frontend/FolderLock.h"

#include <chrono>

#include "core/Errors.h"
#include "frontend/Application.h"

std::unique_ptr<FileLock> TakeFolderForRun(Application& prog, double& waitedSeconds) {
    waitedSeconds = 0;
    FileSystem& files = prog.channels.Files();
    const std::string path = prog.AppPath(FolderLockName);
    try {
        if (std::unique_ptr<FileLock> lock = files.Lock(path, false)) return lock;
        prog.platform.ErrorOutput("Note: another conversion is running in the program folder '" + prog.ProgramFolder +
                                  "'; this run waits for it to end.");
        const auto start = std::chrono::steady_clock::now();
        std::unique_ptr<FileLock> lock = files.Lock(path, true);
        waitedSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        return lock;
    } catch (const RuntimeError&) {
        return nullptr;
    }
}

bool TakeFolderForBuild(Application& prog, std::unique_ptr<FileLock>& lock) {
    try {
        lock = prog.channels.Files().Lock(prog.AppPath(FolderLockName), false);
        if (lock) return true;
    } catch (const RuntimeError&) {
        return true;  // nobody else can make one either
    }
    prog.platform.MessageBox("Another conversion is running in the program folder '" + prog.ProgramFolder +
                                 "'. Build again when it has ended.",
                             "", BoxIcon::Exclamation);
    LogLine(prog, "Note: the build was not started: another conversion is running in the program folder '" +
                      prog.ProgramFolder + "'.");
    return false;
}
