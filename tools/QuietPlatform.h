#pragma once
// A platform for the programs that convert without anybody watching (the benchmark, the fuzz
// program): no box is shown, the first one's text is kept, prompts and pickers count as
// cancelled, and no program is ever started (the optimizer must not run on made-up files). The
// clock stands still so that runs repeat exactly.
#include <optional>
#include <string>

#include "frontend/Platform.h"

class QuietPlatform : public Platform {
public:
    std::string firstBox;
    void MessageBox(const std::string& text, const std::string&, BoxIcon) override {
        if (firstBox.empty()) firstBox = text;
    }
    std::optional<std::string> InputBox(const std::string&, const std::string&, const std::string&) override {
        return std::nullopt;
    }
    std::optional<std::string> PickFolder(const std::string&) override { return std::nullopt; }
    std::optional<std::string> OpenFileDialog(const std::string&, const std::string&) override { return std::nullopt; }
    std::optional<std::string> SaveFileDialog(const std::string&, const std::string&) override { return std::nullopt; }
    void Beep() override {}
    void DoEvents() override {}
    bool StartProgram(const std::string&, const std::string&) override { return true; }
    bool RunProgramAndWait(const std::string&, const std::string&) override { return true; }
    double TimeOfDay() override { return 0; }
};
