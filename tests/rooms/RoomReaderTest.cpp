// Reading the source's rooms out of the geometry block, and walking past the base's rooms.
#include <gtest/gtest.h>

#include "rooms/RoomTestSupport.h"

namespace {
Tr4SourceBuilder Source(std::vector<Room> rooms) {
    Tr4SourceBuilder s;
    s.Tiles32 = TilePattern(1, 262144, 1), s.Tiles16 = TilePattern(1, 131072, 2), s.Misc = {0};
    s.RoomsLeadWord = 0x0BADF00D, s.Rooms = std::move(rooms), s.AfterRooms = {0x12, 0x34, 0x56, 0x78};
    return s;
}

ClassicBaseBuilder Base(int version, std::vector<Room> rooms) {
    ClassicBaseBuilder b;
    b.Version = version, b.RoomsLeadWord = 0x7E57, b.Rooms = std::move(rooms), b.AfterRooms = {0x21, 0x43, 0x65, 0x87};
    return b;
}
}  // namespace

// The empty room, the lead word, and where both inputs stand behind their rooms.
TEST(RoomReader, BothInputsStopBehindTheirRooms) {
    for (int version : {1, 3, 4}) {
        SCOPED_TRACE(version);
        RoomsFixture f;
        // A room of one vertex and one sector, and nothing else, between two full ones.
        Room empty = MakeRoom(2, 1, 0, 0, 0, 0, 0, 0);
        Tr4SourceBuilder src =
            Source({MakeRoom(1, 5, 3, 2, 1, 1, 2, 2, 2, 3), empty, MakeRoom(3, 2, 1, 1, 0, 0, 1, 1)});
        src.Rooms[2].ExtraByte3 = 0x5A;
        ClassicBaseBuilder base = Base(version, {MakeRoom(7, 3, 2, 2, 1, 1, 2, 2, 2, 2), empty});
        f.Convert(src.Build(), base.Build(), version == 3 ? "b.TR2" : version == 4 ? "b.tr2" : "b.PHD");
        ASSERT_TRUE(f.platform.boxes.empty()) << f.platform.boxes[0].text;

        const auto& s = f.prog.state;
        ASSERT_EQ(s.NumRooms, 3);
        EXPECT_EQ(s.RoomsLeadWord, 0x7E57) << "the base's lead word replaces the source's";
        EXPECT_EQ(s.Rooms[1].NumQuads, 0);
        EXPECT_EQ(s.Rooms[2].X, src.Rooms[2].X) << "the room behind an empty one starts right after it";
        EXPECT_EQ(s.Rooms[2].ExtraByte3, 0x5A);
        // Channel 1 is geometry.tmp, at the first byte behind the rooms; channel 2 at the base's floor data.
        EXPECT_EQ(ReadFileBytes(f.dir / "geometry.tmp"), src.Geometry());
        EXPECT_EQ(f.prog.channels.Pos(1), static_cast<int64_t>(src.Geometry().size() - src.AfterRooms.size() + 1));
        EXPECT_EQ(f.prog.channels.ReadLong(2), Long(base.AfterRooms, 0));
    }
}

// No source or base rooms, a negative quad count, a grid beyond a word, more than 256 base rooms.
TEST(RoomReader, BadCountsTakeTheErrorPath) {
    using Damage = void (*)(Tr4SourceBuilder&, ClassicBaseBuilder&);
    const std::pair<Damage, int> cases[] = {
        {[](auto& s, auto&) { s.Rooms.clear(); }, 11},
        {[](auto&, auto& b) { b.Rooms.clear(); }, 11},
        {[](auto& s, auto&) { s.Rooms[0].NumQuads = -1, s.Rooms[0].Quads.clear(); }, 9},
        {[](auto& s, auto&) { s.Rooms[0].NumZSectors = s.Rooms[0].NumXSectors = 200; }, 6},
        {[](auto&, auto& b) { b.Rooms.resize(256, b.Rooms[0]); }, 0},
        {[](auto&, auto& b) { b.Rooms.resize(257, b.Rooms[0]); }, 9}};
    for (auto [damage, number] : cases) {
        SCOPED_TRACE(number);
        RoomsFixture f;
        Tr4SourceBuilder src = Source({MakeRoom(1, 2, 1, 0, 0, 0, 0, 0)});
        ClassicBaseBuilder base = Base(3, {MakeRoom(1, 1, 0, 0, 0, 0, 0, 0)});
        damage(src, base);
        f.Convert(src.Build(), base.Build(), "b.TR2");
        ASSERT_EQ(f.platform.boxes.size(), number ? 1u : 0u);
        if (number) EXPECT_EQ(f.LastLine(), f.platform.boxes[0].First() + " (" + std::to_string(number) + ")");
    }
}
