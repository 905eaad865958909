#pragma once
// Start and end of a run: the form's load, the unattended run from the command line, the fixed
// window size and the unload.
#include <optional>
#include <string>

struct Application;

// Version of this build, shown in the first line of the log.
constexpr int VersionMajor = 1, VersionMinor = 0, VersionRevision = 6;

// What the load asks of the caller: nothing (the window stays), or to end the process at once
// with an exit status.
struct LoadResult {
    bool EndProcess = false;
    int ExitStatus = 0;
};

// Load event of the form: opens the log, shows the window, loads the settings, and either runs
// the job named on the command line (and asks to end) or prepares the window for the user.
LoadResult Form_Load(Application& prog);
// Runs the job named by the command tail. Returns nullopt when the tail is empty; otherwise the
// run is over and the process should end with the returned status.
std::optional<int> RunFromCommandLine(Application& prog);
// Holds the window to its size while it is neither minimised nor maximised.
void Form_Resize(Application& prog);
void CenterForm(Application& prog);
// Unload event of the form: closes the files and writes the closing line of the log.
void Form_Unload(Application& prog);

// Text to number: leading blanks skipped, an optional sign, digits with an optional fraction as
// far as they go; 0 for text without a number.
double ScanNumber(const std::string& text);
