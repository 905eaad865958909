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

// 8191 - 32 x the source's second ambient word; 1024 overflows the word. TR2 zeroes its reserved
// word; vertex Attributes (all 0 in the real levels) go over as they stand.
TEST(RoomConversion, AmbientWordsReservedWordAndAttributes) {
    const std::pair<int16_t, int16_t> cases[] = {{0, 8191}, {255, 31}, {1023, -24545}, {-768, 32767}, {1024, 0}};
    for (int version : {3, 4})
        for (auto [ambient, word] : cases) {
            SCOPED_TRACE(std::to_string(version) + ": " + std::to_string(ambient));
            RoomsFixture f;
            Room r = Bare();
            r.AmbientIntensity2 = ambient, r.ReservedTr2 = 77, r.Vertices[0].Attributes = 0x1234;
            EXPECT_EQ(ErrorOf([&] { Convert(f, version, {r}); }), ambient == 1024 ? 6 : 0);
            if (ambient == 1024) continue;
            const Room& o = f.prog.state.Rooms[0];
            EXPECT_EQ(std::tie(o.AmbientIntensity1, o.AmbientIntensity2, o.ReservedTr2, o.Vertices[0].Attributes),
                      std::make_tuple(word, version == 3 ? word : int16_t(0), int16_t(version == 3 ? 0 : 77),
                                      int16_t(0x1234)));
        }
}

// Out - In of 2.5 and 3.5 round half to even; an Out far beyond 32 bits overflows.
TEST(RoomConversion, LightFadesRoundHalfToEven) {
    RoomsFixture f;
    Convert(f, 3, {WithLights({{1, 10.0f, 12.5f}, {1, 10.0f, 13.5f}})});
    const auto& l = f.prog.state.Rooms[0].LightsTr3;
    EXPECT_EQ((std::vector<int32_t>{l.at(0).Fade1, l.at(0).Fade2, l.at(1).Fade1, l.at(1).Fade2}),
              (std::vector<int32_t>{2, 2, 4, 4}));
    RoomsFixture g;
    EXPECT_EQ(ErrorOf([&] { Convert(g, 4, {WithLights({{1, 0, 3e9f}})}); }), 6);
}

TEST(RoomConversion, Tr3StaticMeshSlotsBeyond49AreLoggedAndDropped) {
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
    EXPECT_TRUE(f.Logged("              Static ID: 300, Max TR3 ID = 49 "));
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
