#pragma once
// The build button, the batch script and the external programs they lean on.
#include <string>

struct Application;

// Separator of the folders in a path on this system.
#ifdef _WIN32
constexpr char PathSeparator = '\\';
#else
constexpr char PathSeparator = '/';
#endif

// Build level: a source ending in TR4 is converted at once; anything else is compiled by
// tom2pc.exe in the level editor's folder first, and the level it made is converted.
void BuildLevel(Application& prog);
// Build BAT: writes a script into the level editor's folder that replays the selected job.
void BuildBat(Application& prog);
// The text before the last folder separator ("" without one).
std::string ParentFolder(const std::string& path);
// Starts a program from a command line in a folder, waiting for it to end or not. A program that
// cannot be started is a run-time error (53) that names it.
void StartExternalProgram(Application& prog, const std::string& commandLine, const std::string& workingFolder,
                          bool wait);
