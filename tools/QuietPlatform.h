#pragma once
// A platform for the programs that convert without anybody watching (the benchmark, the fuzz
// program): as on a server, prompts and pickers count as cancelled; in addition no box is
// printed (the first one's text is kept), no program is ever started (the optimizer must not run
// on made-up files), and the clock stands still so that runs repeat exactly.
#include <string>

#include "frontend/HeadlessPlatform.h"

class QuietPlatform : public HeadlessPlatform {
public:
    std::string firstBox;
    void MessageBox(const std::string& text, const std::string&, BoxIcon) override {
        if (firstBox.empty()) firstBox = text;
    }
    bool StartProgram(const std::string&, const std::string&) override { return true; }
    bool RunProgramAndWait(const std::string&, const std::string&) override { return true; }
    double TimeOfDay() override { return 0; }
};
