#pragma once
// The job table and the level editor's folder in settings.dat beside the program.
#include <string>

struct Application;

// Reads settings.dat into the job table and the list ll. A missing file or one with a wrong
// signature asks for the level editor's folder and starts an empty table. Run-time errors are
// shown in a message box, with the file's path and the system's reason, and end the load with
// whatever was read; the result is then false.
bool LoadSettings(Application& prog);
// Writes the whole job table and folder over settings.dat (not cut short first).
void SaveSettings(Application& prog);
// Appends a zero-filled job with the given name to the table and to ll. Returns false, with a
// message box and nothing added, when the table is full.
bool AddJob(Application& prog, const std::string& name);

// Path of the settings file.
std::string SettingsPath(const Application& prog);
