#include <gtest/gtest.h>

#include <algorithm>

#include "driver/ConvertLevel.h"
#include "frontend/Program.h"
#include "support/LevelBuilder.h"
#include "support/ProgramFixture.h"

namespace {
using LevelFixture = ProgramFixture;
}  // namespace

// The rooms of a real level: walked from label to label by RoomSize + 8, with every offset
// field pointing where the body puts its part.
TEST(Tr5Level, RealLevelRoomsWalkAndOffsets) {
    LevelFixture f;
    ConvertLevel(f.prog, SharedLevel("source-tr4.TR4"), SharedLevel("base-tr5.TRC"), f.dir / "new.trc");
    ASSERT_TRUE(f.Logged("Rooms converted"));
    f.prog.channels.CloseAllChannels();
    const auto file = ReadFileBytes(f.dir / "new.trc");
    const auto& s = f.prog.state;
    ASSERT_GT(s.NumRoomsTr5, 0);
    ASSERT_EQ(s.NumRoomsTr5, s.NumRooms);

    size_t at = static_cast<size_t>(s.GeometryHeaderPos - 1) + 8;
    EXPECT_EQ(Long(file, at + 4), s.NumRoomsTr5);
    at += 8;
    for (int32_t i = 0; i < s.NumRoomsTr5; ++i) {
        SCOPED_TRACE("room " + std::to_string(i));
        const Tr5Room& r = s.RoomsTr5[i];
        ASSERT_EQ(std::string(file.begin() + at, file.begin() + at + 4), "XELA");
        const size_t body = at + 216;
        const int32_t sectors = Long(file, at + 16), portals = Long(file, at + 12), meshes = Long(file, at + 24),
                      layer = Long(file, at + 180), vertices = Long(file, at + 184), faces = Long(file, at + 188);
        EXPECT_EQ(sectors, r.NumLightsLong * 88 + r.NumFogBulbs * 36);
        EXPECT_EQ(portals, sectors + r.NumZSectors * r.NumXSectors * 8);
        EXPECT_EQ(Word(file, body + portals), r.NumPortals);
        EXPECT_EQ(static_cast<uint16_t>(Word(file, body + portals + 2 + r.NumPortals * 32)), 0xCDCD);
        EXPECT_EQ(meshes, portals + 4 + r.NumPortals * 32);
        EXPECT_EQ(layer, meshes + r.NumStaticMeshes * 20);
        EXPECT_EQ(Long(file, body + layer), s.Rooms[i].NumVertices);
        EXPECT_EQ(Long(file, body + layer + 44), 0x36362C);
        EXPECT_EQ(faces, layer + 56);
        EXPECT_EQ(Long(file, at + 192), faces);
        EXPECT_EQ(s.RoomFacePositions[i], static_cast<int32_t>(body + faces + 1));
        EXPECT_EQ(vertices, faces + r.NumQuads * 12 + r.NumTriangles * 10 + (r.NumTriangles % 2 ? 2 : 0));
        EXPECT_EQ(Long(file, at + 196), s.Rooms[i].NumVertices * 28 + 2);
        EXPECT_EQ(static_cast<uint16_t>(Word(file, body + vertices + s.Rooms[i].NumVertices * 28)), 0xCDCD);
        const int32_t roomSize = Long(file, at + 4);
        EXPECT_EQ(roomSize + 8, 216 + vertices + Long(file, at + 196));
        at += static_cast<size_t>(roomSize) + 8;
    }
    EXPECT_LE(at, file.size());
}
