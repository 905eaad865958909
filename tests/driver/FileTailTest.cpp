#include "driver/FileTail.h"

#include "driver/SectionsTestSupport.h"

using namespace sections_test;

namespace {
Bytes Item(int objectId, int x, int y, int z, int word18, int word20, int seed = 0) {
    Bytes b = W16(objectId);
    Put(b, W16(0x100 + seed));
    for (int v : {x, y, z}) Put(b, L32(v));
    for (int v : {0x200 + seed, word18, word20, 0x300 + seed}) Put(b, W16(v));
    return b;
}
Bytes Items(const std::vector<Bytes>& items) {
    Bytes b = L32(static_cast<int32_t>(items.size()));
    for (auto& i : items) Put(b, i);
    return b;
}
// A TR1 to TR3 base from its items on: items, colour map, frames if given, TR1 palette, rest.
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
    EXPECT_EQ(f.prog.state.LaraPosition.X, 7);  // only taken with the Cutscene option
    EXPECT_EQ(f.Messages(), (std::vector<std::string>{"Copying items", "Copying color map"}));
    EXPECT_EQ(f.prog.form.p.Value(), 90);
    EXPECT_TRUE(f.platform.started.empty());
}

// The base's frame table is replaced by the built one (empty here: no flyby cameras), and the
// TR1 palette and the rest of the base follow it.
TEST(FileTail, Tr1CutsceneReplacesTheBaseFramesAndStartsTheOptimizer) {
    StageFixture f;
    f.prog.form.Check4.SetValue(1);
    f.prog.form.Check3.SetValue(1);
    Bytes source = Items({Item(0, 1, 1, 1, 0, 0), Item(0, 1000, -200, 3000, 0, 0), Item(4, 0, 0, 0, 0, 0)});
    Put(source, L32(0));
    Bytes baseFrames = W16(3);
    Put(baseFrames, Pattern(48, 0x90));
    f.Open(1, source, ClassicBaseTail(true, baseFrames));
    f.prog.state.NumFlybyCameras = 0;
    CopyItemsAndTail(f.prog);

    EXPECT_EQ(f.prog.state.LaraPosition.X, 1000);  // the last of several Lara items stands
    EXPECT_EQ(f.prog.state.LaraPosition.Y, -200);
    EXPECT_EQ(f.prog.state.LaraPosition.Z, 3000);
    Bytes expected = Items({Item(0, 1, 1, 1, 0, 0), Item(0, 1000, -200, 3000, 0, 0), Item(4, 0, 0, 0, 0, 0)});
    Put(expected, Pattern(8192, 0x40));
    Put(expected, W16(0));
    Put(expected, Pattern(768, 0x70));
    Put(expected, Pattern(100, 0xC0));
    EXPECT_EQ(f.Output(), expected);
    EXPECT_TRUE(f.Logged("Copying TR1 8 bit palette"));
    EXPECT_EQ(f.Messages().back(), "Optimizing textures with toptimizer.exe");
    ASSERT_EQ(f.platform.started.size(), 1u);
    EXPECT_EQ(f.platform.started[0], f.dir / "toptimizer.exe" + " " + (f.dir / "new.bin"));
    EXPECT_EQ(f.platform.doEvents, 1);

    StageFixture g;  // an optimizer that cannot start is a run-time error
    g.prog.form.Check3.SetValue(1);
    g.platform.startSucceeds = false;
    g.Open(3, source, ClassicBaseTail(false));
    EXPECT_EQ(ErrorOf([&] { CopyItemsAndTail(g.prog); }), Err::FileNotFound);
}

// Erase items keeps the first Lara item as read; without one the table is empty and a beep sounds.
TEST(FileTail, EraseItemsKeepsTheFirstLaraItemAsRead) {
    for (bool lara : {true, false}) {
        StageFixture f;
        f.prog.form.Check1.SetValue(1);
        Bytes source = Items({Item(5, 0, 0, 0, 1, 2), Item(lara ? 0 : 6, 10, 20, 30, 9, 3, 1), Item(0, 4, 5, 6, 9, 4)});
        if (!lara) source = Items({Item(5, 0, 0, 0, 1, 2)});
        Put(source, L32(0));
        f.Open(4, source, ClassicBaseTail(false));
        CopyItemsAndTail(f.prog);
        Bytes expected = L32(lara ? 1 : 0);
        if (lara) Put(expected, Item(0, 10, 20, 30, 9, 3, 1));
        Put(expected, Pattern(8192, 0x40));
        Put(expected, Pattern(100, 0xC0));
        EXPECT_EQ(f.Output(), expected);
        EXPECT_EQ(f.platform.beeps, lara ? 0 : 1);
        EXPECT_EQ(f.Logged("ConvertLevel() -> Error: no Lara item in source level, all items erased!"), !lara);
    }
}

// TR5: items pass unchanged, a zero word stands for the base's counted bytes, the sound tables
// follow, and the samples go behind the geometry size that is patched at the head.
TEST(FileTail, Tr5CopiesSoundDataAndPatchesTheGeometrySizeInFrontOfTheSamples) {
    StageFixture f;
    f.prog.form.Check3.SetValue(1);
    f.prog.form.Check4.SetValue(1);  // no effect on TR5
    Bytes source = Items({Item(0, 1, 2, 3, 0x1818, 0x2020)});
    Put(source, Section(2, 24, 0x50));
    Bytes base = Items({Item(1, 0, 0, 0, 0, 0)});
    Put(base, Section(3, 24, 0x60));
    Put(base, W16(6));
    Put(base, Pattern(6, 0xEE));
    Bytes sound = Pattern(900, 0x10);
    Put(sound, Section(2, 8, 0x20));
    Put(sound, Section(3, 4, 0x30));
    Put(base, sound);
    Put(base, Pattern(5, 0xDD));  // between the sound tables and the samples: dropped
    f.prog.state.SamplesPos = static_cast<int32_t>(base.size() + 1);
    Put(base, Pattern(50, 0x80));
    Bytes head = Pattern(10, 1);
    Put(head, Pattern(28, 0x40));
    f.Open(6, source, base, head);
    f.prog.state.GeometryHeaderPos = 11;
    f.prog.state.LaraPosition = {4, 4, 4};
    CopyItemsAndTail(f.prog);

    Bytes expected = head;
    Put(expected, source);
    Put(expected, W16(0));
    Put(expected, sound);
    int32_t geometrySize = static_cast<int32_t>(expected.size() - 18);
    std::copy_n(L32(geometrySize).begin(), 4, expected.begin() + 10);
    std::copy_n(L32(geometrySize).begin(), 4, expected.begin() + 14);
    Put(expected, Pattern(50, 0x80));
    EXPECT_EQ(f.Output(), expected);
    EXPECT_EQ(f.prog.state.LaraPosition.X, 4);
    EXPECT_EQ(f.prog.state.LevelEndPos, int32_t(expected.size() - 50 + 1));
    EXPECT_EQ(f.Messages(), (std::vector<std::string>{"Copying items", "Copying TR5 sound map",
                                                      "Coping sound data", "Reading samples from base level",
                                                      "Writing geometry size", "Writing samples",
                                                      "Optimizing textures"}));
}
