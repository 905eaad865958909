// Room conversion for TR1, Gold, TR2 and TR3 targets, run on rooms placed straight into the state.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "driver/Errors.h"
#include "rooms/RoomConversion.h"
#include "rooms/RoomTestSupport.h"

namespace {
void Place(RoomsFixture& f, int version, std::vector<Room> rooms) {
    f.prog.state.NewLevelVersion = version;
    f.prog.state.NumRooms = static_cast<int16_t>(rooms.size());
    f.prog.state.Rooms = std::move(rooms);
}

RoomLightTr4 Light(int type, float in, float out) {
    RoomLightTr4 l;
    l.X = 1;
    l.Y = -2;
    l.Z = 3;
    l.Red = 0x05;
    l.Green = 0x20;
    l.Blue = 0xFF;
    l.LightType = static_cast<uint8_t>(type);
    l.Intensity = 300;
    l.In = in;
    l.Out = out;
    return l;
}

Room WithLights(std::vector<RoomLightTr4> lights) {
    Room r = MakeRoom(1, 1, 0, 0, 0, 0, 0, 0);
    r.NumLights = static_cast<int16_t>(lights.size());
    r.LightsTr4 = std::move(lights);
    return r;
}

}  // namespace

TEST(UnpackWords, ColorAndBoxIndex) {
    using C = std::array<uint8_t, 4>;
    EXPECT_EQ(UnpackColor555(0x7FFF), (C{0, 31, 31, 31}));
    EXPECT_EQ(UnpackColor555(0x001F), (C{0, 0, 0, 31}));
    EXPECT_EQ(UnpackColor555(int16_t(0xFFFF)), (C{0, 31, 31, 31}));
    EXPECT_EQ(UnpackBoxIndex(0x7FF6), -1);
    EXPECT_EQ(UnpackBoxIndex(0x7FF5), 2047);
    EXPECT_EQ(UnpackBoxIndex(int16_t(0xFFF6)), 2047);
    EXPECT_EQ(UnpackBoxIndex(int16_t(0x8015)), 1);
}

TEST(RoomConversion, AmbientWordsOfTr2AndTr3) {
    for (int version : {3, 4}) {
        SCOPED_TRACE(version);
        RoomsFixture f;
        std::vector<Room> rooms;
        for (int16_t a : {0, 255, 1023, -768}) {
            Room r = MakeRoom(1, 1, 0, 0, 0, 0, 0, 0);
            r.AmbientIntensity2 = a;
            rooms.push_back(r);
        }
        Place(f, version, rooms);
        version == 3 ? Tr4ToTr2(f.prog) : Tr4ToTr3(f.prog);
        const auto& r = f.prog.state.Rooms;
        EXPECT_EQ(r[0].AmbientIntensity1, 8191);
        EXPECT_EQ(r[1].AmbientIntensity1, 31);
        EXPECT_EQ(r[2].AmbientIntensity1, -24545);
        EXPECT_EQ(r[3].AmbientIntensity1, 32767);
        EXPECT_EQ(r[1].AmbientIntensity2, version == 3 ? 31 : 0);
    }
    RoomsFixture f;
    Room r = MakeRoom(1, 1, 0, 0, 0, 0, 0, 0);
    r.AmbientIntensity2 = 1024;
    Place(f, 4, {r});
    EXPECT_EQ(ErrorOf([&] { Tr4ToTr3(f.prog); }), 6);
}

TEST(RoomConversion, LightsPerTarget) {
    // Out - In of 2.5 and 3.5 round half to even; type 3 is negated; other types have no fade.
    std::vector<RoomLightTr4> lights = {Light(1, 10.0f, 12.5f), Light(1, 10.0f, 13.5f), Light(3, 0, 99.5f),
                                        Light(2, 0, 1000.0f)};
    {
        RoomsFixture f;
        Place(f, 4, {WithLights(lights)});
        Tr4ToTr3(f.prog);
        const auto& l = f.prog.state.Rooms[0].LightsTr3;
        ASSERT_EQ(l.size(), 4u);
        EXPECT_EQ(l[0].X, 1);
        EXPECT_EQ(uint16_t(l[0].Intensity1), 0x2005);
        EXPECT_EQ(l[0].Intensity2, 0x00FF);
        EXPECT_EQ(l[0].Fade1, 300);
        EXPECT_EQ(l[0].Fade2, 2);
        EXPECT_EQ(l[1].Fade2, 4);
        EXPECT_EQ(l[2].Fade1, -300);
        EXPECT_EQ(l[2].Fade2, 0);
        EXPECT_EQ(l[3].Fade2, 0);
        EXPECT_TRUE(f.prog.state.Rooms[0].LightsTr1.empty());
    }
    {
        RoomsFixture f;
        Place(f, 3, {WithLights(lights)});
        Tr4ToTr2(f.prog);
        const auto& l = f.prog.state.Rooms[0].LightsTr3;
        EXPECT_EQ(l[0].Intensity1, 300);
        EXPECT_EQ(l[0].Intensity2, 300);
        EXPECT_EQ(l[0].Fade1, 2);
        EXPECT_EQ(l[1].Fade2, 4);
        EXPECT_EQ(l[2].Intensity1, -300);
        EXPECT_EQ(l[2].Fade1, 0);
        EXPECT_EQ(l[3].Fade1, 0);
    }
    {
        RoomsFixture f;
        Place(f, 2, {WithLights(lights), MakeRoom(2, 1, 0, 0, 0, 0, 0, 0)});
        Room before = f.prog.state.Rooms[0];
        Tr4ToTr1(f.prog);
        const Room& r = f.prog.state.Rooms[0];
        ASSERT_EQ(r.LightsTr1.size(), 4u);
        EXPECT_EQ(r.LightsTr1[0].Intensity, 300);
        EXPECT_EQ(r.LightsTr1[0].Fade, 12);   // 12.5 rounds to even
        EXPECT_EQ(r.LightsTr1[1].Fade, 14);   // 13.5 rounds to even
        EXPECT_EQ(r.LightsTr1[2].Intensity, 300);
        EXPECT_EQ(r.LightsTr1[2].Fade, 100);
        EXPECT_TRUE(f.prog.state.Rooms[1].LightsTr1.empty());
        // TR1 keeps vertex lighting, sectors and ambient words and logs nothing.
        EXPECT_EQ(r.Vertices[0].Lighting1, before.Vertices[0].Lighting1);
        EXPECT_EQ(r.Sectors[0].BoxIndex, before.Sectors[0].BoxIndex);
        EXPECT_EQ(r.AmbientIntensity1, before.AmbientIntensity1);
        EXPECT_TRUE(f.Messages().empty());
    }
    {
        RoomsFixture f;
        Place(f, 4, {WithLights({Light(1, 0, 3e9f)})});
        EXPECT_EQ(ErrorOf([&] { Tr4ToTr3(f.prog); }), 6);
    }
}

TEST(RoomConversion, Tr2VerticesSectorsAndReservedWord) {
    RoomsFixture f;
    Room r = MakeRoom(1, 3, 0, 0, 0, 0, 0, 0, 1, 2);
    r.Vertices[0].Lighting1 = 0x7C1F;
    r.Vertices[1].Lighting1 = 0x03FF;
    r.Vertices[2].Lighting1 = int16_t(0x8400);
    r.Sectors[0].BoxIndex = 0x7FF6;
    r.Sectors[1].BoxIndex = int16_t(0x8015);
    r.ReservedTr2 = 77;
    Place(f, 3, {r});
    Tr4ToTr2(f.prog);
    const Room& o = f.prog.state.Rooms[0];
    EXPECT_EQ(o.Vertices[0].Lighting1, 31 * 256);
    EXPECT_EQ(o.Vertices[0].Lighting2, 31 * 256);
    EXPECT_EQ(o.Vertices[0].Attributes, r.Vertices[0].Attributes);
    EXPECT_EQ(o.Vertices[1].Lighting1, 0);
    EXPECT_EQ(o.Vertices[1].Lighting2, 0);
    EXPECT_EQ(o.Vertices[2].Lighting1, 256);
    EXPECT_EQ(o.Sectors[0].BoxIndex, -1);
    EXPECT_EQ(o.Sectors[1].BoxIndex, 1);
    EXPECT_EQ(o.Sectors[1].Rest[0], 0x81);
    EXPECT_EQ(o.ReservedTr2, 0);
    EXPECT_EQ(f.Messages(), std::vector<std::string>{"Converting rooms in TR2 format"});
}

TEST(RoomConversion, FaceTexturesGoIntoL2QuadsFirst) {
    auto rooms = [] {
        Room a = MakeRoom(1, 4, 2, 1, 0, 0, 0, 0);
        a.Quads[0].Texture = 9;
        a.Quads[1].Texture = int16_t(0x8001);  // bit 15 set
        a.Triangles[0].Texture = 10;
        Room none = MakeRoom(2, 1, 0, 0, 0, 0, 0, 0);
        Room b = MakeRoom(3, 3, 0, 1, 0, 0, 0, 0);
        b.Triangles[0].Texture = 9;
        return std::vector<Room>{a, none, b};
    };
    {
        RoomsFixture f;
        Place(f, 3, rooms());
        Tr4ToTr2(f.prog);
        EXPECT_EQ(f.prog.form.l2.Items(), (std::vector<std::string>{"-32767", "10", "9", "9"}));
        EXPECT_EQ(f.prog.state.Rooms[0].Quads[1].Texture, int16_t(0x8001)) << "faces keep their words";
    }
    {
        RoomsFixture f;
        Place(f, 4, rooms());
        Tr4ToTr3(f.prog);
        EXPECT_EQ(f.prog.form.l2.Items(), (std::vector<std::string>{"1", "10", "9", "9"}));
    }
    {
        RoomsFixture f;
        Place(f, 1, rooms());
        Tr4ToTr1(f.prog);
        EXPECT_EQ(f.prog.form.l2.ListCount(), 0);
    }
}

TEST(RoomConversion, Tr3StaticMeshSlotsAndEraseOption) {
    RoomsFixture f;
    Room r0 = MakeRoom(1, 1, 0, 0, 0, 0, 0, 3);
    r0.StaticMeshes[0].ObjectId = 49;
    r0.StaticMeshes[1].ObjectId = -5;
    r0.StaticMeshes[2].ObjectId = 50;
    Room r1 = MakeRoom(2, 1, 0, 0, 0, 0, 0, 2);
    r1.StaticMeshes[1].ObjectId = 300;
    Place(f, 4, {r0, r1});
    Tr4ToTr3(f.prog);
    const auto& s = f.prog.state.Rooms;
    EXPECT_EQ(s[0].StaticMeshes[0].ObjectId, 49);
    EXPECT_EQ(s[0].StaticMeshes[1].ObjectId, -5);
    EXPECT_EQ(s[0].StaticMeshes[2].ObjectId, 0);
    EXPECT_EQ(s[1].StaticMeshes[1].ObjectId, 0);
    EXPECT_EQ(s[0].NumStaticMeshes, 3);
    std::vector<std::string> expected = {
        "Converting rooms in TR3 format",
        "Tr4ToTr3() -> Error: Invalid static mesh slot in Room #0, Static #2",
        "              Static ID: 50, Max TR3 ID = 49 ",
        "              Tomb Raider may crash while loading this level!",
        "Tr4ToTr3() -> Error: Invalid static mesh slot in Room #1, Static #1",
        "              Static ID: 300, Max TR3 ID = 49 ",
        "              Tomb Raider may crash while loading this level!",
    };
    EXPECT_EQ(f.Messages(), expected);

    // "Erase static meshes" empties TR3 rooms only, after the check has logged.
    for (int version : {2, 3, 4}) {
        RoomsFixture g;
        g.prog.form.Check2.SetValue(1);
        Place(g, version, {r1});
        version == 2 ? Tr4ToTr1(g.prog) : version == 3 ? Tr4ToTr2(g.prog) : Tr4ToTr3(g.prog);
        EXPECT_EQ(g.prog.state.Rooms[0].NumStaticMeshes, version == 4 ? 0 : 2);
        EXPECT_EQ(g.Logged("              Static ID: 300, Max TR3 ID = 49 "), version == 4);
    }
}
