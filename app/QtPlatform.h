#pragma once
// The platform layer on Qt: message boxes, prompts and file dialogs over the main window, the
// beep, one turn of the event loop, and the start of other programs. On the offscreen platform
// (no display) and in an unattended run nobody answers a dialog, so those fall back to the
// headless behaviour: the text goes to standard error and the dialog counts as dismissed or
// cancelled.
#include <QObject>
#include <QPointer>
#include <QWidget>
#include <memory>

#include "frontend/HeadlessPlatform.h"

class QtPlatform : public Platform {
public:
    // answerOffscreen: show dialogs even on the offscreen platform (tests answer them by code).
    explicit QtPlatform(bool answerOffscreen = false);
    ~QtPlatform() override;

    // An unattended run (a job on the command line): boxes go to standard error, the window
    // gets its paint events with each log line, and closing it waits for the end of the run.
    void SetUnattendedRun(bool on);
    void SetWindow(QWidget* window);
    // Widgets that RepaintLog paints at once.
    void SetLogWidgets(QWidget* log, QWidget* progress) {
        log_ = log;
        progress_ = progress;
    }
    // True where dialogs can't be answered.
    bool Unattended() const;

    void MessageBox(const std::string& text, const std::string& title, BoxIcon icon) override;
    std::optional<std::string> InputBox(const std::string& prompt, const std::string& title,
                                        const std::string& defaultText) override;
    bool AskYesNo(const std::string& text, const std::string& title) override;
    std::optional<std::string> PickFolder(const std::string& title) override;
    std::optional<std::string> OpenFileDialog(const std::string& title, const std::string& filter) override;
    std::optional<std::string> SaveFileDialog(const std::string& title, const std::string& filter) override;
    void Beep() override;
    void DoEvents() override;
    void RepaintLog() override;
    bool StartProgram(const std::string& commandLine, const std::string& workingFolder) override;
    bool RunProgramAndWait(const std::string& commandLine, const std::string& workingFolder) override;
    std::string StartProblem(const std::string& commandLine) override;

private:
    void GuardWindow();

    bool answerOffscreen_;
    bool unattendedRun_ = false;
    HeadlessPlatform headless_;
    QPointer<QWidget> window_, log_, progress_;
    std::unique_ptr<QObject> closeGuard_;
};

// A filter of labels and patterns separated by bars ("Text (*.txt)|*.txt|...") in Qt's form
// ("Text (*.txt);;...").
QString QtFileFilter(const std::string& filter);
