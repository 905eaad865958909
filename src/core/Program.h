#pragma once
// The program object: what every stage of a conversion stands on. The platform, the program's
// folder, the window's controls as plain objects, the file channels and the one conversion
// state. The front end builds its Application on it; tests and tools create as many as they
// like, each with its own program folder and platform.
#include <string>

#include "core/Channels.h"
#include "core/ConversionState.h"
#include "core/Form1.h"
#include "core/Platform.h"

struct Program {
    Program(Platform& platform, std::string programFolder);
    // Removes the working files that the program made outside its own folder.
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    Platform& platform;
    // Folder that holds the program, its settings, its log and the temporary files.
    std::string ProgramFolder;
    Form1 form;
    Channels channels{platform.Files()};
    ConversionState state;

    // A file name in the program's folder.
    std::string AppPath(const std::string& name) const;
};

// Appends "[time] message" to the log list and the log file.
void LogLine(Program& prog, const std::string& message);
// Sets the progress bar (0 to 100).
void SetProgress(Program& prog, int16_t value);
