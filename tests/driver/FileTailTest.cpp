#include "driver/FileTail.h"

#include "driver/SectionsTestSupport.h"

using namespace sections_test;

namespace {
Bytes Item(int objectId, int x, int y, int z, int word18, int word20) {
    return Cat({W16(objectId), W16(0x102), L32(x), L32(y), L32(z), W16(0x216), W16(word18), W16(word20), W16(0x322)});
}
Bytes Items(const std::vector<Bytes>& items) {
    Bytes b = L32(static_cast<int32_t>(items.size()));
    for (auto& i : items) Put(b, i);
    return b;
}
// A TR1 to TR3 base from its items on: items, colour map, a frame table, TR1 palette, rest.
Bytes ClassicBaseTail(bool tr1Palette, bool frames) {
    return Cat({Section(3, 24, 0x30), Pattern(8192, 0x40), frames ? Cat({W16(3), Pattern(48, 0x90)}) : Bytes(),
                tr1Palette ? Pattern(768, 0x70) : Bytes(), Pattern(100, 0xC0)});
}
}  // namespace

// TR3 with Erase items and no Lara item: an empty table and a beep. TR1 with Cutscene: Lara's position
// from the last Lara item, the base's frame table replaced by the built one (empty), the palette,
// then the optimizer.
TEST(FileTail, ItemsThenTheRestOfTheBase) {
    for (auto [target, erase, cutscene, lara] : {std::tuple{1, false, true, 0}, std::tuple{4, true, false, 6}}) {
        SCOPED_TRACE(testing::Message() << target << erase << lara);
        StageFixture f;
        f.prog.form.Check1.SetValue(erase);
        f.prog.form.Check3.SetValue(cutscene);
        f.prog.form.Check4.SetValue(cutscene);
        Bytes source = Items({Item(5, 4, 5, 6, 1, 0), Item(lara, 1, 2, 3, 24, 25), Item(lara, 7, -8, 9, 3, 2)});
        Put(source, Section(1, 24, 0x50));  // AI objects: passed by
        f.Open(target, source, ClassicBaseTail(target == 1, cutscene), Pattern(5, 1));
        f.prog.state.LaraPosition = {-1, -1, -1};
        CopyItemsAndTail(f.prog);
        const Bytes items =
            erase ? L32(0) : Items({Item(5, 4, 5, 6, 1, 1), Item(0, 1, 2, 3, 24, 24), Item(0, 7, -8, 9, 3, 3)});
        const Bytes expected = Cat({Pattern(5, 1), items, Pattern(8192, 0x40), cutscene ? W16(0) : Bytes(),
                                    target == 1 ? Pattern(768, 0x70) : Bytes(), Pattern(100, 0xC0)});
        EXPECT_EQ(f.Output(), expected);
        EXPECT_EQ(f.prog.channels.Pos(1), int64_t(source.size() + 1));
        const LaraPoint& p = f.prog.state.LaraPosition;
        EXPECT_EQ(std::tuple(p.X, p.Y, p.Z), cutscene ? std::tuple(7, -8, 9) : std::tuple(-1, -1, -1));
        EXPECT_EQ(f.prog.form.p.Value(), 90);
        EXPECT_EQ(f.Logged("Copying TR1 8 bit palette"), target == 1);
        EXPECT_EQ(f.Messages().back(), cutscene ? "Optimizing textures with toptimizer.exe" : "Copying color map");
        std::string command = f.dir / "toptimizer.exe" + " " + (f.dir / "new.bin");
        EXPECT_EQ(f.platform.started, cutscene ? std::vector{command} : std::vector<std::string>());
        EXPECT_EQ(f.platform.doEvents, int(cutscene));
        EXPECT_EQ(f.platform.beeps, lara ? 1 : 0);
        EXPECT_EQ(f.Logged("ConvertLevel() -> Error: no Lara item in source level, all items erased!"), lara != 0);
    }
}
