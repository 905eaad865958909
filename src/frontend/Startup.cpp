#include "frontend/Startup.h"

#include <cmath>
#include <cstdio>

#include "core/Checked.h"
#include "core/Errors.h"
#include "driver/ConvertLevel.h"
#include "frontend/Application.h"
#include "frontend/FolderLock.h"
#include "frontend/Settings.h"
#include "frontend/SystemReason.h"

namespace {
// Opens morv.log and writes its banner. Returns what went wrong, or empty text; on failure the
// log channel stays closed, so that LogLine writes to the list only.
std::string OpenLog(Application& prog) {
    Channels& ch = prog.channels;
    Platform& platform = prog.platform;
    const std::string path = prog.AppPath("morv.log");
    try {
        ch.Open(LogChannel, path, OpenMode::TextOutput);
        ch.WriteLine(LogChannel, "MORV " + std::to_string(VersionMajor) + "." + std::to_string(VersionMinor) + "." +
                                     std::to_string(VersionRevision));
        ch.WriteLine(LogChannel, platform.DateTimeText());
        ch.WriteLine(LogChannel, std::string(40, '='));
        ch.WriteLine(LogChannel, "[" + platform.DateTimeText() + "] Begins log");
    } catch (const RuntimeError& e) {
        ch.Close(LogChannel);
        std::string reason = OpenFailureReason(path);
        return "Cannot open the log file '" + path + "': " + (reason.empty() ? e.Description : reason);
    }
    return "";
}

// A log line's message, without its time.
std::string Message(const std::string& line) {
    size_t at = line.find("] ");
    return at == std::string::npos ? line : line.substr(at + 2);
}
}  // namespace

const char* const NoDisplayMessage =
    "convert: no display for the window (DISPLAY and WAYLAND_DISPLAY are not set, or QT_QPA_PLATFORM "
    "names a platform without a screen). Run a job unattended with 'convert N'.";

bool DisplayNamed(const char* display, const char* waylandDisplay, const char* qpaPlatform) {
    auto set = [](const char* value) { return value && *value; };
    if (!set(display) && !set(waylandDisplay)) return false;
    if (!set(qpaPlatform)) return true;
    // Qt tries a list separated by ';' in order; the first entry decides.
    std::string first(qpaPlatform);
    first = first.substr(0, first.find(';'));
    first = first.substr(0, first.find(':'));  // platform arguments follow a colon
    return first != "offscreen" && first != "minimal";
}

int ConversionExitStatus(const Program& prog) {
    switch (prog.state.Outcome) {
        case ConversionOutcome::Completed: return ExitStatus::Completed;
        case ConversionOutcome::InputRefused: return ExitStatus::InputRefused;
        case ConversionOutcome::OptimizerNotStarted: return ExitStatus::OptimizerNotStarted;
        default: return ExitStatus::ConversionError;
    }
}

double ScanNumber(const std::string& text) {
    size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
    double sign = 1;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
        if (text[i] == '-') sign = -1;
        ++i;
    }
    double value = 0;
    while (i < text.size() && text[i] >= '0' && text[i] <= '9') value = value * 10 + (text[i++] - '0');
    if (i < text.size() && text[i] == '.') {
        double scale = 0.1;
        for (++i; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i, scale /= 10) value += (text[i] - '0') * scale;
    }
    return sign * value;
}

std::optional<int> RunFromCommandLine(Application& prog) {
    const std::string tail = prog.front.CommandTail;
    if (tail.empty()) return std::nullopt;
    double number = ScanNumber(tail);
    // The index is a word, rounded half to even; one that ll doesn't hold ends the run.
    bool fits = std::isfinite(number) && number > -32768.5 && number < 32767.5;
    int index = fits ? static_cast<int>(RoundHalfEven(number)) : -1;
    if (!fits || index < 0 || index >= prog.form.ll.ListCount()) {
        const std::string message = "RunFromCommandLine() -> Error: there is no job '" + tail + "' in the list";
        LogLine(prog, message);
        prog.platform.ErrorOutput(message);
        prog.channels.FlushAll();
        return ExitStatus::NoSuchJob;
    }
    prog.form.ll.SetListIndex(index);

    // Small enough to show the log and the progress bar; the held size goes first, or the resize
    // event would put the old one back.
    prog.front.FormWidth = 6360;
    prog.front.FormHeight = 5685;
    prog.form.SetSize(prog.front.FormWidth, prog.front.FormHeight);

    ConvertLevel(prog, prog.form.Text1.Text(), prog.form.Text2.Text(), prog.form.Text3.Text());
    prog.channels.FlushAll();
    // A refusal's box has gone to standard error already; its logged line or the error line
    // follows it there.
    if (!prog.state.OutcomeLine.empty()) prog.platform.ErrorOutput(Message(prog.state.OutcomeLine));
    // Nobody may read the log: what the new level asks beyond its engine goes there too.
    for (const std::string& note : prog.state.LimitNotes) prog.platform.ErrorOutput(note);
    return ConversionExitStatus(prog);
}

LoadResult Form_Load(Application& prog) {
    Platform& platform = prog.platform;
    Form1& form = prog.form;
    const bool unattended = !prog.front.CommandTail.empty();

    // Before morv.log is replaced: it may be the log of a run that still goes on.
    double waited = 0;
    if (unattended) prog.RunLock = TakeFolderForRun(prog, waited);
    const std::string logProblem = OpenLog(prog);
    if (!logProblem.empty()) platform.ErrorOutput(logProblem);
    if (waited > 0) {
        char seconds[32];
        std::snprintf(seconds, sizeof seconds, "%.1f", waited);
        LogLine(prog, std::string("Note: this run waited ") + seconds +
                          " s for another conversion in the program folder to end.");
    }

    prog.front.FormHeight = form.Height;
    prog.front.FormWidth = form.Width;
    form.Show();
    if (!logProblem.empty() && !unattended)
        platform.MessageBox(logProblem + "\nThe log is kept in the window only.", "", BoxIcon::Exclamation);

    const bool settingsLoaded = LoadSettings(prog);
    if (unattended && (!logProblem.empty() || !settingsLoaded)) {
        platform.ErrorOutput("Job '" + prog.front.CommandTail + "' not run: the program's own files in '" +
                             prog.ProgramFolder + "' can't be opened.");
        return {true, ExitStatus::ProgramFilesUnusable};
    }
    if (std::optional<int> status = RunFromCommandLine(prog)) return {true, *status};

    CenterForm(prog);
    // A folder that is empty or gone leaves the working directory as it was.
    platform.ChangeDirectory(prog.front.TrleFolder.Text());

    // No job is selected yet, so these store nothing.
    form.Combo1.SetListIndex(0);
    form.Combo2.SetListIndex(0);
    if (prog.front.NumJobs != 0) {
        form.ll.SetListIndex(0);
    } else {
        form.Frame1.SetEnabled(false);
        form.Frame2.SetEnabled(false);
        form.Frame3.SetEnabled(false);
        form.Check6.SetEnabled(false);  // stands outside the frames, greyed with them
    }
    return {};
}

void Form_Resize(Application& prog) {
    Form1& form = prog.form;
    if (form.State != WindowState::Normal) return;
    form.SetSize(prog.front.FormWidth, prog.front.FormHeight);
}

void CenterForm(Application& prog) {
    Form1& form = prog.form;
    form.SetPosition((form.ScreenWidth - form.Width) / 2.0, (form.ScreenHeight - form.Height) / 2.0);
}

void Form_Unload(Application& prog) {
    prog.channels.CloseAllQuietly();
    if (!prog.channels.IsOpen(LogChannel)) return;
    prog.channels.WriteLine(LogChannel, "[" + prog.platform.DateTimeText() + "] MORV ends");
    prog.channels.Close(LogChannel);
}
