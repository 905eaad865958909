#pragma once
// The program object: everything one run of the program owns. Tests create as many as they
// like, each with its own program folder and platform.
#include <string>

#include "driver/Channels.h"
#include "driver/ConversionState.h"
#include "frontend/Form1.h"
#include "frontend/FrontendState.h"
#include "frontend/Platform.h"

struct Program {
    Program(Platform& platform, std::string programFolder);

    Platform& platform;
    // Folder that holds the program, its settings, its log and the temporary files.
    std::string ProgramFolder;
    Form1 form;
    Channels channels;
    ConversionState state;
    FrontendState front;

    // A file name in the program's folder.
    std::string AppPath(const std::string& name) const;
};

// Appends "[time] message" to the log list and the log file.
void LogLine(Program& prog, const std::string& message);
// Sets the progress bar (0 to 100).
void SetProgress(Program& prog, int16_t value);
