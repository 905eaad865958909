#include "driver/LevelSections.h"

#include <algorithm>

#include "driver/SectionsTestSupport.h"

using namespace sections_test;

namespace {
// The stretch from the floor data to the sound sources, laid out for one target: what the
// source and the base hold, and what the new level (and for TR1, Gold and TR2 temp.tr2) must
// receive. Every table has other counts in source and base.
struct Chain {
    Bytes source, base, level, temp;
    int32_t baseObjectTextures = 3;
    size_t objectTexturesCountOffset = 0, objectTexturesEndOffset = 0;
    size_t baseObjectTexturesOffset = 0, sourceFlybyOffset = 0;
};

Chain MakeChain(int target, int32_t flybyCameras, const Bytes& levelHead) {
    Chain c;
    c.level = levelHead;
    bool tr5 = target == 6;
    bool split = target < 4;
    Bytes* out = &c.level;
    // Content from the source.
    auto S = [&](int32_t sourceCount, int32_t baseCount, size_t size, uint8_t seed) {
        Put(c.source, Section(sourceCount, size, seed));
        Put(c.base, Section(baseCount, size, uint8_t(seed + 0x80)));
        Put(*out, Section(sourceCount, size, seed));
    };
    // Content from the base.
    auto B = [&](int32_t sourceCount, size_t sourceSize, int32_t baseCount, size_t baseSize, uint8_t seed) {
        Put(c.source, Section(sourceCount, sourceSize, seed));
        Put(c.base, Section(baseCount, baseSize, uint8_t(seed + 0x80)));
        Put(*out, Section(baseCount, baseSize, uint8_t(seed + 0x80)));
    };
    S(3, 5, 2, 0x10);                   // floor data
    B(2, 2, 4, 2, 0x20);                // mesh data
    B(1, 4, 2, 4, 0x24);                // mesh pointers
    B(2, 40, 3, tr5 ? 40 : 32, 0x30);   // animations
    B(1, 6, 2, 6, 0x34);                // state changes
    B(2, 8, 1, 8, 0x38);                // ranges
    B(3, 2, 1, 2, 0x3C);                // commands
    B(1, 4, 3, 4, 0x40);                // mesh trees
    B(4, 2, 2, 2, 0x44);                // frames
    B(1, 18, 2, tr5 ? 20 : 18, 0x48);   // moveables
    B(2, 32, 1, 32, 0x4C);              // static meshes
    if (split) {
        c.objectTexturesCountOffset = c.level.size();
        c.baseObjectTexturesOffset = c.base.size();
        Put(c.base, Section(c.baseObjectTextures, 20, 0x50));
        Put(c.level, Section(c.baseObjectTextures, 20, 0x50));
        c.objectTexturesEndOffset = c.level.size();
        out = &c.temp;
    }
    Put(c.source, {'S', 'P', 'R'});
    if (tr5) {
        Put(c.base, {'B', 'A', 'S', 'E'});
        Put(*out, {'S', 'P', 'R', 0});
    }
    B(2, 16, 3, 16, 0x54);  // sprite textures
    B(1, 8, 2, 8, 0x58);    // sprite sequences
    if (target == 2) {
        Put(c.base, Pattern(768, 0x60));
        Put(*out, Pattern(768, 0x60));
    }
    S(2, 1, 16, 0x64);  // cameras
    c.sourceFlybyOffset = c.source.size();
    if (tr5) {
        S(flybyCameras, 2, 40, 0x68);
    } else {
        Put(c.source, Section(flybyCameras, 40, 0x68));
    }
    S(1, 3, 16, 0x6C);  // sound sources
    Put(c.source, L32(0x11111111));
    Put(c.base, L32(0x22222222));
    return c;
}

void ExpectBothInputsAtTheirSentinels(StageFixture& f) {
    EXPECT_EQ(f.prog.channels.ReadLong(1), 0x11111111);
    EXPECT_EQ(f.prog.channels.ReadLong(2), 0x22222222);
}
}  // namespace

TEST(LevelSections, Tr3TakesPlaceFromSourceAndObjectsFromBaseWithTr4SizesOnTheSource) {
    StageFixture f;
    Chain c = MakeChain(4, 0, Pattern(7, 0xEE));
    f.Open(4, c.source, c.base, Pattern(7, 0xEE));
    WriteFileBytes(f.dir / "temp.tr2", {9, 9, 9});
    CopyLevelSections(f.prog);
    EXPECT_EQ(f.Output(), c.level);
    ExpectBothInputsAtTheirSentinels(f);
    EXPECT_EQ(f.Messages(), (std::vector<std::string>{
                                "Copying floordata", "   Floordata size: 6 bytes", "Copying objects data",
                                "Copying animations data", "Copying moveables & static meshes data",
                                "Copying sprites", "Copying cameras", "Copying sound sources"}));
    EXPECT_EQ(f.prog.form.p.Value(), 80);
    // A TR3 target leaves an old temp.tr2 alone.
    EXPECT_EQ(f.File("temp.tr2"), (Bytes{9, 9, 9}));
}

TEST(LevelSections, Tr5WritesTheSpriteMarkerAndCopiesFlybyCameras) {
    StageFixture f;
    Chain c = MakeChain(6, 2, {});
    // The marker is not compared with anything: other letters go over unchanged.
    c.source[std::search(c.source.begin(), c.source.end(), std::begin("SPR"), std::begin("SPR") + 3) -
             c.source.begin()] = 'X';
    auto at = std::search(c.level.begin(), c.level.end(), std::begin("SPR"), std::begin("SPR") + 3);
    ASSERT_NE(at, c.level.end());
    *at = 'X';
    f.Open(6, c.source, c.base);
    CopyLevelSections(f.prog);
    EXPECT_EQ(f.Output(), c.level);
    ExpectBothInputsAtTheirSentinels(f);
    EXPECT_EQ(f.prog.state.NumFlybyCameras, 2);
    auto m = f.Messages();
    ASSERT_EQ(m.size(), 9u);
    EXPECT_EQ(m[6], "Copying cameras");
    EXPECT_EQ(m[7], "Copying flyby cameras");
}

TEST(LevelSections, Tr2WritesBaseObjectTexturesThenSwitchesToTempTr2) {
    StageFixture f;
    Bytes head = Pattern(11, 0xA0);
    Chain c = MakeChain(3, 0, head);
    // A longer old temp.tr2 must not leave bytes behind.
    WriteFileBytes(f.dir / "temp.tr2", Bytes(5000, 0xCC));
    f.Open(3, c.source, c.base, head);
    CopyLevelSections(f.prog);
    EXPECT_EQ(f.Output(), c.level);
    EXPECT_EQ(f.File("temp.tr2"), c.temp);
    EXPECT_EQ(f.prog.channels.PathOf(3), f.dir / "temp.tr2");
    EXPECT_EQ(f.prog.state.NumBaseObjectTextures, 3);
    EXPECT_EQ(f.prog.state.ObjectTexturesCountPos, int32_t(c.objectTexturesCountOffset + 1));
    EXPECT_EQ(f.prog.state.ObjectTexturesEndPos, int32_t(c.objectTexturesEndOffset + 1));
    ExpectBothInputsAtTheirSentinels(f);
    auto m = f.Messages();
    ASSERT_EQ(m.size(), 9u);
    EXPECT_EQ(m[5], "Copying TR1/2 object textures");
    EXPECT_FALSE(f.Logged("ConvertLevel() -> Error: Flyby cameras not supported in this Tomb Raider version!"));
}

TEST(LevelSections, GoldGetsItsPaletteBehindTheSpriteSequencesAndTr1KeepsFlybyCamerasInMemory) {
    StageFixture f;
    Chain c = MakeChain(2, 2, {});
    // Second camera: recognisable fields.
    uint8_t* cam = &c.source[c.sourceFlybyOffset + 4 + 40];
    std::copy_n(W16(7).begin(), 2, cam + 30);      // FrameCount
    std::copy_n(W16(2).begin(), 2, cam + 34);      // Flags
    std::copy_n(L32(0x1234).begin(), 4, cam + 12);  // BX
    f.Open(2, c.source, c.base);
    CopyLevelSections(f.prog);
    EXPECT_EQ(f.File("temp.tr2"), c.temp);
    ExpectBothInputsAtTheirSentinels(f);
    EXPECT_TRUE(f.Logged("Copying Tomb Raider Unfinished Business 8 bit palette"));
    EXPECT_TRUE(f.Logged("ConvertLevel() -> Error: Flyby cameras not supported in this Tomb Raider version!"));
    ASSERT_EQ(f.prog.state.NumFlybyCameras, 2);
    ASSERT_EQ(f.prog.state.FlybyCameras.size(), 2u);
    EXPECT_EQ(f.prog.state.FlybyCameras[1].FrameCount, 7);
    EXPECT_EQ(f.prog.state.FlybyCameras[1].Flags, 2);
    EXPECT_EQ(f.prog.state.FlybyCameras[1].BX, 0x1234);
}

TEST(LevelSections, CorruptCountsEndInRunTimeErrors) {
    auto run = [](int target, const Bytes& source, const Bytes& base) {
        StageFixture f;
        f.Open(target, source, base);
        return ErrorOf([&] { CopyLevelSections(f.prog); });
    };
    Chain c = MakeChain(4, 0, {});
    Bytes huge = c.source;
    huge[0] = 0x01, huge[1] = 0x00, huge[2] = 0x00, huge[3] = 0x10;  // 0x10000001 words of floor data
    EXPECT_EQ(run(4, huge, c.base), Err::OutOfMemory);
    Bytes overflow = c.source;
    overflow[3] = 0x40;  // 0x40000003 x 2 does not fit 32 bits
    EXPECT_EQ(run(4, overflow, c.base), Err::Overflow);
    Bytes negative = c.base;
    negative[3] = 0xFF;  // the base's floor data count goes negative
    EXPECT_NE(run(4, c.source, negative), 0);

    // A base without object textures stops TR1, Gold and TR2 conversions.
    Chain tr2 = MakeChain(3, 0, {});
    Bytes noTextures = tr2.base;
    size_t countAt = tr2.baseObjectTexturesOffset;
    std::fill(noTextures.begin() + long(countAt), noTextures.begin() + long(countAt) + 4, 0);
    EXPECT_EQ(run(3, tr2.source, noTextures), Err::SubscriptOutOfRange);
}
