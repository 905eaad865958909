#include <gtest/gtest.h>

#include <random>

#include "texturetables/ObjectTextures.h"
#include "texturetables/RoomTextureIds.h"
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
    EXPECT_EQ(f.prog.form.l4.Items(), (std::vector<std::string>{"50", "51", "52", "53"}));
    ASSERT_EQ(s.NumRoomTextureIds, 4);
    ASSERT_EQ(s.RoomTextureIds.size(), 5u);
    EXPECT_EQ(s.RoomTextureIds[3].OldId, 9);
    EXPECT_EQ(s.RoomTextureIds[3].NewId, 53);
    EXPECT_EQ(s.RoomTextureIds[4].NewId, 0);
    EXPECT_EQ(FindRoomTextureId(s, 9), 3);
    EXPECT_EQ(FindRoomTextureId(s, 3), 0);  // no row: row 0
    EXPECT_EQ(ErrorOf([] { UvByteFromText("300"); }), Err::Overflow);
}

// The lookup runs through an index; it must give what a scan for the first row gives.
TEST(RoomTextureIds, LookupEqualsAScanForTheFirstRow) {
    std::mt19937 rng(7);
    TextureTablesState s;
    for (int round = 0; round < 20; ++round) {
        int rows = 1 + static_cast<int>(rng() % 400);
        s.NumRoomTextureIds = static_cast<int16_t>(rows);
        s.RoomTextureIds.assign(rows + 1, {});
        // Few distinct values, so repeats are common; some outside 16 bits or at the index's edge.
        for (int r = 0; r < rows; ++r) {
            int v = static_cast<int>(rng() % 64) - 32;
            if (rng() % 20 == 0) v = rng() % 2 ? 70000 : -32768;
            s.RoomTextureIds[r] = {v, 1000 + r};
        }
        s.RoomTextureIds[rows].OldId = 40;  // the unused last row is never found
        IndexRoomTextureIds(s);
        std::vector<int> probes{-32768, 32767};
        for (int id = -64; id <= 64; ++id) probes.push_back(id);
        for (int id : probes) {
            int scan = 0;
            while (scan < rows && s.RoomTextureIds[scan].OldId != id) ++scan;
            ASSERT_EQ(FindRoomTextureId(s, static_cast<int16_t>(id)), scan == rows ? 0 : scan) << id;
        }
    }
}
