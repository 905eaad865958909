// Converts the real source level against each real base and reads the result back: the tile
// area of the target, then the source's rooms in the target's room layout.
#include <gtest/gtest.h>

#include <algorithm>

#include "rooms/RoomTestSupport.h"

namespace {
struct SourceLevel {
    std::vector<uint8_t> file;
    int16_t numRoomTiles = 0;
    std::vector<uint8_t> tiles32, tiles16, geometry;
    ParsedRooms rooms;
};

SourceLevel LoadSource() {
    SourceLevel s;
    s.file = ReadFileBytes(SharedLevel("source-tr4.TR4"));
    s.numRoomTiles = Word(s.file, 4);
    size_t next = 10;
    s.tiles32 = InflateBlockAt(s.file, next, next);
    s.tiles16 = InflateBlockAt(s.file, next, next);
    InflateBlockAt(s.file, next, next);
    s.geometry = InflateBlockAt(s.file, next, next);
    s.rooms = ParseRoomSection(s.geometry, 0, RoomLayout::Tr4);
    return s;
}

bool AllZero(const std::vector<uint8_t>& b, size_t from, size_t count) {
    return std::all_of(b.begin() + static_cast<long>(from), b.begin() + static_cast<long>(from + count),
                       [](uint8_t x) { return x == 0; });
}

bool SameBytes(const std::vector<uint8_t>& a, size_t aOff, const std::vector<uint8_t>& b, size_t bOff, size_t n) {
    return std::equal(a.begin() + static_cast<long>(aOff), a.begin() + static_cast<long>(aOff + n),
                      b.begin() + static_cast<long>(bOff));
}

struct Target {
    const char* baseName;
    int version;
    RoomLayout layout;
};

class RealLevelRooms : public ::testing::TestWithParam<Target> {};

TEST_P(RealLevelRooms, TileAreaThenRoomsInTheTargetLayout) {
    const Target& t = GetParam();
    RoomsFixture f;
    SourceLevel src = LoadSource();
    ASSERT_GT(src.rooms.rooms.size(), 0u);
    std::vector<uint8_t> base = ReadFileBytes(SharedLevel(t.baseName));
    std::vector<uint8_t> out =
        f.ConvertFiles(SharedLevel("source-tr4.TR4"), SharedLevel(t.baseName), f.dir / "new.lvl");
    ASSERT_TRUE(f.platform.boxes.empty()) << f.platform.boxes[0].text;
    EXPECT_EQ(f.prog.state.NewLevelVersion, t.version);

    const size_t R = static_cast<size_t>(src.numRoomTiles);
    const bool tr1 = t.version <= 2;
    const size_t countOffset = tr1 ? 4 : 1796;
    const size_t N = static_cast<size_t>(Long(base, countOffset));
    EXPECT_EQ(f.prog.state.BaseTileCount, static_cast<int32_t>(N));
    EXPECT_EQ(Long(out, 0), Long(base, 0));
    EXPECT_EQ(static_cast<size_t>(Long(out, countOffset)), N + R);

    size_t roomsOut, roomsBase;
    if (tr1) {
        EXPECT_TRUE(SameBytes(out, 8, base, 8, N * 65536));
        EXPECT_TRUE(AllZero(out, 8 + N * 65536, R * 65536));
        roomsOut = 8 + (N + R) * 65536;
        roomsBase = 8 + N * 65536;
    } else {
        EXPECT_TRUE(SameBytes(out, 4, base, 4, 1792)) << "palettes";
        EXPECT_TRUE(AllZero(out, 1800, (N + R) * 65536));
        size_t tiles16 = 1800 + (N + R) * 65536;
        EXPECT_TRUE(SameBytes(out, tiles16, base, 1800 + N * 65536, N * 131072));
        EXPECT_TRUE(SameBytes(out, tiles16 + N * 131072, src.tiles16, 0, R * 131072));
        roomsOut = tiles16 + (N + R) * 131072;
        roomsBase = 1800 + N * 196608;
    }

    // Both inputs stand right behind their rooms: the source inside geometry.tmp, the base at
    // its floor data count.
    EXPECT_EQ(f.prog.channels.Pos(1), static_cast<int64_t>(src.rooms.end + 1));
    EXPECT_EQ(f.prog.channels.Pos(2), static_cast<int64_t>(ParseRoomSection(base, roomsBase, t.layout).end + 1));

    ParsedRooms rooms = ParseRoomSection(out, roomsOut, t.layout);
    EXPECT_EQ(rooms.leadWord, Long(base, roomsBase));
    EXPECT_EQ(rooms.end, out.size()) << "the sections behind the rooms are not written yet";
    ASSERT_EQ(rooms.rooms.size(), src.rooms.rooms.size());
    ASSERT_EQ(f.prog.state.RoomFacePositions.size(), rooms.rooms.size());
    EXPECT_TRUE(f.Logged("   Number of rooms: " + std::to_string(rooms.rooms.size())));

    for (size_t i = 0; i < rooms.rooms.size(); ++i) {
        SCOPED_TRACE("room " + std::to_string(i));
        const Room& a = src.rooms.rooms[i].room;
        const Room& b = rooms.rooms[i].room;
        EXPECT_EQ(f.prog.state.RoomFacePositions[i], static_cast<int32_t>(rooms.rooms[i].quadsOffset + 1));
        EXPECT_EQ(b.X, a.X);
        EXPECT_EQ(b.Z, a.Z);
        EXPECT_EQ(b.YBottom, a.YBottom);
        EXPECT_EQ(b.YTop, a.YTop);
        int v = tr1 ? 8 : 12;
        EXPECT_EQ(b.NumDataWords, (a.NumVertices * v + a.NumQuads * 10 + a.NumTriangles * 8 + a.NumSprites * 4 + 8) / 2);
        ASSERT_EQ(b.NumVertices, a.NumVertices);
        for (size_t k = 0; k < b.Vertices.size(); ++k) {
            EXPECT_EQ(b.Vertices[k].X, a.Vertices[k].X);
            EXPECT_EQ(b.Vertices[k].Y, a.Vertices[k].Y);
            EXPECT_EQ(b.Vertices[k].Z, a.Vertices[k].Z);
        }
        ASSERT_EQ(b.NumQuads, a.NumQuads);
        for (size_t k = 0; k < b.Quads.size(); ++k) {
            EXPECT_TRUE(std::equal(b.Quads[k].Vertices, b.Quads[k].Vertices + 4, a.Quads[k].Vertices));
            EXPECT_EQ(b.Quads[k].Texture, a.Quads[k].Texture);
        }
        ASSERT_EQ(b.NumTriangles, a.NumTriangles);
        for (size_t k = 0; k < b.Triangles.size(); ++k) EXPECT_EQ(b.Triangles[k].Texture, a.Triangles[k].Texture);
        EXPECT_EQ(b.NumSprites, a.NumSprites);
        EXPECT_EQ(b.NumPortals, a.NumPortals);
        EXPECT_EQ(b.NumZSectors, a.NumZSectors);
        EXPECT_EQ(b.NumXSectors, a.NumXSectors);
        ASSERT_EQ(b.NumLights, a.NumLights);
        for (int k = 0; k < b.NumLights; ++k) {
            const RoomLightTr4& l = a.LightsTr4[static_cast<size_t>(k)];
            if (tr1) {
                EXPECT_EQ(b.LightsTr1[static_cast<size_t>(k)].X, l.X);
                EXPECT_EQ(b.LightsTr1[static_cast<size_t>(k)].Z, l.Z);
                EXPECT_EQ(b.LightsTr1[static_cast<size_t>(k)].Intensity, l.Intensity);
            } else {
                EXPECT_EQ(b.LightsTr3[static_cast<size_t>(k)].X, l.X);
                EXPECT_EQ(b.LightsTr3[static_cast<size_t>(k)].Y, l.Y);
                if (t.version == 4) EXPECT_EQ(b.LightsTr3[static_cast<size_t>(k)].Intensity2, l.Blue);
            }
        }
        ASSERT_EQ(b.NumStaticMeshes, a.NumStaticMeshes);
        for (size_t k = 0; k < b.StaticMeshes.size(); ++k) {
            EXPECT_EQ(b.StaticMeshes[k].X, a.StaticMeshes[k].X);
            EXPECT_EQ(b.StaticMeshes[k].Rotation, a.StaticMeshes[k].Rotation);
            int16_t id = a.StaticMeshes[k].ObjectId;
            EXPECT_EQ(b.StaticMeshes[k].ObjectId, t.version == 4 && id > 49 ? 0 : id);
        }
        EXPECT_EQ(b.AlternateRoom, a.AlternateRoom);
        EXPECT_EQ(b.Flags, a.Flags);
        if (t.version == 4) EXPECT_EQ(b.ExtraByte3, a.ExtraByte3);
    }
}

INSTANTIATE_TEST_SUITE_P(Bases, RealLevelRooms,
                         ::testing::Values(Target{"base-tr1.PHD", 1, RoomLayout::Tr1},
                                           Target{"base-gold.TUB", 2, RoomLayout::Tr1},
                                           Target{"base-tr2.TR2", 3, RoomLayout::Tr2},
                                           Target{"base-tr3.TR2", 4, RoomLayout::Tr3}),
                         [](const auto& info) { return std::string(info.param.version == 1   ? "Tr1"
                                                                   : info.param.version == 2 ? "Gold"
                                                                   : info.param.version == 3 ? "Tr2"
                                                                                             : "Tr3"); });

TEST(RealLevelTextures, Tr5TargetMergesTheBaseTilesWithTheSourceRoomTiles) {
    RoomsFixture f;
    SourceLevel src = LoadSource();
    std::vector<uint8_t> base = ReadFileBytes(SharedLevel("base-tr5.TRC"));
    std::vector<uint8_t> out =
        f.ConvertFiles(SharedLevel("source-tr4.TR4"), SharedLevel("base-tr5.TRC"), f.dir / "new.TRC");
    ASSERT_TRUE(f.platform.boxes.empty()) << f.platform.boxes[0].text;
    const size_t R = static_cast<size_t>(src.numRoomTiles);

    EXPECT_EQ(Long(out, 0), 0x00345254);
    EXPECT_EQ(static_cast<size_t>(Word(out, 4)), Word(base, 4) + R);
    EXPECT_TRUE(SameBytes(out, 6, base, 6, 4));

    size_t baseNext = 10, outNext = 10;
    std::vector<uint8_t> base32 = InflateBlockAt(base, baseNext, baseNext);
    std::vector<uint8_t> new32 = InflateBlockAt(out, outNext, outNext);
    EXPECT_EQ(f.prog.state.BaseTileCount, static_cast<int32_t>(base32.size() / 262144));
    ASSERT_EQ(new32.size(), base32.size() + R * 262144);
    EXPECT_EQ(static_cast<size_t>(Long(out, 10)), new32.size());
    EXPECT_TRUE(SameBytes(new32, 0, base32, 0, base32.size()));
    EXPECT_TRUE(SameBytes(new32, base32.size(), src.tiles32, 0, R * 262144));

    size_t block16 = outNext;
    std::vector<uint8_t> base16 = InflateBlockAt(base, baseNext, baseNext);
    std::vector<uint8_t> new16 = InflateBlockAt(out, outNext, outNext);
    ASSERT_EQ(new16.size(), base16.size() + R * 131072);
    EXPECT_EQ(static_cast<size_t>(Long(out, block16)), new16.size());
    EXPECT_TRUE(SameBytes(new16, 0, base16, 0, base16.size()));
    EXPECT_TRUE(SameBytes(new16, base16.size(), src.tiles16, 0, R * 131072));
    EXPECT_EQ(static_cast<size_t>(Long(out, block16 + 4)), FileLength(f.dir / "texture16.zlib"));

    size_t miscLength = 8 + static_cast<size_t>(Long(base, baseNext + 4));
    ASSERT_GE(out.size(), outNext + miscLength);
    EXPECT_TRUE(SameBytes(out, outNext, base, baseNext, miscLength));
}
}  // namespace
