#include "TextureTestSupport.h"

// Rows stand in text order of the ids (10 before 9), repeats fall away, and the new ids run up
// from the base's count in that order.
TEST(RoomTextureIds, TextOrderOfTheIdsDecidesTheNewIds) {
    TextureFixture f;
    f.prog.state.NumBaseObjectTextures = 50;
    f.AddIds({2, 10, 9, 100, 10, 2});
    BuildRoomTextureIds(f.prog);
    auto& s = f.prog.state;
    EXPECT_EQ(f.prog.form.l3.Items(), (std::vector<std::string>{"10", "100", "2", "9", "a"}));
    ASSERT_EQ(s.NumRoomTextureIds, 4);
    ASSERT_EQ(s.RoomTextureIds.size(), 5u);
    EXPECT_EQ(s.RoomTextureIds[3].OldId, 9);
    EXPECT_EQ(s.RoomTextureIds[3].NewId, 53);
    EXPECT_EQ(s.RoomTextureIds[4].NewId, 0);
    EXPECT_EQ(FindRoomTextureId(s, 9), 3);
    EXPECT_EQ(FindRoomTextureId(s, 3), 0);  // no row: row 0
    EXPECT_EQ(ErrorOf([] { UvByteFromText("300"); }), Err::Overflow);
}

// The lookup runs through an index over the 16-bit ids: the first row in use whose OldId equals
// the id sign-extended, else row 0.
TEST(RoomTextureIds, LookupFindsTheFirstRowInUse) {
    TextureTablesState s;
    s.NumRoomTextureIds = 5;
    s.RoomTextureIds = {{7, 0}, {-32768, 0}, {5, 0}, {70000, 0}, {5, 0}, {9, 0}};  // the last row is unused
    IndexRoomTextureIds(s);
    const std::pair<int, int> lookups[] = {{-32768, 1}, {5, 2}, {7, 0}, {70000 - 65536, 0}, {9, 0}, {32767, 0}};
    for (auto [id, row] : lookups) EXPECT_EQ(FindRoomTextureId(s, static_cast<int16_t>(id)), row) << id;
}
