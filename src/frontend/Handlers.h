#pragma once
// The window's event handlers. They work on the plain controls of Form1, so a window toolkit and
// a test reach them the same way: by setting a control or pressing a button.
#include <string>

struct Application;
struct JobRecord;

// Wires every event of the form to its handler.
void WireHandlers(Application& prog);

// The job selected in ll, or nullptr when none is (or the index holds no job).
JobRecord* CurrentJob(Application& prog);
// Copies the selected job into the boxes (click of ll).
void LoadSelectedJob(Application& prog);
// True when every character is a digit; an empty text is not digits only.
bool IsDigitsOnly(const std::string& text);

// Titles and filters of the file pickers.
extern const char* const SourceFilter;
extern const char* const LevelFilter;
