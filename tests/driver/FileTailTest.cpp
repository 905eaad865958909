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
// A TR1 to TR3 base from its items on: items, colour map, a frame table, TR1 palette, rest.
Bytes ClassicBaseTail(bool tr1Palette, bool frames) {
    Bytes b = Section(3, 24, 0x30);
    Put(b, Pattern(8192, 0x40));
    if (frames) Put(b, W16(3));
    if (frames) Put(b, Pattern(48, 0x90));
    if (tr1Palette) Put(b, Pattern(768, 0x70));
    Put(b, Pattern(100, 0xC0));
    return b;
}
}  // namespace

// TR3: Word18 is copied into Word20, or with Erase items only the first Lara item stays, as
// read. TR1 with the Cutscene option: Lara's position from the last Lara item, the base's frame
// table replaced by the built one (empty: no flyby cameras), the palette, then the optimizer.
TEST(FileTail, ItemsThenTheRestOfTheBase) {
    for (auto [target, erase, cutscene] :
         {std::tuple{4, false, false}, std::tuple{4, true, false}, std::tuple{1, false, true}}) {
        SCOPED_TRACE(testing::Message() << target << erase);
        StageFixture f;
        f.prog.form.Check1.SetValue(erase);
        f.prog.form.Check3.SetValue(cutscene);
        f.prog.form.Check4.SetValue(cutscene);
        Bytes source = Items({Item(5, 4, 5, 6, 1, 0), Item(0, 1, 2, 3, 24, 25), Item(0, 7, -8, 9, 3, 2)});
        Put(source, Section(1, 24, 0x50));  // AI objects: passed by
        f.Open(target, source, ClassicBaseTail(target == 1, cutscene), Pattern(5, 1));
        f.prog.state.LaraPosition = {-1, -1, -1};
        CopyItemsAndTail(f.prog);
        Bytes expected = Pattern(5, 1);
        if (erase)
            Put(expected, Items({Item(0, 1, 2, 3, 24, 25)}));
        else
            Put(expected, Items({Item(5, 4, 5, 6, 1, 1), Item(0, 1, 2, 3, 24, 24), Item(0, 7, -8, 9, 3, 3)}));
        Put(expected, Pattern(8192, 0x40));
        if (cutscene) Put(expected, W16(0));
        if (target == 1) Put(expected, Pattern(768, 0x70));
        Put(expected, Pattern(100, 0xC0));
        EXPECT_EQ(f.Output(), expected);
        EXPECT_EQ(f.prog.channels.Pos(1), int64_t(source.size() + 1));
        const LaraPoint& p = f.prog.state.LaraPosition;
        EXPECT_EQ(std::tuple(p.X, p.Y, p.Z), cutscene ? std::tuple(7, -8, 9) : std::tuple(-1, -1, -1));
        EXPECT_EQ(f.prog.form.p.Value(), 90);
        EXPECT_EQ(f.Logged("Copying TR1 8 bit palette"), target == 1);
        const char* last = cutscene ? "Optimizing textures with toptimizer.exe" : "Copying color map";
        EXPECT_EQ(f.Messages().back(), last);
        std::string command = f.dir / "toptimizer.exe" + " " + (f.dir / "new.bin");
        EXPECT_EQ(f.platform.started, cutscene ? std::vector{command} : std::vector<std::string>());
        EXPECT_EQ(f.platform.doEvents, int(cutscene));
    }
}

// With the engine layout TR1 and Gold keep their engines' order: colour map, palette, then the
// cinematic frames. The palette comes from behind the base's colour map (TR1, and a Gold base in
// that layout) or, for a Gold base that keeps it behind its sprite sequences, as read there.
TEST(FileTail, EngineLayoutPutsThePaletteBetweenColourMapAndFrames) {
    for (auto [target, paletteInTail] : {std::pair{1, true}, {2, true}, {2, false}}) {
        SCOPED_TRACE(testing::Message() << target << paletteInTail);
        StageFixture f;
        f.prog.form.Check4.SetValue(1);
        f.prog.form.Check6.SetValue(1);
        f.prog.state.BasePaletteBehindColourMap = target == 2 && paletteInTail;
        f.prog.state.BasePalette = Pattern(768, 0x10);
        Bytes source = Items({Item(0, 1, 2, 3, 24, 25)});
        Put(source, L32(0));
        Bytes base = Section(2, 22, 0x30);  // the base's 22-byte items
        Put(base, Pattern(8192, 0x40));
        if (paletteInTail) Put(base, Pattern(768, 0x70));
        Put(base, W16(3));
        Put(base, Pattern(48 + 100, 0x90));  // frames, then the rest
        f.Open(target, source, base);
        CopyItemsAndTail(f.prog);

        Bytes item = Item(0, 1, 2, 3, 24, 24);
        item.erase(item.begin() + 20, item.begin() + 22);
        Bytes expected = L32(1);
        Put(expected, item);
        Put(expected, Pattern(8192, 0x40));
        Put(expected, Pattern(768, paletteInTail ? 0x70 : 0x10));
        Put(expected, W16(0));  // no flyby cameras, no frames
        Put(expected, Pattern(100, 0x90 + 48));
        EXPECT_EQ(f.Output(), expected);
        EXPECT_TRUE(f.Logged(target == 1 ? "Copying TR1 8 bit palette"
                                         : "Copying Tomb Raider Unfinished Business 8 bit palette"));
    }
}

// Our choice where the rules leave it open: no Lara item to keep writes an empty item table.
TEST(FileTail, EraseItemsWithoutALaraItemWritesAnEmptyTableAndBeeps) {
    StageFixture f;
    f.prog.form.Check1.SetValue(1);
    Bytes source = Items({Item(5, 0, 0, 0, 1, 2), Item(6, 0, 0, 0, 1, 2)});
    Put(source, L32(0));
    f.Open(3, source, ClassicBaseTail(false, false));
    CopyItemsAndTail(f.prog);
    Bytes expected = L32(0);
    Put(expected, Pattern(8192, 0x40));
    Put(expected, Pattern(100, 0xC0));
    EXPECT_EQ(f.Output(), expected);
    EXPECT_EQ(f.platform.beeps, 1);
    EXPECT_TRUE(f.Logged("ConvertLevel() -> Error: no Lara item in source level, all items erased!"));
}
