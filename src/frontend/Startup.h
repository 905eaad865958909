#pragma once
// Start and end of a run: the form's load, the unattended run from the command line, the fixed
// window size and the unload.
#include <optional>
#include <string>

struct Application;
struct Program;

// Version of this build, shown in the first line of the log.
constexpr int VersionMajor = 1, VersionMinor = 0, VersionRevision = 6;

// Exit statuses of the process, so that a build script can stop on a job that failed.
namespace ExitStatus {
constexpr int Completed = 0;             // the job's conversion completed, or the window was closed
constexpr int NoSuchJob = 1;             // the list holds no job of that number
constexpr int InputRefused = 2;          // the conversion refused the source or the base
constexpr int ConversionError = 3;       // the conversion ended in a run-time error
constexpr int ProgramFilesUnusable = 4;  // morv.log or settings.dat can't be opened
constexpr int NoWindow = 5;              // the window is needed and can't be shown
constexpr int OptimizerNotStarted = 6;   // the new level is complete, but toptimizer.exe didn't start
}  // namespace ExitStatus

// What the load asks of the caller: nothing (the window stays), or to end the process at once
// with an exit status.
struct LoadResult {
    bool EndProcess = false;
    int ExitStatus = 0;
};

// Load event of the form: opens the log, shows the window, loads the settings, and either runs
// the job named on the command line (and asks to end) or prepares the window for the user. An
// unattended run first takes the program folder, waiting while another run holds it.
// A log that can't be opened is reported once (standard error, and a box in an interactive run)
// and the log is kept in the list only. An unattended run whose log or settings can't be opened
// ends without converting, with ExitStatus::ProgramFilesUnusable.
LoadResult Form_Load(Application& prog);
// Runs the job named by the command tail. Returns nullopt when the tail is empty; otherwise the
// run is over and the process should end with the returned status. A missing job, a refusal or
// a run-time error also puts its log line on standard error.
std::optional<int> RunFromCommandLine(Application& prog);
// The status that tells how the last conversion ended.
int ConversionExitStatus(const Program& prog);
// Holds the window to its size while it is neither minimised nor maximised.
void Form_Resize(Application& prog);
void CenterForm(Application& prog);
// Unload event of the form: closes the files and writes the closing line of the log.
void Form_Unload(Application& prog);

// Whether the environment names a display for the window: DISPLAY or WAYLAND_DISPLAY is set and
// not empty, and QT_QPA_PLATFORM (null when unset) doesn't ask first for a platform without a
// screen (offscreen, minimal). Arguments are the variables' values.
bool DisplayNamed(const char* display, const char* waylandDisplay, const char* qpaPlatform);
// What an interactive start says where no window can be shown.
extern const char* const NoDisplayMessage;

// Text to number: leading blanks skipped, an optional sign, digits with an optional fraction as
// far as they go; 0 for text without a number.
double ScanNumber(const std::string& text);
