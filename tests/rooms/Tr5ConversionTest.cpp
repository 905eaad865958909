#include <gtest/gtest.h>

#include <bit>
#include <cstring>

#include "driver/Errors.h"
#include "frontend/Program.h"
#include "rooms/RoomConversionTr5.h"
#include "support/ProgramFixture.h"

namespace {
using Tr5Fixture = BasicFixture<ScriptedPlatform, false>;

uint32_t Bits(float f) { return std::bit_cast<uint32_t>(f); }

// A small room: a sector grid of z by x, one vertex, no faces, lights or meshes.
Room MakeRoom(int16_t z = 2, int16_t x = 3) {
    Room r;
    r.X = 1024;
    r.Z = 2048;
    r.YBottom = 0;
    r.YTop = -1024;
    r.NumZSectors = z;
    r.NumXSectors = x;
    r.Sectors.resize(static_cast<size_t>(z * x));
    r.NumVertices = 1;
    r.Vertices.resize(1);
    return r;
}

RoomLightTr4 MakeLight(uint8_t type, int16_t intensity = 8192) {
    RoomLightTr4 l;
    l.X = 100;
    l.Y = -200;
    l.Z = 300;
    l.Red = 255;
    l.Green = 51;
    l.Blue = 0;
    l.LightType = type;
    l.Intensity = intensity;
    l.In = 512.0f;
    l.Out = 1536.0f;
    l.Length = 3000.0f;
    l.Cutoff = 1000.0f;
    l.DirectionX = 0.5f;
    l.DirectionY = -0.25f;
    l.DirectionZ = 2.5f / 16384.0f;  // a half that rounds to the even 2
    return l;
}

void SetRooms(Program& prog, std::vector<Room> rooms) {
    prog.state.NumRooms = static_cast<int16_t>(rooms.size());
    prog.state.Rooms = std::move(rooms);
}

void AddLights(Room& r, std::vector<RoomLightTr4> lights) {
    r.NumLights = static_cast<int16_t>(lights.size());
    r.LightsTr4 = std::move(lights);
}
}  // namespace

TEST(Tr4ToTr5Header, FieldsConstantsAndAmbientBytes) {
    Tr5Fixture f;
    Room r = MakeRoom();
    r.AmbientIntensity1 = 0x1234;
    r.AmbientIntensity2 = static_cast<int16_t>(0xABCD);
    r.AlternateRoom = -1;
    r.Flags = 0x20;
    r.ExtraByte3 = 12;
    SetRooms(f.prog, {r});
    Tr4ToTr5(f.prog);

    ASSERT_EQ(f.prog.state.NumRoomsTr5, 1);
    const Tr5Room& t = f.prog.state.RoomsTr5[0];
    EXPECT_EQ(t.YTop2, -1024);
    const uint8_t ambient[4] = {0x34, 0x12, 0xCD, 0xAB};
    EXPECT_EQ(std::memcmp(t.AmbientBytes, ambient, 4), 0);
    EXPECT_EQ(ReadFileBytes(f.dir / "temp.col"), std::vector<uint8_t>(ambient, ambient + 4));
    EXPECT_EQ(t.ExtraHexWord, 0x1200);
    EXPECT_EQ(t.VerticesSize, 28);
    EXPECT_TRUE(t.Lights.empty());
    EXPECT_TRUE(t.FogBulbs.empty());
    EXPECT_EQ(t.LightsSize, 0);
    EXPECT_EQ(f.prog.form.l.Items().front().substr(f.prog.form.l.Items().front().find("] ") + 2),
              "Converting rooms in TR5 format");
}

TEST(Tr4ToTr5Header, ExtraHexWordReadsTheDecimalDigitsAsHex) {
    EXPECT_EQ(ExtraHexWordOf(0), 0);
    EXPECT_EQ(ExtraHexWordOf(12), 0x1200);
    EXPECT_EQ(ExtraHexWordOf(79), 0x7900);
    EXPECT_EQ(ExtraHexWordOf(85), static_cast<int16_t>(0x8500));
    try {
        ExtraHexWordOf(100);
        FAIL() << "no overflow";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.Number, Err::Overflow);
    }
}

TEST(Tr4ToTr5Lights, FogBulbInTheMiddleLeavesAFillerRecord) {
    Tr5Fixture f;
    Room r = MakeRoom();
    AddLights(r, {MakeLight(1), MakeLight(4), MakeLight(1)});
    SetRooms(f.prog, {r});
    Tr4ToTr5(f.prog);
    const Tr5Room& t = f.prog.state.RoomsTr5[0];
    EXPECT_EQ(t.NumLights, 3);
    EXPECT_EQ(t.NumLightsLong, 3);
    EXPECT_EQ(t.LightsSize, 264);
    EXPECT_EQ(t.NumFogBulbs, 1);
    ASSERT_EQ(t.Lights.size(), 3u);

    const Tr5Light& dead = t.Lights[1];
    for (float v : {dead.X, dead.Y, dead.Z, dead.Red, dead.Green, dead.Blue, dead.In, dead.Out, dead.InRadians,
                    dead.OutRadians, dead.Range, dead.DirectionX, dead.DirectionY, dead.DirectionZ})
        EXPECT_EQ(Bits(v), 0xCE48C8C9u);
    for (int32_t v : {dead.Level, dead.IntX, dead.IntY, dead.IntZ, dead.IntDirectionX, dead.IntDirectionY,
                      dead.IntDirectionZ})
        EXPECT_EQ(static_cast<uint32_t>(v), 0xCDCDCDCDu);
    EXPECT_EQ(dead.LightType, 205);
    EXPECT_EQ(dead.FillerBytes[2], 205);

    ASSERT_EQ(t.FogBulbs.size(), 1u);
    const Tr5FogBulb& b = t.FogBulbs[0];
    EXPECT_EQ(b.X, 100.0f);
    EXPECT_EQ(b.Y, -200.0f);
    EXPECT_EQ(Bits(b.FogValue1), 0x44B40000u);
    EXPECT_EQ(Bits(b.FogValue2), 0x40FD2000u);
    EXPECT_EQ(Bits(b.FogValue3), 0x43B00000u);
    EXPECT_EQ(Bits(b.FogColor1), 0x3F3FBFC0u);
    EXPECT_EQ(Bits(b.FogColor2), 0x3F0F8F90u);
    EXPECT_EQ(Bits(b.FogColor3), 0x3F6FEFF1u);

    // The lights on either side are plain normal lights.
    const Tr5Light& normal = t.Lights[2];
    EXPECT_EQ(normal.LightType, 1);
    EXPECT_EQ(normal.IntY, -200);
    EXPECT_EQ(normal.In, 512.0f);
    EXPECT_EQ(normal.Range, 0.0f);
    EXPECT_EQ(normal.Red, 1.0f);
    EXPECT_EQ(normal.Green, 0.2f);
    EXPECT_EQ(normal.FillerBytes[0], 205);
}

TEST(Tr4ToTr5Geometry, LayerVerticesMeshesAndFaces) {
    Tr5Fixture f;
    Room r = MakeRoom(20, 30);
    r.YTop = 512;  // above YBottom on purpose: the fields go over as they stand
    r.YBottom = -256;
    r.NumVertices = 3;
    r.Vertices.resize(3);
    r.Vertices[0] = {1, -2, 3, 0x7FFF, 5, 6};
    r.Vertices[1] = {0, 0, 0, 0, 0, 0};
    r.Vertices[2] = {0, 0, 0, static_cast<int16_t>(0x8000 | (1 << 10) | (2 << 5) | 3), 0, 0};
    r.NumStaticMeshes = 1;
    r.StaticMeshes.resize(1);
    r.StaticMeshes[0].Intensity2 = 777;
    r.StaticMeshes[0].ObjectId = 60;
    r.NumPortals = 1;
    r.Portals.resize(1);
    r.Portals[0].AdjoiningRoom = 7;
    r.NumQuads = 2;
    r.Quads = {{{0, 1, 2, 0}, 10}, {{0, 1, 2, 0}, static_cast<int16_t>(0x8009)}};
    r.NumTriangles = 1;
    r.Triangles = {{{2, 1, 0}, 9}};
    SetRooms(f.prog, {r});
    Tr4ToTr5(f.prog);
    const Tr5Room& t = f.prog.state.RoomsTr5[0];

    EXPECT_EQ(t.Sectors.size(), 600u);
    EXPECT_EQ(t.Layer.MaxX, 30720.0f);
    EXPECT_EQ(t.Layer.MaxZ, 20480.0f);
    EXPECT_EQ(t.Layer.MinY, 512.0f);
    EXPECT_EQ(t.Layer.MaxY, -256.0f);

    const uint8_t white[4] = {248, 248, 248, 255}, black[4] = {0, 0, 0, 255}, mixed[4] = {24, 16, 8, 255};
    EXPECT_EQ(std::memcmp(t.Vertices[0].Color, white, 4), 0);
    EXPECT_EQ(std::memcmp(t.Vertices[1].Color, black, 4), 0);
    EXPECT_EQ(std::memcmp(t.Vertices[2].Color, mixed, 4), 0);

    ASSERT_EQ(t.StaticMeshes.size(), 1u);
    EXPECT_EQ(t.StaticMeshes[0].Intensity2, 1);
    EXPECT_EQ(t.StaticMeshes[0].ObjectId, 60);

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

