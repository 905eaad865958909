#include "driver/LevelSections.h"

#include "driver/SectionsTestSupport.h"

using namespace sections_test;

namespace {
// The stretch from the floor data to the sound sources for one target, with other counts in
// source and base for every table: the inputs, and what the new level and temp.tr2 must get.
struct Chain {
    Bytes source, base, level, temp;
};

Chain MakeChain(int target, int32_t flybyCameras) {
    Chain c;
    Bytes* out = &c.level;
    auto table = [&](bool fromBase, int32_t sourceCount, size_t size, int32_t baseCount, size_t baseSize,
                     uint8_t seed) {
        Put(c.source, Section(sourceCount, size, seed));
        Put(c.base, Section(baseCount, baseSize, uint8_t(seed + 0x80)));
        Put(*out, fromBase ? Section(baseCount, baseSize, uint8_t(seed + 0x80)) : Section(sourceCount, size, seed));
    };
    table(false, 3, 2, 5, 2, 0x10);  // floor data
    // Mesh data to static meshes; the source's animations and moveables keep their TR4 sizes.
    const size_t sizes[10] = {2, 4, 40, 6, 8, 2, 4, 2, 18, 32};
    for (size_t i = 0; i < 10; ++i) {
        size_t baseSize = i == 2 && target != 6 ? 32 : i == 8 && target == 6 ? 20 : sizes[i];
        table(true, int32_t(1 + i % 3), sizes[i], int32_t(4 - i % 3), baseSize, uint8_t(0x20 + 4 * i));
    }
    if (target < 4) {  // the base's object textures, then on into temp.tr2
        Put(c.base, Section(3, 20, 0x50));
        Put(c.level, Section(3, 20, 0x50));
        out = &c.temp;
    }
    Put(c.source, {'X', 'P', 'R'});  // the sprite marker is not compared with anything
    if (target == 6) Put(c.base, {'B', 'A', 'S', 'E'});
    if (target == 6) Put(c.level, {'X', 'P', 'R', 0});
    table(true, 2, 16, 3, 16, 0x54);  // sprite textures
    table(true, 1, 8, 2, 8, 0x58);    // sprite sequences
    if (target == 2) Put(c.base, Pattern(768, 0x60));
    if (target == 2) Put(*out, Pattern(768, 0x60));
    table(false, 2, 16, 1, 16, 0x64);  // cameras
    if (target == 6)
        table(false, flybyCameras, 40, 2, 40, 0x68);
    else
        Put(c.source, Section(flybyCameras, 40, 0x68));
    table(false, 1, 16, 3, 16, 0x6C);  // sound sources
    Put(c.source, L32(0x11111111));
    Put(c.base, L32(0x22222222));
    return c;
}
}  // namespace

TEST(LevelSections, PlaceComesFromTheSourceAndObjectsFromTheBase) {
    for (int target : {2, 3, 4, 6}) {
        SCOPED_TRACE(target);
        StageFixture f;
        int32_t flyby = target == 4 ? 0 : 2;
        Chain c = MakeChain(target, flyby);
        // An old, longer temp.tr2: TR3 and TR5 leave it alone, the others must not keep its tail.
        WriteFileBytes(f.dir / "temp.tr2", Bytes(5000, 0xCC));
        f.Open(target, c.source, c.base, Pattern(7, 0xEE));
        CopyLevelSections(f.prog);
        Bytes level = Pattern(7, 0xEE);
        Put(level, c.level);
        EXPECT_EQ(f.Output(), level);
        EXPECT_EQ(f.File("temp.tr2"), target < 4 ? c.temp : Bytes(5000, 0xCC));
        EXPECT_EQ(f.prog.channels.ReadLong(1), 0x11111111);
        EXPECT_EQ(f.prog.channels.ReadLong(2), 0x22222222);
        EXPECT_EQ(f.prog.state.NumFlybyCameras, flyby);
        EXPECT_EQ(f.prog.state.FlybyCameras.size(), target == 6 ? 0u : size_t(flyby));
        EXPECT_EQ(f.Logged("ConvertLevel() -> Error: Flyby cameras not supported in this Tomb Raider version!"),
                  flyby != 0 && target != 6);
        EXPECT_EQ(f.Logged("Copying flyby cameras"), target == 6);
        EXPECT_EQ(f.Logged("Copying TR1/2 object textures"), target < 4);
        EXPECT_EQ(f.Logged("Copying Tomb Raider Unfinished Business 8 bit palette"), target == 2);
        if (target < 4) {
            EXPECT_EQ(f.prog.state.NumBaseObjectTextures, 3);
            EXPECT_EQ(f.prog.state.ObjectTexturesCountPos, int32_t(7 + c.level.size() - 64 + 1));
            EXPECT_EQ(f.prog.state.ObjectTexturesEndPos, int32_t(7 + c.level.size() + 1));
        }
        if (target == 4)
            EXPECT_EQ(f.Messages(), (std::vector<std::string>{
                                        "Copying floordata", "   Floordata size: 6 bytes", "Copying objects data",
                                        "Copying animations data", "Copying moveables & static meshes data",
                                        "Copying sprites", "Copying cameras", "Copying sound sources"}));
    }
}

// Counts over 512 MiB, products over 32 bits, negative counts, and a base without object
// textures for TR1, Gold and TR2 all stop the conversion.
TEST(LevelSections, CorruptCountsEndInRunTimeErrors) {
    auto run = [](int target, const Bytes& source, const Bytes& base) {
        StageFixture f;
        f.Open(target, source, base);
        return ErrorOf([&] { CopyLevelSections(f.prog); });
    };
    const Bytes empty(100, 0);  // every count 0
    EXPECT_EQ(run(4, L32(0x10000001), empty), Err::OutOfMemory);  // floor data words
    EXPECT_EQ(run(4, L32(0x40000003), empty), Err::Overflow);
    EXPECT_NE(run(4, empty, L32(-1)), 0);
    EXPECT_EQ(run(3, empty, empty), Err::SubscriptOutOfRange);
}
