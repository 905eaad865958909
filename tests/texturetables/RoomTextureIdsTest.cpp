#include "TextureTestSupport.h"

// New ids run up from the base's count in text order of the ids (10 before 9). Faces take them up
// to the 16-bit edge: a flagged face keeps fitting, as its word is the new id itself.
TEST(RoomTextureIds, FlaggedFacesFitPastTheSignedEdgeAndUnflaggedOnesOverflow) {
    TextureFixture f;
    auto& s = f.prog.state;
    s.NumBaseObjectTextures = 40000;
    f.AddIds({9, 10});
    BuildRoomTextureIds(f.prog);
    Room room;
    room.NumQuads = 2, room.Quads = {{{}, int16_t(0x8009)}, {{}, 10}};
    s.NumRooms = 1, s.Rooms = {room}, s.RoomFacePositions = {1};
    f.Open(0, {}, {}, std::vector<uint8_t>(24, 0xEE));
    EXPECT_EQ(ErrorOf([&] { RemapTr23TextureIds(f.prog); }), Err::Overflow);
    auto out = f.Output();
    EXPECT_EQ(Word(out, 10), int16_t(40001 - 65536));
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
