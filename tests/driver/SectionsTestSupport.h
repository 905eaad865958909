#pragma once
// A stage of the conversion run on hand-made inputs: the source part on channel 1, the base
// part on channel 2 and the new level on channel 3, as the stages behind the rooms find them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "driver/Errors.h"
#include "frontend/Program.h"
#include "support/ScriptedPlatform.h"
#include "support/TestFolder.h"

namespace sections_test {

using Bytes = std::vector<uint8_t>;

inline void Put(Bytes& b, const Bytes& more) { b.insert(b.end(), more.begin(), more.end()); }
inline Bytes L32(int64_t v) {
    uint32_t u = static_cast<uint32_t>(v);
    return {uint8_t(u), uint8_t(u >> 8), uint8_t(u >> 16), uint8_t(u >> 24)};
}
inline Bytes W16(int32_t v) {
    uint16_t u = static_cast<uint16_t>(v);
    return {uint8_t(u), uint8_t(u >> 8)};
}
// count x size bytes, byte i = first + i (mod 256).
inline Bytes Pattern(size_t n, uint8_t first) {
    Bytes b(n);
    for (size_t i = 0; i < n; ++i) b[i] = static_cast<uint8_t>(first + i);
    return b;
}
// A counted section: the count, then count x size pattern bytes.
inline Bytes Section(int32_t count, size_t size, uint8_t first) {
    Bytes b = L32(count);
    Put(b, Pattern(static_cast<size_t>(count) * size, first));
    return b;
}

struct StageFixture {
    TestFolder dir;
    ScriptedPlatform platform;
    Program prog{platform, dir.str()};

    // The window starts with the optimizer option on; stage tests turn it on where they need it.
    StageFixture() {
        prog.channels.Open(LogChannel, dir / "morv.log", OpenMode::TextOutput);
        prog.form.Check3.SetValue(0);
    }

    // Opens the three channels on fresh files with these contents.
    void Open(int target, const Bytes& source, const Bytes& base, const Bytes& newHead = {}) {
        WriteFileBytes(dir / "src.bin", source);
        WriteFileBytes(dir / "base.bin", base);
        WriteFileBytes(dir / "new.bin", newHead);
        prog.state.NewLevelVersion = target;
        prog.state.NewLevelPath = dir / "new.bin";
        prog.channels.Open(1, dir / "src.bin", OpenMode::Binary);
        prog.channels.Open(2, dir / "base.bin", OpenMode::Binary);
        prog.channels.Open(3, dir / "new.bin", OpenMode::Binary);
        prog.channels.Seek(3, static_cast<int64_t>(newHead.size()) + 1);
    }
    Bytes File(const std::string& name) {
        prog.channels.FlushAll();
        return ReadFileBytes(dir / name);
    }
    Bytes Output() { return File("new.bin"); }
    std::vector<std::string> Messages() const {
        std::vector<std::string> out;
        for (auto& line : prog.form.l.Items()) out.push_back(line.substr(line.find("] ") + 2));
        return out;
    }
    bool Logged(const std::string& message) const {
        for (auto& m : Messages())
            if (m == message) return true;
        return false;
    }
};

// Runs a stage and gives the number of the run-time error it ends in (0 for none).
template <class F>
int ErrorOf(F&& stage) {
    try {
        stage();
    } catch (const RuntimeError& e) {
        return e.Number;
    }
    return 0;
}

}  // namespace sections_test
