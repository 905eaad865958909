#include "driver/FileTail.h"

#include "driver/SectionsTestSupport.h"

using namespace sections_test;

namespace {
Bytes Item(int objectId, int x, int y, int z, int word18, int word20, uint8_t seed = 0) {
    Bytes b = W16(objectId);
    Put(b, W16(0x100 + seed));
    Put(b, L32(x));
    Put(b, L32(y));
    Put(b, L32(z));
    Put(b, W16(0x200 + seed));
    Put(b, W16(word18));
    Put(b, W16(word20));
    Put(b, W16(0x300 + seed));
    return b;
}
Bytes Items(const std::vector<Bytes>& items) {
    Bytes b = L32(static_cast<int32_t>(items.size()));
    for (auto& i : items) Put(b, i);
    return b;
}
FlybyCamera Camera(int ax, int ay, int az, int bx, int by, int bz, int frames, int word, int flags = 0) {
    FlybyCamera c;
    c.AX = ax, c.AY = ay, c.AZ = az, c.BX = bx, c.BY = by, c.BZ = bz;
    c.FrameCount = static_cast<int16_t>(frames);
    c.FrameWord = static_cast<uint16_t>(word);
    c.Flags = static_cast<uint16_t>(flags);
    return c;
}
Bytes FrameBytes(int bx, int by, int bz, int ax, int ay, int az, int word) {
    Bytes b;
    for (int v : {bx, by, bz, ax, ay, az, word, 0}) Put(b, W16(v));
    return b;
}
// A TR1 to TR3 base from its items on: items, colour map, optional frames and palette, rest.
Bytes ClassicBaseTail(bool tr1Palette, const Bytes& frames = {}) {
    Bytes b = Items({Item(1, 0, 0, 0, 0, 0), Item(2, 0, 0, 0, 0, 0), Item(3, 0, 0, 0, 0, 0)});
    Put(b, Pattern(8192, 0x40));
    Put(b, frames);
    if (tr1Palette) Put(b, Pattern(768, 0x70));
    Put(b, Pattern(100, 0xC0));
    return b;
}
}  // namespace

TEST(FileTail, Tr3CopiesWord18IntoWord20AndTakesTheRestOfTheBase) {
    StageFixture f;
    Bytes source = Items({Item(0, 1, 2, 3, 0x1818, 0x2020), Item(5, 4, 5, 6, 0x0718, 0)});
    Put(source, Section(1, 24, 0x50));  // AI objects: passed by
    f.Open(4, source, ClassicBaseTail(false), Pattern(5, 1));
    f.prog.state.LaraPosition = {7, 8, 9};
    CopyItemsAndTail(f.prog);

    Bytes expected = Pattern(5, 1);
    Put(expected, Items({Item(0, 1, 2, 3, 0x1818, 0x1818), Item(5, 4, 5, 6, 0x0718, 0x0718)}));
    Put(expected, Pattern(8192, 0x40));
    Put(expected, Pattern(100, 0xC0));
    EXPECT_EQ(f.Output(), expected);
    EXPECT_EQ(f.prog.channels.Pos(1), int64_t(source.size() + 1));
    // Without the Cutscene option Lara's position is not taken.
    EXPECT_EQ(f.prog.state.LaraPosition.X, 7);
    EXPECT_EQ(f.Messages(), (std::vector<std::string>{"Copying items", "Copying color map"}));
    EXPECT_EQ(f.prog.form.p.Value(), 90);
    EXPECT_TRUE(f.platform.started.empty());
}

TEST(FileTail, Tr1CutsceneReplacesTheBaseFramesAndStartsTheOptimizer) {
    StageFixture f;
    f.prog.form.Check4.SetValue(1);
    f.prog.form.Check3.SetValue(1);
    Bytes source = Items({Item(0, 1, 1, 1, 0, 0), Item(0, 1000, -200, 3000, 0, 0), Item(4, 0, 0, 0, 0, 0)});
    Put(source, L32(0));
    Bytes baseFrames = W16(3);
    Put(baseFrames, Pattern(48, 0x90));
    f.Open(1, source, ClassicBaseTail(true, baseFrames));
    f.prog.state.NumFlybyCameras = 1;
    f.prog.state.FlybyCameras = {Camera(1100, -250, 3100, 1200, -300, 3500, 2, 77)};
    CopyItemsAndTail(f.prog);

    // The last of several Lara items stands.
    EXPECT_EQ(f.prog.state.LaraPosition.X, 1000);
    EXPECT_EQ(f.prog.state.LaraPosition.Y, -200);
    EXPECT_EQ(f.prog.state.LaraPosition.Z, 3000);
    Bytes expected = Items({Item(0, 1, 1, 1, 0, 0), Item(0, 1000, -200, 3000, 0, 0), Item(4, 0, 0, 0, 0, 0)});
    Put(expected, Pattern(8192, 0x40));
    Put(expected, W16(2));
    Put(expected, FrameBytes(200, -100, 500, 100, -50, 100, 77));
    Put(expected, FrameBytes(200, -100, 500, 100, -50, 100, 77));
    Put(expected, Pattern(768, 0x70));
    Put(expected, Pattern(100, 0xC0));
    EXPECT_EQ(f.Output(), expected);
    EXPECT_TRUE(f.Logged("Copying TR1 8 bit palette"));
    EXPECT_EQ(f.Messages().back(), "Optimizing textures with toptimizer.exe");
    ASSERT_EQ(f.platform.started.size(), 1u);
    EXPECT_EQ(f.platform.started[0], f.dir / "toptimizer.exe" + " " + (f.dir / "new.bin"));
    EXPECT_EQ(f.platform.doEvents, 1);

    // An optimizer that cannot start is a run-time error.
    StageFixture g;
    g.prog.form.Check3.SetValue(1);
    g.platform.startSucceeds = false;
    g.Open(3, source, ClassicBaseTail(false));
    EXPECT_EQ(ErrorOf([&] { CopyItemsAndTail(g.prog); }), Err::FileNotFound);
}

TEST(FileTail, EraseItemsKeepsTheFirstLaraItemAsReadAndCutsceneUsesTheOldPosition) {
    StageFixture f;
    f.prog.form.Check1.SetValue(1);
    f.prog.form.Check4.SetValue(1);
    Bytes source = Items({Item(5, 0, 0, 0, 1, 2), Item(0, 10, 20, 30, 9, 3, 1), Item(0, 40, 50, 60, 9, 4, 2)});
    Put(source, L32(0));
    f.Open(4, source, ClassicBaseTail(false, W16(0)));
    f.prog.state.LaraPosition = {-5, -6, -7};
    f.prog.state.NumFlybyCameras = 0;
    CopyItemsAndTail(f.prog);

    Bytes expected = L32(1);
    Put(expected, Item(0, 10, 20, 30, 9, 3, 1));
    Put(expected, Pattern(8192, 0x40));
    Put(expected, W16(0));
    Put(expected, Pattern(100, 0xC0));
    EXPECT_EQ(f.Output(), expected);
    EXPECT_EQ(f.prog.state.LaraPosition.X, -5);
    EXPECT_TRUE(f.Logged("Error: no flyby cameras found in source level"));
    EXPECT_TRUE(f.Logged("Can't build cinematic frames"));
}

TEST(FileTail, EraseItemsWithoutALaraItemWritesAnEmptyTableAndBeeps) {
    StageFixture f;
    f.prog.form.Check1.SetValue(1);
    Bytes source = Items({Item(5, 0, 0, 0, 1, 2), Item(6, 0, 0, 0, 1, 2)});
    Put(source, L32(0));
    f.Open(3, source, ClassicBaseTail(false));
    CopyItemsAndTail(f.prog);
    Bytes out = f.Output();
    EXPECT_EQ(Long(out, 0), 0);
    EXPECT_EQ(out.size(), 4u + 8192 + 100);
    EXPECT_EQ(f.platform.beeps, 1);
    EXPECT_TRUE(f.Logged("ConvertLevel() -> Error: no Lara item in source level, all items erased!"));
}

namespace {
struct Tr5Tail {
    Bytes source, base, head, samples;
    int32_t samplesPos = 0;
};
Tr5Tail MakeTr5Tail(size_t sampleBytes) {
    Tr5Tail t;
    t.source = Items({Item(0, 1, 2, 3, 0x1818, 0x2020)});
    Put(t.source, Section(2, 24, 0x50));
    t.base = Items({Item(1, 0, 0, 0, 0, 0)});
    Put(t.base, Section(3, 24, 0x60));
    Put(t.base, W16(6));
    Put(t.base, Pattern(6, 0xEE));
    Put(t.base, Pattern(900, 0x10));
    Put(t.base, Section(2, 8, 0x20));
    Put(t.base, Section(3, 4, 0x30));
    Put(t.base, Pattern(5, 0xDD));  // between the sound tables and the samples: dropped
    t.samplesPos = static_cast<int32_t>(t.base.size() + 1);
    t.samples = Pattern(sampleBytes, 0x80);
    Put(t.base, t.samples);
    t.head = Pattern(10, 1);
    Put(t.head, L32(0x0BADF00D));
    Put(t.head, L32(0x0BADF00D));
    Put(t.head, Pattern(20, 0x40));
    return t;
}
}  // namespace

TEST(FileTail, Tr5CopiesSoundDataAndPatchesTheGeometrySizeInFrontOfTheSamples) {
    StageFixture f;
    f.prog.form.Check3.SetValue(1);
    f.prog.form.Check4.SetValue(1);
    Tr5Tail t = MakeTr5Tail(50);
    f.Open(6, t.source, t.base, t.head);
    f.prog.state.GeometryHeaderPos = 11;
    f.prog.state.SamplesPos = t.samplesPos;
    f.prog.state.LaraPosition = {4, 4, 4};
    CopyItemsAndTail(f.prog);

    Bytes expected = t.head;
    Put(expected, Items({Item(0, 1, 2, 3, 0x1818, 0x2020)}));  // unchanged on TR5
    Put(expected, Section(2, 24, 0x50));
    Put(expected, W16(0));
    Put(expected, Pattern(900, 0x10));
    Put(expected, Section(2, 8, 0x20));
    Put(expected, Section(3, 4, 0x30));
    int32_t geometrySize = static_cast<int32_t>(expected.size() - 18);
    std::copy_n(L32(geometrySize).begin(), 4, expected.begin() + 10);
    std::copy_n(L32(geometrySize).begin(), 4, expected.begin() + 14);
    Put(expected, t.samples);
    EXPECT_EQ(f.Output(), expected);
    EXPECT_EQ(f.prog.state.LaraPosition.X, 4);
    EXPECT_EQ(f.prog.state.LevelEndPos, int32_t(expected.size() - 50 + 1));
    EXPECT_EQ(f.Messages(), (std::vector<std::string>{"Copying items", "Copying TR5 sound map",
                                                      "Coping sound data", "Reading samples from base level",
                                                      "Writing geometry size", "Writing samples",
                                                      "Optimizing textures"}));
    ASSERT_EQ(f.platform.started.size(), 1u);
    EXPECT_EQ(f.platform.started[0], f.dir / "toptimizer.exe" + " " + (f.dir / "new.bin"));
}

