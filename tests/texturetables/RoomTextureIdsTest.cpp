#include <gtest/gtest.h>

#include <random>

#include "texturetables/ObjectTextures.h"
#include "texturetables/RoomTextureIds.h"
#include "TextureTestSupport.h"

TEST(RoomTextureIds, TextOrderOfTheIdsDecidesTheNewIds) {
    TextureFixture f;
    f.prog.state.NumBaseObjectTextures = 50;
    f.AddIds({2, 10, 9, 100});
    BuildRoomTextureIds(f.prog);
    auto& s = f.prog.state;
    ASSERT_EQ(s.NumRoomTextureIds, 4);
    ASSERT_EQ(s.RoomTextureIds.size(), 5u);
    int expected[4][2] = {{10, 50}, {100, 51}, {2, 52}, {9, 53}};
    for (int j = 0; j < 4; ++j) {
        EXPECT_EQ(s.RoomTextureIds[j].OldId, expected[j][0]) << j;
        EXPECT_EQ(s.RoomTextureIds[j].NewId, expected[j][1]) << j;
    }
    EXPECT_EQ(s.RoomTextureIds[4].OldId, 0);
    EXPECT_EQ(s.RoomTextureIds[4].NewId, 0);
    EXPECT_EQ(f.prog.form.l3.Items(), (std::vector<std::string>{"10", "100", "2", "9", "a"}));
    EXPECT_EQ(f.prog.form.l4.Items(), (std::vector<std::string>{"50", "51", "52", "53"}));
    EXPECT_EQ(f.prog.form.l2.Items().back(), "a");
    EXPECT_EQ(f.Messages(), (std::vector<std::string>{"Building room texture IDs"}));
    EXPECT_EQ(FindRoomTextureId(s, 9), 3);
    EXPECT_EQ(FindRoomTextureId(s, 10), 0);
}

TEST(RoomTextureIds, RepeatsFallAwayAndNegativeIdsKeepTheirOwnRow) {
    TextureFixture f;
    f.prog.state.NumBaseObjectTextures = 7;
    // A TR2 face with the word 0x8300 enters as -32000; its plain id 768 also occurs.
    f.AddIds({5, 768, 5, -32000, 5, 768});
    BuildRoomTextureIds(f.prog);
    auto& s = f.prog.state;
    EXPECT_EQ(f.prog.form.l3.Items(), (std::vector<std::string>{"-32000", "5", "768", "a"}));
    ASSERT_EQ(s.NumRoomTextureIds, 3);
    EXPECT_EQ(s.RoomTextureIds[0].OldId, -32000);
    EXPECT_EQ(s.RoomTextureIds[2].NewId, 9);
    EXPECT_EQ(FindRoomTextureId(s, -32000), 0);
    EXPECT_EQ(FindRoomTextureId(s, 768), 2);
    EXPECT_EQ(ClearTextureFlag(-32000), 768);
}

TEST(RoomTextureIds, LookupEqualsAScanForTheFirstRow) {
    std::mt19937 rng(7);
    TextureTablesState s;
    for (int round = 0; round < 20; ++round) {
        int rows = 1 + static_cast<int>(rng() % 400);
        s.NumRoomTextureIds = static_cast<int16_t>(rows);
        s.RoomTextureIds.assign(rows + 1, {});
        for (int r = 0; r < rows; ++r) {
            // Few distinct values, so repeats are common, and some outside the 16-bit range.
            int v = static_cast<int>(rng() % 64) - 32;
            if (rng() % 50 == 0) v = 70000;
            if (rng() % 10 == 0) v = -32768 + static_cast<int>(rng() % 3);
            s.RoomTextureIds[r] = {v, 1000 + r};
        }
        // The unused last row must never be found, whatever it holds.
        s.RoomTextureIds[rows].OldId = 40;
        IndexRoomTextureIds(s);
        for (int id = -32768; id <= 32767; id += (id > -40 && id < 40) ? 1 : 97) {
            int scan = 0;
            for (int r = 0; r < rows; ++r)
                if (s.RoomTextureIds[r].OldId == id) {
                    scan = r;
                    break;
                }
            ASSERT_EQ(FindRoomTextureId(s, static_cast<int16_t>(id)), scan) << "id " << id;
        }
    }
}

TEST(RoomTextureIds, TextToNumberScan) {
    EXPECT_EQ(ScanTextNumber("  12abc"), 12);
    EXPECT_EQ(ScanTextNumber("abc"), 0);
    EXPECT_EQ(ScanTextNumber(""), 0);
    EXPECT_EQ(ScanTextNumber("-3"), -3);
    EXPECT_EQ(ScanTextNumber("2.5x"), 2.5);
    EXPECT_EQ(UvByteFromText("2.5"), 2);
    EXPECT_EQ(UvByteFromText("3.5"), 4);
    EXPECT_EQ(UvByteFromText(" 255 "), 255);
    EXPECT_EQ(UvByteFromText("none"), 0);
    EXPECT_EQ(ErrorOf([] { UvByteFromText("300"); }), Err::Overflow);
    EXPECT_EQ(ErrorOf([] { UvByteFromText("-1"); }), Err::Overflow);
}
