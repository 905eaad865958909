#pragma once
// A program in a fresh folder with a recording platform, and its log read back without time stamps.
#include <algorithm>
#include <string>
#include <vector>

#include "core/Errors.h"
#include "core/Program.h"
#include "support/ScriptedPlatform.h"
#include "support/TestFolder.h"

template <class P = ScriptedPlatform, bool OpenLog = true, class Prog = Program>
struct BasicFixture {
    TestFolder dir;
    P platform;
    Prog prog{platform, dir.str()};
    BasicFixture() {
        if (OpenLog) prog.channels.Open(LogChannel, dir / "morv.log", OpenMode::TextOutput);
    }
    std::vector<std::string> Messages() const {
        std::vector<std::string> out;
        for (auto& line : prog.form.l.Items()) out.push_back(line.substr(line.find("] ") + 2));
        return out;
    }
    // The last line of the program's own; lines of ours behind it ("Note: ...") are skipped.
    std::string LastLine() const {
        const std::vector<std::string> all = Messages();
        auto own = std::ranges::find_if(all.rbegin(), all.rend(), [](auto& m) { return !m.starts_with("Note: "); });
        return own == all.rend() ? "" : *own;
    }
    int Count(const std::string& message) const {
        return static_cast<int>(std::ranges::count(Messages(), message));
    }
    bool Logged(const std::string& message) const { return Count(message) > 0; }
};
using ProgramFixture = BasicFixture<>;

// Runs f and gives the number of the run-time error it raised, 0 if none.
template <class F>
int ErrorOf(F&& f) {
    try {
        f();
    } catch (const RuntimeError& e) {
        return e.Number;
    }
    return 0;
}
