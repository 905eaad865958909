#include "driver/FileTail.h"

#include "driver/SectionsTestSupport.h"

using namespace sections_test;

namespace {
Bytes Item(int objectId, int x, int y, int z, int word18, int word20) {
    Bytes b = W16(objectId);
    Put(b, W16(0x102));
    for (int v : {x, y, z}) Put(b, L32(v));
    for (int v : {0x216, word18, word20, 0x322}) Put(b, W16(v));
    return b;
}
Bytes Items(const std::vector<Bytes>& items) {
    Bytes b = L32(static_cast<int32_t>(items.size()));
    for (auto& i : items) Put(b, i);
    return b;
}
// A TR1 to TR3 base from its items on: items, colour map, frames if given, TR1 palette, rest.
Bytes ClassicBaseTail(bool tr1Palette, const Bytes& frames = {}) {
    Bytes b = Section(3, 24, 0x30);
    Put(b, Pattern(8192, 0x40));
    Put(b, frames);
    if (tr1Palette) Put(b, Pattern(768, 0x70));
    Put(b, Pattern(100, 0xC0));
    return b;
}
}  // namespace

// Word18 is copied into Word20, or with Erase items only the first Lara item stays, as read;
// the AI objects are passed by and the rest of the base follows the colour map.
TEST(FileTail, Tr3ItemsThenTheRestOfTheBase) {
    for (bool erase : {false, true}) {
        SCOPED_TRACE(erase);
        StageFixture f;
        f.prog.form.Check1.SetValue(erase);
        Bytes source = Items({Item(5, 4, 5, 6, 0x0718, 0), Item(0, 1, 2, 3, 0x1818, 0x2020), Item(0, 7, 7, 7, 1, 2)});
        Put(source, Section(1, 24, 0x50));
        f.Open(4, source, ClassicBaseTail(false), Pattern(5, 1));
        f.prog.state.LaraPosition = {7, 8, 9};
        CopyItemsAndTail(f.prog);
        Bytes expected = Pattern(5, 1);
        if (erase)
            Put(expected, Items({Item(0, 1, 2, 3, 0x1818, 0x2020)}));
        else
            Put(expected, Items({Item(5, 4, 5, 6, 0x0718, 0x0718), Item(0, 1, 2, 3, 0x1818, 0x1818),
                                 Item(0, 7, 7, 7, 1, 1)}));
        Put(expected, Pattern(8192, 0x40));
        Put(expected, Pattern(100, 0xC0));
        EXPECT_EQ(f.Output(), expected);
        EXPECT_EQ(f.prog.channels.Pos(1), int64_t(source.size() + 1));
        EXPECT_EQ(f.prog.state.LaraPosition.X, 7);  // only taken with the Cutscene option
        EXPECT_EQ(f.Messages(), (std::vector<std::string>{"Copying items", "Copying color map"}));
        EXPECT_EQ(f.prog.form.p.Value(), 90);
        EXPECT_TRUE(f.platform.started.empty());
    }
}

// The base's frame table is replaced by the built one (empty here: no flyby cameras), and the
// TR1 palette and the rest of the base follow it. An optimizer that cannot start is an error.
TEST(FileTail, Tr1CutsceneReplacesTheBaseFramesAndStartsTheOptimizer) {
    StageFixture f;
    f.prog.form.Check4.SetValue(1);
    f.prog.form.Check3.SetValue(1);
    Bytes source = Items({Item(0, 1, 1, 1, 0, 0), Item(0, 1000, -200, 3000, 0, 0), Item(4, 0, 0, 0, 0, 0)});
    Bytes expected = source;
    Put(source, L32(0));
    Bytes baseFrames = W16(3);
    Put(baseFrames, Pattern(48, 0x90));
    f.Open(1, source, ClassicBaseTail(true, baseFrames));
    f.prog.state.NumFlybyCameras = 0;
    CopyItemsAndTail(f.prog);
    const LaraPoint& lara = f.prog.state.LaraPosition;  // the last of several Lara items stands
    EXPECT_EQ(std::tuple(lara.X, lara.Y, lara.Z), std::tuple(1000, -200, 3000));
    Put(expected, Pattern(8192, 0x40));
    Put(expected, W16(0));
    Put(expected, Pattern(768, 0x70));
    Put(expected, Pattern(100, 0xC0));
    EXPECT_EQ(f.Output(), expected);
    EXPECT_TRUE(f.Logged("Copying TR1 8 bit palette"));
    EXPECT_EQ(f.Messages().back(), "Optimizing textures with toptimizer.exe");
    EXPECT_EQ(f.platform.started, std::vector<std::string>{f.dir / "toptimizer.exe" + " " + (f.dir / "new.bin")});
    EXPECT_EQ(f.platform.doEvents, 1);

    StageFixture g;
    g.prog.form.Check3.SetValue(1);
    g.platform.startSucceeds = false;
    g.Open(3, source, ClassicBaseTail(false));
    EXPECT_EQ(ErrorOf([&] { CopyItemsAndTail(g.prog); }), Err::FileNotFound);
}
