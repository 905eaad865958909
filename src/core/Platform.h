#pragma once
// What the program needs of the operating system and the window toolkit, beyond plain files.
// The Qt window implements it in app/; tests use a scripted implementation; the front end's
// HeadlessPlatform serves runs where nobody can answer a dialog.
#include <optional>
#include <string>

class FileSystem;

enum class BoxIcon { None, Critical, Exclamation, Information, Question };

class Platform {
public:
    virtual ~Platform() = default;

    virtual void MessageBox(const std::string& text, const std::string& title, BoxIcon icon) = 0;
    // Text prompt with a default answer; nullopt when cancelled.
    virtual std::optional<std::string> InputBox(const std::string& prompt, const std::string& title,
                                                const std::string& defaultText) = 0;
    // A question with the answers yes and no; true for yes. Where nobody can answer, no.
    virtual bool AskYesNo(const std::string& text, const std::string& title) {
        (void)text, (void)title;
        return false;
    }
    // Folder picker; nullopt when cancelled.
    virtual std::optional<std::string> PickFolder(const std::string& title) = 0;
    // File dialogs with title and filter ("Text|*.txt|All|*.*"); nullopt when cancelled.
    virtual std::optional<std::string> OpenFileDialog(const std::string& title, const std::string& filter) = 0;
    virtual std::optional<std::string> SaveFileDialog(const std::string& title, const std::string& filter) = 0;
    virtual void Beep() = 0;
    // One turn of the message loop.
    virtual void DoEvents() = 0;
    // Repaints the log list at once, without running the message loop.
    virtual void RepaintLog() {}
    // Starts a program from a command line without waiting. Returns false when it cannot start.
    virtual bool StartProgram(const std::string& commandLine, const std::string& workingFolder) = 0;
    // Starts a program and waits for it to end. Returns false when it cannot start.
    virtual bool RunProgramAndWait(const std::string& commandLine, const std::string& workingFolder) = 0;
    // Why the program of a command line can't be started, in plain words that name it; empty
    // when the platform can't tell.
    virtual std::string StartProblem(const std::string& commandLine) {
        (void)commandLine;
        return "";
    }

    // The file system that every file of the program goes through: the disk, unless a platform
    // gives another.
    virtual FileSystem& Files();

    // Writes one line to standard error: what a run reports where nobody may see the window.
    virtual void ErrorOutput(const std::string& line);

    // Makes a folder the working directory. Returns false when it can't.
    virtual bool ChangeDirectory(const std::string& folder);
    // The current date and time as text in the system's general format.
    virtual std::string DateTimeText();

    // Clock: seconds since midnight, local time.
    virtual double TimeOfDay();
    // The time of day as text in the system's long time format.
    virtual std::string TimeText(double secondsOfDay);
};
