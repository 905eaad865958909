// The sections between the rooms and the boxes on hand-made inputs whose tables are empty; the
// real-level walk checks which input every table comes from on every target.
#include "driver/LevelSections.h"

#include "driver/SectionsTestSupport.h"

using namespace sections_test;

namespace {
int CopySections(StageFixture& f, int target, const Bytes& source, const Bytes& base) {
    f.Open(target, source, base);
    return ErrorOf([&] { CopyLevelSections(f.prog); });
}
}  // namespace

// TR2 writes the base's object textures, then goes on into a fresh temp.tr2 (an old, longer
// one must not keep its tail); TR3 leaves temp.tr2 alone.
TEST(LevelSections, Tr2SplitsIntoAFreshTempTr2AndTr3LeavesItAlone) {
    // Floor data, ten object tables, marker, sprites, cameras; one flyby camera.
    const Bytes source = Cat({Bytes(59, 0), Section(1, 40, 0x68), L32(0)});
    for (int target : {3, 4}) {
        SCOPED_TRACE(target);
        const Bytes textures = target == 3 ? Section(1, 20, 0x50) : Bytes();  // the base's object textures
        const Bytes base = Cat({Bytes(44, 0), textures, Bytes(16, 0)});
        StageFixture f;
        WriteFileBytes(f.dir / "temp.tr2", Bytes(5000, 0xCC));
        ASSERT_EQ(CopySections(f, target, source, base), 0);
        EXPECT_EQ(f.File("temp.tr2"), target == 3 ? Bytes(16, 0) : Bytes(5000, 0xCC));
        EXPECT_EQ(f.Output(), Cat({Bytes(44, 0), textures, target == 4 ? Bytes(16, 0) : Bytes()}));
        EXPECT_EQ(f.Logged("Copying TR1/2 object textures"), target == 3);
        EXPECT_TRUE(f.Logged("ConvertLevel() -> Error: Flyby cameras not supported in this Tomb Raider version!"));
    }
}

// Counts over 512 MiB, products over 32 bits, negative counts, and a base without object
// textures for TR1, Gold and TR2 all stop the conversion.
TEST(LevelSections, CorruptCountsEndInRunTimeErrors) {
    StageFixture f[4];
    const Bytes empty(100, 0);
    EXPECT_EQ(CopySections(f[0], 4, L32(0x10000001), empty), Err::OutOfMemory);  // words of floor data
    EXPECT_EQ(CopySections(f[1], 4, L32(0x40000003), empty), Err::Overflow);
    EXPECT_NE(CopySections(f[2], 4, empty, L32(-1)), 0);
    EXPECT_EQ(CopySections(f[3], 3, empty, empty), Err::SubscriptOutOfRange);
}
