// The real source's rooms converted for each real base and read back field by field.
#include <gtest/gtest.h>

#include "rooms/RoomTestSupport.h"

namespace {
struct Target {
    const char* baseName;
    int version;
    RoomLayout layout;
};

class RealLevelRooms : public ::testing::TestWithParam<Target> {};

TEST_P(RealLevelRooms, RoomsReadBackInTheTargetLayout) {
    const Target& t = GetParam();
    RoomsFixture f;
    WalkedLevel src = WalkTr4Source(ReadFileBytes(SharedLevel("source-tr4.TR4")));
    ParsedRooms in = ParseRoomSection(src.inflated, 0, RoomLayout::Tr4);
    auto out = f.ConvertFiles(SharedLevel("source-tr4.TR4"), SharedLevel(t.baseName), f.dir / "new.lvl");
    ASSERT_TRUE(f.platform.boxes.empty()) << f.platform.boxes[0].text;
    const bool tr1 = t.version <= 2;
    size_t tiles = static_cast<size_t>(Long(out, tr1 ? 4 : 1796));
    ParsedRooms rooms = ParseRoomSection(out, tr1 ? 8 + tiles * 65536 : 1800 + tiles * 196608, t.layout);
    EXPECT_EQ(rooms.end, out.size()) << "the conversion stopped behind the rooms";
    ASSERT_EQ(rooms.rooms.size(), in.rooms.size());
    ASSERT_EQ(f.prog.state.RoomFacePositions.size(), rooms.rooms.size());

    for (size_t i = 0; i < rooms.rooms.size(); ++i) {
        SCOPED_TRACE("room " + std::to_string(i));
        const Room& a = in.rooms[i].room;
        const Room& b = rooms.rooms[i].room;
        EXPECT_EQ(f.prog.state.RoomFacePositions[i], static_cast<int32_t>(rooms.rooms[i].quadsOffset + 1));
        EXPECT_EQ(std::tie(b.X, b.Z, b.YBottom, b.YTop), std::tie(a.X, a.Z, a.YBottom, a.YTop));
        EXPECT_EQ(b.NumDataWords,
                  (a.NumVertices * (tr1 ? 8 : 12) + a.NumQuads * 10 + a.NumTriangles * 8 + a.NumSprites * 4 + 8) / 2);
        ASSERT_EQ(b.NumVertices, a.NumVertices);
        for (size_t k = 0; k < b.Vertices.size(); ++k)
            EXPECT_EQ(std::tie(b.Vertices[k].X, b.Vertices[k].Y, b.Vertices[k].Z),
                      std::tie(a.Vertices[k].X, a.Vertices[k].Y, a.Vertices[k].Z));
        ASSERT_EQ(b.NumQuads, a.NumQuads);
        for (size_t k = 0; k < b.Quads.size(); ++k) EXPECT_EQ(b.Quads[k].Texture, a.Quads[k].Texture);
        ASSERT_EQ(b.NumTriangles, a.NumTriangles);
        EXPECT_EQ(std::tie(b.NumSprites, b.NumPortals, b.NumZSectors, b.NumXSectors, b.NumLights),
                  std::tie(a.NumSprites, a.NumPortals, a.NumZSectors, a.NumXSectors, a.NumLights));
        for (size_t k = 0; k < size_t(b.NumLights); ++k)
            EXPECT_EQ(tr1 ? b.LightsTr1[k].Z : b.LightsTr3[k].Z, a.LightsTr4[k].Z);
        ASSERT_EQ(b.NumStaticMeshes, a.NumStaticMeshes);
        for (size_t k = 0; k < b.StaticMeshes.size(); ++k) {
            int16_t id = a.StaticMeshes[k].ObjectId;
            EXPECT_EQ(b.StaticMeshes[k].ObjectId, t.version == 4 && id > 49 ? 0 : id);
        }
        EXPECT_EQ(std::tie(b.AlternateRoom, b.Flags), std::tie(a.AlternateRoom, a.Flags));
    }
}

INSTANTIATE_TEST_SUITE_P(Bases, RealLevelRooms,
                         ::testing::Values(Target{"base-tr1.PHD", 1, RoomLayout::Tr1},
                                           Target{"base-tr2.TR2", 3, RoomLayout::Tr2},
                                           Target{"base-tr3.TR2", 4, RoomLayout::Tr3}),
                         [](const auto& info) { return "Tr" + std::to_string(info.param.version - (info.param.version > 1)); });
}  // namespace
