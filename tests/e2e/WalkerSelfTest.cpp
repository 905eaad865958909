#include <gtest/gtest.h>

#include "support/LevelWalker.h"
#include "support/TestFolder.h"

// The walker must read the real levels of every format to their last byte; otherwise it cannot
// judge what the converter writes.
TEST(LevelWalker, ReadsTheRealBasesToTheirLastByte) {
    struct Case {
        const char* file;
        WalkFormat format;
    } cases[] = {{"base-tr1.PHD", WalkFormat::Tr1},
                 {"base-gold.TUB", WalkFormat::Gold},
                 {"base-tr2.TR2", WalkFormat::Tr2},
                 {"base-tr3.TR2", WalkFormat::Tr3}};
    for (auto& c : cases) {
        auto bytes = ReadFileBytes(SharedLevel(c.file));
        bool tr1 = c.format == WalkFormat::Tr1 || c.format == WalkFormat::Gold;
        WalkedLevel level = WalkLevel(bytes, c.format, tr1 ? 22 : 24);
        EXPECT_EQ(level.end, bytes.size()) << c.file;
        EXPECT_GT(level.numRooms, 0) << c.file;
    }
}

TEST(LevelWalker, ReadsTheRealTr5BaseWithItsGeometrySize) {
    auto bytes = ReadFileBytes(SharedLevel("base-tr5.TRC"));
    WalkedLevel level = WalkTr5Level(bytes);
    EXPECT_GT(level.numRooms, 0);
    EXPECT_GT(level["ObjectTextures"].count, 0);
    EXPECT_LE(level["SampleIndices"].offset, level["Samples"].offset);
}

TEST(LevelWalker, ReadsTheRealSourceGeometry) {
    auto bytes = ReadFileBytes(SharedLevel("source-tr4.TR4"));
    WalkedLevel level = WalkTr4Source(bytes);
    EXPECT_GT(level.numRooms, 0);
    EXPECT_GT(level["ObjectTextures"].count, 0);
    EXPECT_GT(level["Items"].count, 0);
}
