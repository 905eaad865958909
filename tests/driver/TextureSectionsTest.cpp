// Tile areas of the new level per target, built from small levels with recognisable tiles.
#include <gtest/gtest.h>

#include <algorithm>

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
TextureHead SmallTr5Base(int halfTiles, int roomTiles = 4) {
    return {.NumRoomTiles = int16_t(roomTiles), .OtherTileCounts = {7, -2}, .Tiles32 = TilePattern(halfTiles, 131072, 0x10),
            .Tiles16 = TilePattern(2, 131072, 0x20), .Misc = TilePattern(1, 1000, 0x40)};
}
bool Holds(const Bytes& file, size_t offset, const Bytes& part) {
    return offset + part.size() <= file.size() && std::equal(part.begin(), part.end(), file.begin() + long(offset));
}
// The last log line of the error path: the box's text and the error number.
std::string ErrorLine(const RoomsFixture& f, int number) {
    std::string box = f.platform.boxes.empty() ? "no box" : f.platform.boxes[0].First();
    return box + " (" + std::to_string(number) + ")";
}
}  // namespace

// TR1/Gold: the base's 8-bit tiles, then R blank ones (R = 0 stops). TR2/TR3: N + R zero 8-bit
// tiles, the base's 16-bit tiles, then the source's first R. The engine layout keeps the base's 8-bit
// tiles: TR2/TR3 map the room tiles into the base's palette (black: 1, 0 where alpha < 128), TR1/Gold
// leave them to the file tail.
TEST(TextureSections, TileAreasOfTheOlderTargets) {
    for (int version : {1, 2, 3, 4})
        for (int r : {0, 2})
            for (int engine : {0, 1}) {
                SCOPED_TRACE(testing::Message() << version << " " << r << " " << engine);
                const ClassicBaseBuilder base{.Version = version, .TileCount = 2, .Tiles8 = TilePattern(2, 65536, 0x80),
                                              .Tiles16 = TilePattern(2, 131072, 0xA0), .RoomsLeadWord = 0x55667788,
                                              .Rooms = {MakeRoom(9, 3, 1, 0, 0, 0, 1, 1)}};
                Tr4SourceBuilder src = SmallSource(r, r + 1);
                src.Tiles32 = TilePattern(r + 1, 262144, 0x7C);  // alpha from 124 to 131
                RoomsFixture f;
                f.prog.form.Check6.SetValue(engine);
                Bytes out = f.Convert(src.Build(), base.Build(), version == 2 ? "base.TUB" : "base.TR2");
                bool tr1 = version < 3;
                if (tr1 && r == 0) {
                    EXPECT_EQ(f.LastLine(), ErrorLine(f, 9));
                    continue;
                }
                Bytes area = tr1 || engine ? base.Tiles8 : Bytes(size_t(2 + r) * 65536, 0);
                for (size_t i = 0; !tr1 && engine && i < size_t(r) * 65536; ++i)
                    area.push_back(src.Tiles32[i * 4 + 3] < 128 ? 0 : 1);
                Bytes more = tr1 ? Bytes(size_t(r) * 65536, 0) : base.Tiles16;
                if (!tr1) more.insert(more.end(), src.Tiles16.begin(), src.Tiles16.begin() + r * 131072);
                area.insert(area.end(), more.begin(), more.end());
                size_t count = tr1 ? 4 : 1796;
                EXPECT_EQ(Long(out, count), 2 + r);
                EXPECT_TRUE(Holds(out, count + 4, area));
                EXPECT_EQ(Long(out, count + 4 + area.size()), 0x55667788) << "the rooms follow at once";
                EXPECT_EQ(f.prog.state.BaseTileCount, 2);
                EXPECT_EQ(f.prog.state.RoomTiles8Pending, tr1 && engine);
                EXPECT_EQ(f.prog.state.RoomTiles32.size(), tr1 && engine ? size_t(r) * 262144 : 0);
            }
}

// Each block: the base's tiles and the first R source tiles, deflated, with the real lengths in its
// size words; the misc block is the base's.
TEST(TextureSections, Tr5JoinsBothBlocksWithTheirRealLengthsAndRoundsTheBaseTileCount) {
    RoomsFixture f;
    TextureHead base = SmallTr5Base(5);  // 2.5 tiles: the count rounds to 2
    Tr4SourceBuilder src = SmallSource(1, 3);
    src.Tiles32 = TilePattern(2, 262144, 0x50);
    Bytes out = f.Convert(src.Build(), base.Build(), "base.trc");
    EXPECT_EQ(Bytes(out.begin() + 4, out.begin() + 10), (Bytes{5, 0, 7, 0, 0xFE, 0xFF}));
    EXPECT_EQ(f.prog.state.BaseTileCount, 2);
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
    EXPECT_TRUE(Holds(out, next, Bytes(baseBytes.end() - 8 - Long(out, next + 4), baseBytes.end())));
    // The base's tile count rounds half to even (3.5 tiles: 4); bad room tile counts stop.
    const int cases[3][4] = {{7, 1, 4, 0}, {2, 0, 4, 9}, {2, 1, 32767, 6}};  // half tiles, R, base R, error
    for (auto& c : cases) {
        RoomsFixture g;
        g.Convert(SmallSource(c[1], 1).Build(), SmallTr5Base(c[0], c[2]).Build(), "base.TRC");
        if (c[3] == 0) EXPECT_EQ(g.prog.state.BaseTileCount, 4);
        if (c[3] != 0) EXPECT_EQ(g.LastLine(), ErrorLine(g, c[3]));
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
