// The room writer for TR1 to TR3 targets: where the room data words overflow. The layouts
// themselves are checked byte for byte on the real levels in RealLevelRoomsTest.
#include <gtest/gtest.h>

#include "driver/Errors.h"
#include "rooms/RoomConversion.h"
#include "rooms/RoomTestSupport.h"
#include "rooms/RoomWriter.h"

namespace {
// Converts the rooms for a target as the conversion would, then writes them; returns the file.
std::vector<uint8_t> Write(RoomsFixture& f, int version, std::vector<Room> rooms) {
    auto& s = f.prog.state;
    s.NewLevelVersion = version;
    s.NumRooms = static_cast<int16_t>(rooms.size());
    s.Rooms = std::move(rooms);
    if (version <= 2) Tr4ToTr1(f.prog);
    if (version == 3) Tr4ToTr2(f.prog);
    if (version == 4) Tr4ToTr3(f.prog);
    f.prog.channels.Open(3, f.dir / "new.lvl", OpenMode::Binary);
    int number = ErrorOf([&] { WriteRooms(f.prog); });
    f.prog.channels.Close(3);
    if (number != 0) Raise(number);
    return ReadFileBytes(f.dir / "new.lvl");
}
}  // namespace

TEST(RoomWriter, GeometryBeyond32767BytesOverflows) {
    Room big = MakeRoom(1, 2731, 0, 0, 0, 0, 0, 0);  // 2731 x 12 = 32772
    {
        RoomsFixture f;
        EXPECT_EQ(ErrorOf([&] { Write(f, 3, {MakeRoom(2, 1, 0, 0, 0, 0, 0, 0), big}); }), 6);
        // The first room and the head of the second stand in the file.
        ByteWriter first;
        WriteRoom(first, f.prog.state.Rooms[0], RoomLayout::Tr2);
        auto out = ReadFileBytes(f.dir / "new.lvl");
        ASSERT_EQ(out.size(), 6 + first.Size() + 16);
        EXPECT_EQ(Long(out, 6 + first.Size()), big.X);
    }
    {
        RoomsFixture f;  // 2731 x 8 fits in a TR1 room
        auto out = Write(f, 1, {big});
        EXPECT_EQ(Long(out, 6 + 16), 2731 * 4 + 4);
    }
    {
        RoomsFixture f;  // the sum overflows: 2000 x 12 + 900 x 10
        Room r = MakeRoom(1, 2000, 900, 0, 0, 0, 0, 0);
        EXPECT_EQ(ErrorOf([&] { Write(f, 4, {r}); }), 6);
    }
}
