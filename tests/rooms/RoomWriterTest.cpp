// The room writer for TR1 to TR3 targets, on converted rooms placed straight into the state.
#include <gtest/gtest.h>

#include "driver/Errors.h"
#include "rooms/RoomConversion.h"
#include "rooms/RoomTestSupport.h"
#include "rooms/RoomWriter.h"

namespace {
// Converts the rooms for a target as the conversion would, then writes them behind `lead`
// bytes of something else, and returns the file.
std::vector<uint8_t> Write(RoomsFixture& f, int version, std::vector<Room> rooms, size_t lead = 10) {
    auto& s = f.prog.state;
    s.NewLevelVersion = version;
    s.NumRooms = static_cast<int16_t>(rooms.size());
    s.Rooms = std::move(rooms);
    s.RoomsLeadWord = 0x01020304;
    if (version <= 2) Tr4ToTr1(f.prog);
    if (version == 3) Tr4ToTr2(f.prog);
    if (version == 4) Tr4ToTr3(f.prog);
    f.prog.channels.Open(3, f.dir / "new.lvl", OpenMode::Binary);
    f.prog.channels.Write(3, std::vector<uint8_t>(lead, 0xEE).data(), lead);
    try {
        WriteRooms(f.prog);
    } catch (const RuntimeError&) {
        f.prog.channels.Close(3);
        throw;
    }
    f.prog.channels.Close(3);
    return ReadFileBytes(f.dir / "new.lvl");
}

RoomLayout LayoutOf(int version) {
    return version <= 2 ? RoomLayout::Tr1 : version == 3 ? RoomLayout::Tr2 : RoomLayout::Tr3;
}
}  // namespace

TEST(RoomWriter, EachTargetLaysOutItsRooms) {
    for (int version : {1, 2, 3, 4}) {
        SCOPED_TRACE(version);
        RoomsFixture f;
        Room full = MakeRoom(1, 5, 3, 2, 2, 1, 2, 2, 2, 3);
        Room bare = MakeRoom(2, 2, 0, 0, 0, 0, 0, 0);
        full.ReservedTr2 = 7;  // written as 0 for TR2 whatever it held
        auto out = Write(f, version, {full, bare});
        const auto& s = f.prog.state;
        const bool tr1 = version <= 2;
        const size_t v = tr1 ? 8 : 12;

        EXPECT_EQ(Long(out, 10), 0x01020304);
        EXPECT_EQ(Word(out, 14), 2);
        // Room 0 by hand: 20 bytes of head, the vertex count, the vertices, then NumQuads.
        size_t room0 = 16;
        EXPECT_EQ(Long(out, room0), full.X);
        EXPECT_EQ(Long(out, room0 + 16), static_cast<int32_t>((5 * v + 3 * 10 + 2 * 8 + 2 * 4 + 8) / 2));
        EXPECT_EQ(Word(out, room0 + 20), 5);
        size_t quads = room0 + 22 + 5 * v;
        EXPECT_EQ(s.RoomFacePositions[0], static_cast<int32_t>(quads + 1));
        EXPECT_EQ(Word(out, quads), 3);
        if (tr1) EXPECT_EQ(Word(out, room0 + 22 + 8), 1001) << "an 8-byte vertex";

        ParsedRooms parsed = ParseRoomSection(out, 10, LayoutOf(version));
        ASSERT_EQ(parsed.rooms.size(), 2u);
        EXPECT_EQ(parsed.end, out.size());
        EXPECT_EQ(parsed.rooms[0].quadsOffset, quads);
        EXPECT_EQ(s.RoomFacePositions[1], static_cast<int32_t>(parsed.rooms[1].quadsOffset + 1));
        EXPECT_EQ(Word(out, parsed.rooms[1].quadsOffset), 0) << "also a room without quads is pointed at";
        EXPECT_EQ(s.Rooms[0].NumDataWords, parsed.rooms[0].room.NumDataWords);

        const Room& p = parsed.rooms[0].room;
        EXPECT_EQ(p.Quads[2].Texture, 102);
        EXPECT_EQ(p.NumSprites, 2);
        EXPECT_EQ(p.NumPortals, 1);
        EXPECT_EQ(p.Sectors.size(), 6u);
        EXPECT_EQ(p.AlternateRoom, -1);
        EXPECT_EQ(p.Flags, 0x40);
        ASSERT_EQ(p.NumLights, 2);
        ASSERT_EQ(p.NumStaticMeshes, 2);
        EXPECT_EQ(p.StaticMeshes[1].ObjectId, 1);
        EXPECT_EQ(p.StaticMeshes[1].Intensity1, 0x1234);
        switch (version) {
            case 1:
            case 2:
                EXPECT_EQ(p.AmbientIntensity1, 100);
                EXPECT_EQ(p.LightsTr1[1].X, 1001);
                EXPECT_EQ(p.LightsTr1[1].Intensity, 4001);
                EXPECT_EQ(p.LightsTr1[1].Fade, 1536);
                EXPECT_EQ(p.Vertices[1].Lighting1, 0x7C01);
                break;
            case 3:
                EXPECT_EQ(p.AmbientIntensity1, 31);
                EXPECT_EQ(p.AmbientIntensity2, 31);
                EXPECT_EQ(p.ReservedTr2, 0);
                EXPECT_EQ(p.LightsTr3[1].Intensity1, 4001);
                EXPECT_EQ(p.LightsTr3[1].Fade2, 1024);
                EXPECT_EQ(p.Vertices[1].Lighting2, 31 * 256);
                EXPECT_EQ(p.StaticMeshes[1].Intensity2, 0x5678);
                EXPECT_EQ(p.Sectors[0].BoxIndex, -1);
                break;
            case 4:
                EXPECT_EQ(p.AmbientIntensity1, 31);
                EXPECT_EQ(p.AmbientIntensity2, 0);
                EXPECT_EQ(p.LightsTr3[1].Intensity1, 0x2005);
                EXPECT_EQ(p.LightsTr3[1].Intensity2, 0xFF);
                EXPECT_EQ(p.LightsTr3[1].Fade1, 4001);
                EXPECT_EQ(p.ExtraByte1, 0xE1);
                EXPECT_EQ(p.ExtraByte3, 0xE3);
                break;
        }
        // The bare room ends its light and static mesh lists with a zero word each.
        const ParsedRoom& b = parsed.rooms[1];
        size_t tail = version == 4 ? 3 : 0;
        EXPECT_EQ(Word(out, b.end - tail - 4 - 2), 0);
        EXPECT_EQ(Word(out, b.end - tail - 4 - 4), 0);
    }
}

TEST(RoomWriter, GeometryBeyond32767BytesOverflows) {
    Room big = MakeRoom(1, 2731, 0, 0, 0, 0, 0, 0);  // 2731 x 12 = 32772
    {
        RoomsFixture f;
        int number = 0;
        try {
            Write(f, 3, {MakeRoom(2, 1, 0, 0, 0, 0, 0, 0), big}, 0);
        } catch (const RuntimeError& e) {
            number = e.Number;
        }
        EXPECT_EQ(number, 6);
        // The first room and the head of the second stand in the file.
        auto out = ReadFileBytes(f.dir / "new.lvl");
        ByteReader reader{out, 6};
        ParsedRoom first = ParseRoom(reader, RoomLayout::Tr2);
        ASSERT_EQ(out.size(), first.end + 16);
        EXPECT_EQ(Long(out, first.end), big.X);
    }
    {
        RoomsFixture f;  // 2731 x 8 fits in a TR1 room
        auto out = Write(f, 1, {big}, 0);
        EXPECT_EQ(Long(out, 6 + 16), 2731 * 4 + 4);
    }
    {
        RoomsFixture f;  // the sum overflows: 2000 x 12 + 900 x 10
        Room r = MakeRoom(1, 2000, 900, 0, 0, 0, 0, 0);
        EXPECT_THROW(Write(f, 4, {r}, 0), RuntimeError);
    }
}
