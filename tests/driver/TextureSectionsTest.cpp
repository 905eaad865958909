// Tile areas of the new level per target, built from small levels with recognisable tiles.
#include <gtest/gtest.h>

#include "rooms/RoomTestSupport.h"

namespace {
using Bytes = std::vector<uint8_t>;

// `tiles16` 16-bit tiles, of which `roomTiles` are room tiles.
Tr4SourceBuilder SmallSource(int roomTiles, int tiles16) {
    Tr4SourceBuilder s;
    s.NumRoomTiles = int16_t(roomTiles);
    s.Tiles16 = TilePattern(tiles16, 131072, 0x60);
    s.Rooms = {MakeRoom(1, 4, 1, 1, 0, 0, 0, 0)};
    return s;
}

// `halfTiles` half 32-bit tiles, to show how the base's tile count is rounded.
TextureHead SmallTr5Base(int halfTiles, int roomTiles) {
    return {.NumRoomTiles = int16_t(roomTiles), .OtherTileCounts = {7, -2},
            .Tiles32 = TilePattern(halfTiles, 131072, 0x10), .Tiles16 = TilePattern(2, 131072, 0x20),
            .Misc = TilePattern(1, 1000, 0x40)};
}
// The last log line of the error path: the box's text and the error number.
std::string ErrorLine(const RoomsFixture& f, int number) {
    std::string box = f.platform.boxes.empty() ? "no box" : f.platform.boxes[0].First();
    return box + " (" + std::to_string(number) + ")";
}
}  // namespace

// With no room tile TR1 and Gold stop where the blank tiles would go; TR2 and TR3 write the
// base's tiles alone, and the rooms follow them.
TEST(TextureSections, NoRoomTileStopsOnlyTr1AndGold) {
    for (int version : {1, 2, 3, 4}) {
        SCOPED_TRACE(version);
        const ClassicBaseBuilder base{.Version = version, .TileCount = 2, .Tiles8 = TilePattern(2, 65536, 0x80),
                                      .Tiles16 = TilePattern(2, 131072, 0xA0), .RoomsLeadWord = 0x55667788,
                                      .Rooms = {MakeRoom(9, 3, 1, 0, 0, 0, 1, 1)}};
        RoomsFixture f;
        Bytes out = f.Convert(SmallSource(0, 1).Build(), base.Build(), version == 2 ? "base.TUB" : "base.TR2");
        if (version < 3) {
            EXPECT_EQ(f.LastLine(), ErrorLine(f, 9));
        } else {
            EXPECT_EQ(Long(out, 1796), 2);
            EXPECT_EQ(Long(out, 1800 + 2 * (65536 + 131072)), 0x55667788);
        }
    }
}

// The base's tile count comes from its 32-bit block's length, rounded half to even (2.5 tiles: 2,
// 3.5 tiles: 4); room tile counts of none or past 16 bits stop.
TEST(TextureSections, Tr5RoundsTheBaseTileCountAndStopsOnBadRoomTileCounts) {
    const int cases[4][5] = {{5, 1, 4, 2, 0}, {7, 1, 4, 4, 0}, {2, 0, 4, 0, 9}, {2, 1, 32767, 0, 6}};
    for (auto& [halfTiles, r, baseR, count, error] : cases) {  // half tiles, R, base R, tile count, error
        RoomsFixture g;
        g.Convert(SmallSource(r, 1).Build(), SmallTr5Base(halfTiles, baseR).Build(), "base.TRC");
        if (error == 0) EXPECT_EQ(g.prog.state.BaseTileCount, count);
        if (error != 0) EXPECT_EQ(g.LastLine(), ErrorLine(g, error));
    }
}

// TR1 and Gold don't inflate the source's 16-bit tiles, but a size word the inflate could not
// take stops them as it stops TR2 and TR3.
TEST(TextureSections, EveryOlderTargetStopsOnA16BitSizeWordTheInflateCannotTake) {
    for (auto [size, error] : {std::pair{-1000, 9}, std::pair{600000000, 7}})
        for (int version : {1, 2, 3, 4}) {
            SCOPED_TRACE(testing::Message() << version << " " << size);
            Bytes src = SmallSource(1, 1).Build();
            const size_t tiles16At = 18 + size_t(Long(src, 14));  // behind the 32-bit block
            for (int k = 0; k < 4; ++k) src[tiles16At + k] = uint8_t(uint32_t(size) >> (8 * k));
            RoomsFixture f;
            f.Convert(src, ClassicBaseBuilder{.Version = version}.Build(), version == 2 ? "base.TUB" : "base.TR2");
            EXPECT_EQ(f.LastLine(), ErrorLine(f, error));
        }
}
