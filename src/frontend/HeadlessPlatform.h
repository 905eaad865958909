#pragma once
// The platform of runs where nobody can answer a dialog.
#include "core/Platform.h"

// For runs without a screen: a box's text goes to standard error and counts as dismissed, a
// prompt or picker counts as cancelled. Programs are started for real.
class HeadlessPlatform : public Platform {
public:
    void MessageBox(const std::string& text, const std::string& title, BoxIcon icon) override;
    std::optional<std::string> InputBox(const std::string& prompt, const std::string& title,
                                        const std::string& defaultText) override;
    bool AskYesNo(const std::string& text, const std::string& title) override;
    std::optional<std::string> PickFolder(const std::string& title) override;
    std::optional<std::string> OpenFileDialog(const std::string& title, const std::string& filter) override;
    std::optional<std::string> SaveFileDialog(const std::string& title, const std::string& filter) override;
    void Beep() override {}
    void DoEvents() override {}
    bool StartProgram(const std::string& commandLine, const std::string& workingFolder) override;
    bool RunProgramAndWait(const std::string& commandLine, const std::string& workingFolder) override;
    std::string StartProblem(const std::string& commandLine) override;
};
