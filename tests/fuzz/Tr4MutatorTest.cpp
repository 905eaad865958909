// The fuzz programs' mutation of a TR4 level: what it makes is still a level whose geometry
// inflates and which the converter reads deep into, so that the mutations test the rooms and
// sections rather than the zlib stream.
#include <gtest/gtest.h>

#include <random>

#include "../../fuzz/FuzzSupport.h"
#include "../../fuzz/Tr4Mutator.h"
#include "../../tools/SampleLevels.h"
#include "driver/ConvertLevel.h"
#include "inspection/LevelWalker.h"
#include "support/PackedBlocks.h"
#include "core/Program.h"

// libFuzzer's own byte mutation, which the fuzz programs link; here it flips one byte.
extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t) {
    if (size) data[size / 2] ^= 0x5A;
    return size;
}

namespace {
using Bytes = std::vector<uint8_t>;

// The level walks whole once its short tile blocks (the small set's) are filled out.
bool Walks(const Bytes& level) {
    Bytes whole;
    try {
        whole = WithWholeTiles(level);
    } catch (const std::runtime_error&) {
        return false;
    }
    return WalkLevel(whole, WalkFormat::Tr4).Whole();
}

// The source converted against the small TR3 base on the fuzz programs' platform; true when it
// ran to its end.
bool ConvertsToTheEnd(const Bytes& source) {
    fuzz::MemoryPlatform platform;
    platform.fs.Put("/levels/source.TR4", source);
    platform.fs.Put("/levels/base.TR2", samples::MakeBaseTr23(true, samples::Shape::Small()));
    platform.fs.MakeFolder("/program");
    Program prog(platform, "/program");
    ConvertLevel(prog, "/levels/source.TR4", "/levels/base.TR2", "/program/new.TR2");
    prog.channels.CloseAllChannels();
    return prog.state.Outcome == ConversionOutcome::Completed;
}
}  // namespace

// Mutations stay within the size they are given and change the level; most keep the outer file
// walkable, a good share keep the geometry walkable and still convert to the end, some do not.
TEST(Tr4Mutator, MostMutatedSourcesStillInflateWalkAndConvert) {
    const Bytes small = samples::MakeSourceTr4(samples::Shape::Small());
    int changed = 0, outer = 0, walks = 0, converts = 0, total = 0;
    for (unsigned seed = 1; seed <= 200; ++seed) {
        std::minstd_rand rng(seed);
        Bytes level = small;
        if (!fuzz::MutateTr4Level(level, small.size() + 4096, false, rng)) continue;
        ++total;
        ASSERT_LE(level.size(), small.size() + 4096);
        outer += fuzz::GeometryBlockAt(level) != 0;  // a size word of the outer file may be hit
        changed += level != small;
        walks += Walks(level);
        converts += ConvertsToTheEnd(level);
    }
    EXPECT_GT(total, 190);
    EXPECT_GT(changed, total * 9 / 10);
    EXPECT_GT(outer, total * 8 / 10);
    EXPECT_GT(walks, total / 4);
    EXPECT_GT(converts, total / 4);
    EXPECT_LT(converts, total);
}

// A cross-over puts rooms or sections of the small source into the regular one: the result walks
// to its end, or to items that name rooms beyond those it now has.
TEST(Tr4Mutator, CrossOverKeepsTheLevelWalkable) {
    const Bytes a = samples::MakeSourceTr4(), b = samples::MakeSourceTr4(samples::Shape::Small());
    int changed = 0;
    for (unsigned seed = 1; seed <= 100; ++seed) {
        std::minstd_rand rng(seed);
        Bytes out;
        if (!fuzz::CrossOverTr4Levels(a, b, out, 1 << 20, false, rng)) continue;
        changed += out != a;
        const WalkedLevel w = WalkLevel(WithWholeTiles(out), WalkFormat::Tr4);
        ASSERT_TRUE(w.Whole() || w.problem.find("stands in room") != std::string::npos) << seed << ": " << w.problem;
    }
    EXPECT_GT(changed, 50);
}
