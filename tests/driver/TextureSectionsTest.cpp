// Tile areas of the new level per target, built from small levels with recognisable tiles.
#include <gtest/gtest.h>

#include <algorithm>

#include "rooms/RoomTestSupport.h"

namespace {
using Bytes = std::vector<uint8_t>;

// The source's 16-bit block holds `tiles16` tiles, of which `roomTiles` are room tiles.
Tr4SourceBuilder SmallSource(int16_t roomTiles, int tiles16) {
    Tr4SourceBuilder s;
    s.NumRoomTiles = roomTiles;
    s.Tiles32 = TilePattern(std::max<int>(roomTiles, 1), 262144, 0x30);
    s.Tiles16 = TilePattern(tiles16, 131072, 0x60);
    s.Misc = {1, 2, 3};
    s.Rooms = {MakeRoom(1, 4, 1, 1, 0, 0, 0, 0)};
    return s;
}

ClassicBaseBuilder SmallBase(int version) {
    ClassicBaseBuilder b;
    b.Version = version;
    b.TileCount = 2;
    b.Palette8 = TilePattern(1, 768, 0x08);
    b.Palette16 = TilePattern(1, 1024, 0x16);
    b.Tiles8 = TilePattern(2, 65536, 0x80);
    b.Tiles16 = TilePattern(2, 131072, 0xA0);
    b.RoomsLeadWord = 0x55667788;
    b.Rooms = {MakeRoom(9, 3, 1, 0, 0, 0, 1, 1)};
    return b;
}

// True when `part` stands in `file` at `offset`.
bool Holds(const Bytes& file, size_t offset, const Bytes& part) {
    return offset + part.size() <= file.size() && std::equal(part.begin(), part.end(), file.begin() + long(offset));
}

// The last log line of the error path: the box's text and the error number.
std::string ErrorLine(const RoomsFixture& f, int number) {
    return (f.platform.boxes.empty() ? "no box" : f.platform.boxes[0].text) + " (" + std::to_string(number) + ")";
}
}  // namespace

// The 8-bit area is all zero; behind the base's 16-bit tiles only the first R source tiles
// follow (the source holds one more), and with R = 0 nothing.
TEST(TextureSections, Tr2AndTr3ZeroThe8BitAreaAndAppendTheFirstRoomTiles) {
    for (int version : {3, 4})
        for (int16_t r : {0, 2}) {
            SCOPED_TRACE(testing::Message() << version << " " << r);
            RoomsFixture f;
            ClassicBaseBuilder base = SmallBase(version);
            Tr4SourceBuilder src = SmallSource(r, r + 1);
            Bytes out = f.Convert(src.Build(), base.Build(), "base.TR2");
            Bytes tiles16 = base.Tiles16;
            tiles16.insert(tiles16.end(), src.Tiles16.begin(), src.Tiles16.begin() + r * 131072);
            size_t tiles = 2 + size_t(r), at16 = 1800 + tiles * 65536;
            EXPECT_TRUE(Holds(out, 4, base.Palette8) && Holds(out, 772, base.Palette16));
            EXPECT_EQ(Long(out, 1796), int32_t(tiles));
            EXPECT_TRUE(Holds(out, 1800, Bytes(tiles * 65536, 0)));
            EXPECT_TRUE(Holds(out, at16, tiles16));
            EXPECT_EQ(Long(out, at16 + tiles16.size()), 0x55667788) << "the rooms follow at once";
            EXPECT_EQ(f.prog.state.BaseTileCount, 2);
        }
}

// TR1 and Gold get R blank tiles behind the base's; without room tiles they stop.
TEST(TextureSections, Tr1AndGoldAddBlankRoomTilesAndNeedSome) {
    for (int version : {1, 2}) {
        std::string name = version == 1 ? "base.PHD" : "base.TUB";
        RoomsFixture f;
        ClassicBaseBuilder base = SmallBase(version);
        Bytes out = f.Convert(SmallSource(2, 2).Build(), base.Build(), name);
        EXPECT_EQ(Long(out, 4), 4);
        EXPECT_TRUE(Holds(out, 8, base.Tiles8));
        EXPECT_TRUE(Holds(out, 8 + 2 * 65536, Bytes(2 * 65536, 0)));
        EXPECT_EQ(Long(out, 8 + 4 * 65536), 0x55667788);

        RoomsFixture g;
        g.Convert(SmallSource(0, 1).Build(), base.Build(), name);
        EXPECT_EQ(g.Messages().back(), ErrorLine(g, 9)) << name;
    }
}

namespace {
// The base's 32-bit block holds `halfTiles` half tiles, to show how its tile count is rounded.
Tr5BaseBuilder SmallTr5Base(int halfTiles, int16_t roomTiles = 4) {
    Tr5BaseBuilder b;
    b.NumRoomTiles = roomTiles;
    b.OtherTileCounts[0] = 7;
    b.OtherTileCounts[1] = -2;
    b.Tiles32 = TilePattern(halfTiles, 131072, 0x10);
    b.Tiles16 = TilePattern(2, 131072, 0x20);
    b.Misc = TilePattern(1, 1000, 0x40);
    b.AfterTextures = {9, 9, 9, 9};
    return b;
}
}  // namespace

// Each block is the base's tiles and the first R source tiles, deflated again, with the real
// lengths in its size words; the misc block is the base's, size words included.
TEST(TextureSections, Tr5JoinsBothBlocksWithTheirRealLengths) {
    RoomsFixture f;
    Tr5BaseBuilder base = SmallTr5Base(5);  // 2.5 tiles: the count rounds to 2
    Tr4SourceBuilder src = SmallSource(1, 3);
    src.Tiles32 = TilePattern(2, 262144, 0x50);
    Bytes out = f.Convert(src.Build(), base.Build(), "base.trc");
    EXPECT_EQ(Word(out, 4), 5);
    EXPECT_EQ(Word(out, 6), 7);
    EXPECT_EQ(Word(out, 8), -2);
    EXPECT_EQ(f.prog.state.BaseTileCount, 2);
    EXPECT_EQ(Long(out, 14), FileLength(f.dir / "texture32.zlib"));
    size_t next = 10;
    for (auto [baseTiles, srcTiles, tileSize] : {std::tuple{&base.Tiles32, &src.Tiles32, 262144},
                                                 std::tuple{&base.Tiles16, &src.Tiles16, 131072}}) {
        size_t block = next;
        Bytes joined = *baseTiles;
        joined.insert(joined.end(), srcTiles->begin(), srcTiles->begin() + tileSize);
        EXPECT_TRUE(InflateBlockAt(out, block, next) == joined) << tileSize;
        EXPECT_EQ(Long(out, block), int32_t(joined.size()));
    }
    Bytes baseBytes = base.Build();
    size_t miscSize = 8 + size_t(Long(out, next + 4));
    EXPECT_EQ(Long(out, next), 1000);
    EXPECT_TRUE(Holds(out, next, Bytes(baseBytes.end() - 4 - long(miscSize), baseBytes.end() - 4)));
    EXPECT_EQ(ReadFileBytes(f.dir / "texture2.unc"), src.Tiles16) << "the second pass replaces the first";
}

TEST(TextureSections, Tr5RoundsTheBaseTileCountHalfToEvenAndChecksTheRoomTiles) {
    RoomsFixture f;
    f.Convert(SmallSource(1, 1).Build(), SmallTr5Base(7).Build(), "base.TRC");  // 3.5 tiles
    EXPECT_EQ(f.prog.state.BaseTileCount, 4);
    RoomsFixture none;
    none.Convert(SmallSource(0, 1).Build(), SmallTr5Base(2).Build(), "base.TRC");
    EXPECT_EQ(none.Messages().back(), ErrorLine(none, 9));
    RoomsFixture sum;
    sum.Convert(SmallSource(1, 1).Build(), SmallTr5Base(2, 32767).Build(), "base.TRC");
    EXPECT_EQ(sum.Messages().back(), ErrorLine(sum, 6));
}
