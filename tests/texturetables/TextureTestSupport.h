#pragma once
// A program in a temporary folder for the texture table tests, with helpers for the hidden
// lists and the log.
#include <string>
#include <vector>

#include "driver/Errors.h"
#include "frontend/Program.h"
#include "support/LevelBuilder.h"
#include "support/ScriptedPlatform.h"
#include "support/TestFolder.h"

struct TextureFixture {
    TestFolder dir;
    ScriptedPlatform platform;
    Program prog{platform, dir.str()};

    std::vector<std::string> Messages() const {
        std::vector<std::string> out;
        for (auto& line : prog.form.l.Items()) out.push_back(line.substr(line.find("] ") + 2));
        return out;
    }
    int Count(const std::string& message) const {
        int n = 0;
        for (auto& m : Messages()) n += m == message;
        return n;
    }
    void AddIds(const std::vector<int>& ids) {
        for (int id : ids) prog.form.l2.AddItem(std::to_string(id));
    }
    // Writes bytes to a file of the program folder and opens it on a channel.
    void OpenWith(int channel, const std::string& name, const std::vector<uint8_t>& bytes) {
        WriteFileBytes(dir / name, bytes);
        prog.channels.Open(channel, dir / name, OpenMode::Binary);
    }
    std::vector<uint8_t> FileOf(const std::string& name) {
        prog.channels.FlushAll();
        return ReadFileBytes(dir / name);
    }
};

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
