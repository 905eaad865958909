#pragma once
// The job table and the level editor's folder in settings.dat beside the program.
#include <string>

struct Application;

// Reads settings.dat into the job table and the list ll. A missing or empty file asks for the
// level editor's folder and starts an empty table. A file that can't be read (a wrong signature,
// or shorter than its count says) is first copied aside as settings.dat.unreadable (-2, -3, ...
// beside an earlier copy), and a box and a log line say so; a short file with the right
// signature gives the jobs it holds whole. A folder that is missing or empty is asked for in an
// interactive start. Run-time errors are shown in a message box, with the file's path and the
// system's reason, and end the load with whatever was read; the result is then false.
bool LoadSettings(Application& prog);
// Writes the whole job table and folder over settings.dat (not cut short first). A file that
// can't be written is named in a box and a log line that say the jobs were not saved; the
// result is then false.
bool SaveSettings(Application& prog);
// Appends a zero-filled job with the given name to the table and to ll. Returns false, with a
// message box and nothing added, when the table is full.
bool AddJob(Application& prog, const std::string& name);

// Asks for the level editor's folder ("Select TRLE folder:"); a chosen one is assigned (a path
// too long for the field is refused with a box), a cancelled picker changes nothing. Returns
// whether a folder was assigned. Nothing is saved.
bool AskForTrleFolder(Application& prog);
// A text as a job's text field keeps it: at most 256 characters, trailing blanks removed.
std::string AsStored(const std::string& text);
// What a box says of a path too long for a job's text field.
std::string TooLongMessage(const std::string& text);

// Path of the settings file.
std::string SettingsPath(const Application& prog);
