#pragma once
// The program as the user meets it: the program object of the core, with the front end's own
// tables (the job table, the level editor's folder, the held window size) and every event of the
// window wired to its handler.
#include <memory>
#include <string>

#include "core/Program.h"
#include "frontend/FrontendState.h"

struct Application : Program {
    Application(Platform& platform, std::string programFolder);

    FrontendState front;
    // The program folder, held by an unattended run from its start to its end.
    std::unique_ptr<FileLock> RunLock;
};
