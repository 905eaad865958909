#pragma once
// A stage of the conversion run on hand-made inputs: the source part on channel 1, the base
// part on channel 2 and the new level on channel 3, as the stages behind the rooms find them.
#include <gtest/gtest.h>

#include "support/ProgramFixture.h"

namespace sections_test {

using Bytes = std::vector<uint8_t>;

inline void Put(Bytes& b, const Bytes& more) { b.insert(b.end(), more.begin(), more.end()); }
inline Bytes Cat(std::initializer_list<Bytes> parts) {
    Bytes b;
    for (const Bytes& p : parts) Put(b, p);
    return b;
}
inline Bytes L32(int64_t v) { return {uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)}; }
inline Bytes W16(int32_t v) { return {uint8_t(v), uint8_t(v >> 8)}; }
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

struct StageFixture : ProgramFixture {
    StageFixture() { prog.form.Check3.SetValue(0); }  // the window starts with the optimizer on
    // Opens the three channels on fresh files with these contents.
    void Open(int target, const Bytes& source, const Bytes& base, const Bytes& newHead = {}) {
        WriteFileBytes(dir / "src.bin", source);
        WriteFileBytes(dir / "base.bin", base);
        WriteFileBytes(dir / "new.bin", newHead);
        prog.state.NewLevelVersion = target;
        prog.state.NewLevelPath = dir / "new.bin";
        for (auto [channel, name] : {std::pair{1, "src.bin"}, {2, "base.bin"}, {3, "new.bin"}})
            prog.channels.Open(channel, dir / name, OpenMode::Binary);
        prog.channels.Seek(3, static_cast<int64_t>(newHead.size()) + 1);
    }
    Bytes File(const std::string& name) {
        prog.channels.FlushAll();
        return ReadFileBytes(dir / name);
    }
    Bytes Output() { return File("new.bin"); }
};

}  // namespace sections_test
