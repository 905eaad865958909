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
    ASSERT_EQ(s.RoomTextureIds.size(), 5u);  // the last row stays zero
    EXPECT_EQ(s.RoomTextureIds[3].OldId, 9);
    EXPECT_EQ(s.RoomTextureIds[3].NewId, 53);
    EXPECT_EQ(FindRoomTextureId(s, 9), 3);
    EXPECT_EQ(FindRoomTextureId(s, 3), 0);  // no row: row 0
    EXPECT_EQ(ErrorOf([] { UvByteFromText("300"); }), Err::Overflow);
}
