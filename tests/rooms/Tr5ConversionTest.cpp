// Rooms converted for a TR5 target, checked in the state the writer reads. How they are laid out
// in the file is checked in Tr5WriterTest and, on the real levels, in RealLevelRoomsTest.
#include <gtest/gtest.h>

#include "driver/Errors.h"
#include "frontend/Program.h"
#include "rooms/RoomConversionTr5.h"
#include "support/ProgramFixture.h"

namespace {
using Tr5Fixture = BasicFixture<ScriptedPlatform, false>;

// A room with a sector grid of z by x and one vertex.
Room MakeRoom(int16_t z = 2, int16_t x = 3) {
    Room r;
    r.NumZSectors = z;
    r.NumXSectors = x;
    r.Sectors.resize(static_cast<size_t>(z * x));
    r.NumVertices = 1;
    r.Vertices.resize(1);
    return r;
}

void Convert(Tr5Fixture& f, Room r) {
    f.prog.state.NumRooms = 1;
    f.prog.state.Rooms = {std::move(r)};
    Tr4ToTr5(f.prog);
}
}  // namespace

// The room's ExtraByte3 times 100, its decimal digits read as hex: five digits overflow.
TEST(Tr4ToTr5Header, ExtraHexWordReadsTheDecimalDigitsAsHex) {
    const std::pair<int, int> cases[] = {{0, 0}, {12, 0x1200}, {79, 0x7900}, {85, int16_t(0x8500)}};
    for (auto [extra, word] : cases) EXPECT_EQ(ExtraHexWordOf(static_cast<uint8_t>(extra)), word) << extra;
    EXPECT_EQ(ErrorOf([] { ExtraHexWordOf(100); }), Err::Overflow);
}

// A type-3 light's Level is its intensity over 64, rounded down.
TEST(Tr4ToTr5Lights, Type3LevelRoundsDown) {
    Tr5Fixture f;
    Room r = MakeRoom();
    const std::pair<int16_t, int32_t> cases[] = {{-1, -1}, {63, 0}, {64, 1}};
    for (auto [intensity, level] : cases) {
        RoomLightTr4 l;
        l.LightType = 3;
        l.Intensity = intensity;
        r.LightsTr4.push_back(l);
    }
    r.NumLights = 3;
    Convert(f, r);
    const auto& lights = f.prog.state.RoomsTr5[0].Lights;
    ASSERT_EQ(lights.size(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        SCOPED_TRACE(cases[i].first);
        EXPECT_EQ(lights[i].Level, cases[i].second);
        EXPECT_EQ(lights[i].LightType, 3);
        EXPECT_EQ(lights[i].IntDirectionZ, -16384);
    }
}

TEST(Tr4ToTr5Geometry, LayerBoundsMeshesAndTextureIds) {
    Tr5Fixture f;
    Room r = MakeRoom(20, 30);
    r.YTop = 512;  // above YBottom on purpose: the fields go over as they stand
    r.YBottom = -256;
    r.NumStaticMeshes = 1;
    r.StaticMeshes.resize(1);
    r.StaticMeshes[0].Intensity2 = 777;
    r.StaticMeshes[0].ObjectId = 60;
    r.NumQuads = 2;
    r.Quads = {{{0, 0, 0, 0}, 10}, {{0, 0, 0, 0}, static_cast<int16_t>(0x8009)}};
    r.NumTriangles = 1;
    r.Triangles = {{{0, 0, 0}, 9}};
    Convert(f, r);
    const Tr5Room& t = f.prog.state.RoomsTr5[0];

    EXPECT_EQ(t.Sectors.size(), 600u);
    EXPECT_EQ(t.Layer.MaxX, 30720.0f);
    EXPECT_EQ(t.Layer.MaxZ, 20480.0f);
    EXPECT_EQ(t.Layer.MinY, 512.0f);
    EXPECT_EQ(t.Layer.MaxY, -256.0f);
    ASSERT_EQ(t.StaticMeshes.size(), 1u);
    EXPECT_EQ(t.StaticMeshes[0].Intensity2, 1);
    EXPECT_EQ(t.StaticMeshes[0].ObjectId, 60) << "no TR3 limit on the slot";
    EXPECT_EQ(t.Quads[1].Texture, static_cast<int16_t>(0x8009));
    // l2 sorts as text and keeps repeats; the top bit never reaches it.
    EXPECT_EQ(f.prog.form.l2.Items(), (std::vector<std::string>{"10", "9", "9"}));

    // Erasing static meshes makes no records and leaves the source room alone.
    f.prog.form.Check2.SetValue(1);
    Tr4ToTr5(f.prog);
    EXPECT_EQ(f.prog.state.RoomsTr5[0].NumStaticMeshes, 0);
    EXPECT_TRUE(f.prog.state.RoomsTr5[0].StaticMeshes.empty());
    EXPECT_EQ(f.prog.state.Rooms[0].NumStaticMeshes, 1);
}
