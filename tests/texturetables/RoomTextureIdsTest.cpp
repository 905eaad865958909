#include "TextureTestSupport.h"

// Rows stand in text order of the ids (10 before 9), repeats fall away, and the new ids run up
// from the base's count in that order. Faces then take them, up to the 16-bit edge.
TEST(RoomTextureIds, TextOrderDecidesTheNewIdsThatFacesTake) {
    TextureFixture f;
    auto& s = f.prog.state;
    s.NumBaseObjectTextures = 40000;
    f.AddIds({2, 10, 9, 100, 10, 2});
    BuildRoomTextureIds(f.prog);
    EXPECT_EQ(f.prog.form.l3.Items(), (std::vector<std::string>{"10", "100", "2", "9", "a"}));
    ASSERT_EQ(s.NumRoomTextureIds, 4);
    ASSERT_EQ(s.RoomTextureIds.size(), 5u);  // the last row stays zero
    EXPECT_EQ(std::tie(s.RoomTextureIds[3].OldId, s.RoomTextureIds[3].NewId), std::make_tuple(9, 40003));
    EXPECT_EQ(std::make_tuple(FindRoomTextureId(s, 9), FindRoomTextureId(s, 3)), std::make_tuple(3, 0));  // 3: no row

    Room room;
    room.NumQuads = 2, room.Quads = {{{}, int16_t(0x8009)}, {{}, 10}};
    s.NumRooms = 1, s.Rooms = {room}, s.RoomFacePositions = {1};
    f.Open(0, {}, {}, std::vector<uint8_t>(24, 0xEE));
    // A flagged face keeps fitting: its word is the new id itself. An unflagged one overflows.
    EXPECT_EQ(ErrorOf([&] { RemapTr23TextureIds(f.prog); }), Err::Overflow);
    auto out = f.Output();
    EXPECT_EQ(Word(out, 10), int16_t(40003 - 65536));
    EXPECT_EQ(out[12], 0xEE);
    EXPECT_EQ(ErrorOf([] { UvByteFromText("300"); }), Err::Overflow);
}

// Scanned or indexed: the first row holding an id, row 0 for none, never a row past NumRoomTextureIds.
TEST(RoomTextureIds, ScanAndIndexFindTheSameRows) {
    for (int rows : {3, 64, 65, 300}) {
        TextureTablesState s;
        s.RoomTextureIds.resize(static_cast<size_t>(rows) + 1);
        for (int r = 0; r < rows; ++r) s.RoomTextureIds[static_cast<size_t>(r)].OldId = (r * 7) % 50 - 25;
        s.RoomTextureIds[1].OldId = 70000;  // outside 16 bits: no id reaches it
        s.NumRoomTextureIds = static_cast<int16_t>(rows);
        IndexRoomTextureIds(s);
        const auto begin = s.RoomTextureIds.begin(), end = begin + rows;
        for (int id = -40; id <= 40; ++id) {
            const auto row = std::find_if(begin, end, [&](const auto& r) { return r.OldId == id; });
            EXPECT_EQ(FindRoomTextureId(s, int16_t(id)), row == end ? 0 : row - begin) << rows << " rows, id " << id;
        }
        EXPECT_EQ(FindRoomTextureId(s, static_cast<int16_t>(70000 - 65536)), 0);
        // One row fewer without a new index: the last row is out of reach.
        const int16_t last = static_cast<int16_t>(s.RoomTextureIds[static_cast<size_t>(rows - 1)].OldId);
        const int16_t first = FindRoomTextureId(s, last);
        s.NumRoomTextureIds = static_cast<int16_t>(rows - 1);
        EXPECT_EQ(FindRoomTextureId(s, last), first == rows - 1 ? 0 : first) << rows << " rows";
    }
}
