// Rooms of TR1, Gold, TR2 and TR3 targets, converted and written from rooms placed in the state.
#include <gtest/gtest.h>

#include "core/Errors.h"
#include "rooms/RoomConversion.h"
#include "rooms/RoomTestSupport.h"
#include "rooms/RoomWriter.h"

namespace {
void Convert(RoomsFixture& f, int version, std::vector<Room> rooms) {
    ConversionState& s = f.prog.state;
    s.NewLevelVersion = version, s.NumRooms = static_cast<int16_t>(rooms.size()), s.Rooms = std::move(rooms);
    version <= 2 ? Tr4ToTr1(f.prog) : version == 3 ? Tr4ToTr2(f.prog) : Tr4ToTr3(f.prog);
}

// Converts the rooms, then writes them into a file of their own; returns the error number.
int Write(RoomsFixture& f, int version, std::vector<Room> rooms) {
    Convert(f, version, std::move(rooms));
    f.prog.channels.Open(3, f.dir / "new.lvl", OpenMode::Binary);
    const int number = ErrorOf([&] { WriteRooms(f.prog); });
    f.prog.channels.Close(3);
    return number;
}

Room Bare(int seed = 1) { return MakeRoom(seed, 1, 0, 0, 0, 0, 0, 0); }

Room WithLights(const std::vector<std::tuple<int, float, float>>& lights) {  // type, In, Out
    Room r = Bare();
    for (auto [type, in, out] : lights)
        r.LightsTr4.push_back({.Red = 5, .Green = 0x20, .Blue = 0xFF, .LightType = uint8_t(type), .Intensity = 300,
                               .In = in, .Out = out});
    r.NumLights = static_cast<int16_t>(lights.size());
    return r;
}
}  // namespace

// 8191 - 32 x the source's second ambient word; 1024 overflows the word.
TEST(RoomConversion, AmbientWordsOfTr2AndTr3) {
    const std::pair<int16_t, int16_t> cases[] = {{0, 8191}, {255, 31}, {1023, -24545}, {-768, 32767}, {1024, 0}};
    for (int version : {3, 4})
        for (auto [ambient, word] : cases) {
            SCOPED_TRACE(std::to_string(version) + ": " + std::to_string(ambient));
            RoomsFixture f;
            Room r = Bare();
            r.AmbientIntensity2 = ambient;
            EXPECT_EQ(ErrorOf([&] { Convert(f, version, {r}); }), ambient == 1024 ? 6 : 0);
            if (ambient != 1024)
                EXPECT_EQ(std::tie(f.prog.state.Rooms[0].AmbientIntensity1, f.prog.state.Rooms[0].AmbientIntensity2),
                          std::make_tuple(word, version == 3 ? word : int16_t(0)));
        }
}

// Out - In of 2.5 and 3.5 round half to even; type 3 is negated; other types have no fade.
TEST(RoomConversion, LightsPerTarget) {
    const Room lit = WithLights({{1, 10.0f, 12.5f}, {1, 10.0f, 13.5f}, {3, 0, 99.5f}, {2, 0, 1000.0f}});
    using Values = std::array<int32_t, 4>;  // TR2, TR3: Intensity1, Intensity2, Fade1, Fade2; TR1: Intensity, Fade
    const std::pair<int, std::array<Values, 4>> cases[] = {
        {4, {{{0x2005, 255, 300, 2}, {0x2005, 255, 300, 4}, {0x2005, 255, -300, 0}, {0x2005, 255, 300, 0}}}},
        {3, {{{300, 300, 2, 2}, {300, 300, 4, 4}, {-300, -300, 0, 0}, {300, 300, 0, 0}}}},
        {2, {{{300, 12, 0, 0}, {300, 14, 0, 0}, {300, 100, 0, 0}, {300, 1000, 0, 0}}}},
    };
    for (const auto& [version, expected] : cases) {
        SCOPED_TRACE(version);
        RoomsFixture f;
        Convert(f, version, {lit});
        const Room& r = f.prog.state.Rooms[0];
        std::array<Values, 4> got{};
        for (size_t k = 0; k < 4; ++k)
            got[k] = version == 2 ? Values{r.LightsTr1.at(k).Intensity, r.LightsTr1.at(k).Fade, 0, 0}
                                  : Values{r.LightsTr3.at(k).Intensity1, r.LightsTr3.at(k).Intensity2,
                                           r.LightsTr3.at(k).Fade1, r.LightsTr3.at(k).Fade2};
        EXPECT_EQ(got, expected);
        if (version == 2) EXPECT_TRUE(f.Messages().empty()) << "TR1 logs nothing";
    }
    RoomsFixture f;
    EXPECT_EQ(ErrorOf([&] { Convert(f, 4, {WithLights({{1, 0, 3e9f}})}); }), 6);
}

TEST(RoomConversion, Tr2VertexLightingSectorsAndReservedWord) {
    RoomsFixture f;
    Room r = MakeRoom(1, 3, 0, 0, 0, 0, 0, 0, 1, 4);
    // The red channel becomes the intensity. Box index words: 0x7FF6 is "no box"; otherwise bits 4 to 14.
    const int16_t lighting[3] = {0x7C1F, 0x03FF, int16_t(0x8400)}, boxes[4] = {0x7FF6, int16_t(0x8015), 0x7FF5, -10};
    for (size_t i = 0; i < 3; ++i) r.Vertices[i].Lighting1 = lighting[i];
    for (size_t i = 0; i < 4; ++i) r.Sectors[i].BoxIndex = boxes[i];
    r.ReservedTr2 = 77;
    Convert(f, 3, {r});
    const Room& o = f.prog.state.Rooms[0];
    const std::vector<int> got = {o.Vertices[0].Lighting1, o.Vertices[0].Lighting2, o.Vertices[1].Lighting1,
                                  o.Vertices[2].Lighting1, o.Sectors[0].BoxIndex,   o.Sectors[1].BoxIndex,
                                  o.Sectors[2].BoxIndex,   o.Sectors[3].BoxIndex,   o.ReservedTr2};
    EXPECT_EQ(got, (std::vector<int>{31 * 256, 31 * 256, 0, 256, -1, 1, 2047, 2047, 0}));
    EXPECT_EQ(o.Vertices[0].Attributes, r.Vertices[0].Attributes) << "the real levels' are all 0";
    EXPECT_EQ(f.Messages(), std::vector<std::string>{"Converting rooms in TR2 format"});
}

// l2 gets every quad's texture, then every triangle's, room by room, and sorts them as text.
TEST(RoomConversion, FaceTexturesGoIntoL2QuadsFirst) {
    Room a = MakeRoom(1, 4, 2, 1, 0, 0, 0, 0), b = MakeRoom(3, 3, 0, 1, 0, 0, 0, 0);
    a.Quads[0].Texture = 9, a.Quads[1].Texture = int16_t(0x8001);  // bit 15 set: TR3 clears it
    a.Triangles[0].Texture = 10, b.Triangles[0].Texture = 9;
    // TR1 adds them, as TR3 does, with the engine layout only.
    const std::tuple<int, int, std::vector<std::string>> cases[] = {
        {3, 0, {"-32767", "10", "9", "9"}}, {4, 0, {"1", "10", "9", "9"}}, {1, 0, {}}, {1, 1, {"1", "10", "9", "9"}}};
    for (const auto& [version, engine, items] : cases) {
        SCOPED_TRACE(version);
        RoomsFixture f;
        f.prog.form.Check6.SetValue(engine);
        Convert(f, version, {a, Bare(2), b});
        EXPECT_EQ(f.prog.form.l2.Items(), items);
        EXPECT_EQ(f.prog.state.Rooms[0].Quads[1].Texture, int16_t(0x8001)) << "faces keep their words";
    }
}

TEST(RoomConversion, Tr3StaticMeshSlotsAndEraseOption) {
    RoomsFixture f;
    Room r0 = MakeRoom(1, 1, 0, 0, 0, 0, 0, 3), r1 = MakeRoom(2, 1, 0, 0, 0, 0, 0, 2);
    r0.StaticMeshes[0].ObjectId = 49, r0.StaticMeshes[1].ObjectId = -5, r0.StaticMeshes[2].ObjectId = 50;
    r1.StaticMeshes[1].ObjectId = 300;
    Convert(f, 4, {r0, r1});
    const auto& s = f.prog.state.Rooms;
    EXPECT_EQ((std::vector<int>{s[0].StaticMeshes[0].ObjectId, s[0].StaticMeshes[1].ObjectId,
                                s[0].StaticMeshes[2].ObjectId, s[1].StaticMeshes[1].ObjectId}),
              (std::vector<int>{49, -5, 0, 0}));
    // Three lines for each slot beyond 49, and the conversion goes on.
    EXPECT_EQ(f.Messages().size(), 7u);
    EXPECT_TRUE(f.Logged("Tr4ToTr3() -> Error: Invalid static mesh slot in Room #0, Static #2"));
    EXPECT_TRUE(f.Logged("Tr4ToTr3() -> Error: Invalid static mesh slot in Room #1, Static #1"));
    // "Erase static meshes" empties TR3 rooms only, after the check has logged.
    for (int version : {2, 3, 4}) {
        RoomsFixture g;
        g.prog.form.Check2.SetValue(1);
        Convert(g, version, {r1});
        EXPECT_EQ(g.prog.state.Rooms[0].NumStaticMeshes, version == 4 ? 0 : 2);
        EXPECT_EQ(g.Logged("              Static ID: 300, Max TR3 ID = 49 "), version == 4);
    }
}

// 2731 TR2 vertices (32772 bytes) overflow the data word count, behind the fields before it; not in TR1.
TEST(RoomWriter, GeometryBeyond32767BytesOverflows) {
    const Room big = MakeRoom(1, 2731, 0, 0, 0, 0, 0, 0);
    RoomsFixture tr2, tr1, tr3;
    EXPECT_EQ(Write(tr2, 3, {Bare(2), big}), 6);
    ByteWriter first;
    WriteRoom(first, tr2.prog.state.Rooms[0], RoomLayout::Tr2);
    const auto out = ReadFileBytes(tr2.dir / "new.lvl");
    ASSERT_EQ(out.size(), 6 + first.Size() + 16);
    EXPECT_EQ(Long(out, 6 + first.Size()), big.X);
    EXPECT_EQ(Write(tr1, 1, {big}), 0);
    EXPECT_EQ(Long(ReadFileBytes(tr1.dir / "new.lvl"), 6 + 16), 2731 * 4 + 4);
    EXPECT_EQ(Write(tr3, 4, {MakeRoom(1, 2000, 900, 0, 0, 0, 0, 0)}), 6);  // 2000 x 12 + 900 x 10
}
