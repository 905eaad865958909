#include <gtest/gtest.h>

#include "texturetables/FaceRemap.h"
#include "texturetables/RoomTextureIds.h"
#include "TextureTestSupport.h"

namespace {
// The table: ids 3, 5, 7 get 100, 101, 102.
void BuildTable(TextureFixture& f, int numBase = 100) {
    f.prog.state.NumBaseObjectTextures = numBase;
    f.AddIds({7, 3, 5});
    BuildRoomTextureIds(f.prog);
}
}  // namespace

TEST(FaceRemap, Tr23FacesAreRewrittenBehindTheirCountWordsRoomByRoom) {
    TextureFixture f;
    BuildTable(f);
    auto& s = f.prog.state;
    s.NumRooms = 3;
    s.Rooms.resize(3);
    s.Rooms[0].NumQuads = 1;
    s.Rooms[0].Quads.resize(1);
    s.Rooms[0].Quads[0].Texture = 5;
    s.Rooms[0].NumTriangles = 1;
    s.Rooms[0].Triangles.resize(1);
    s.Rooms[0].Triangles[0].Texture = 9;  // no row: row 0, new id 100
    // Room 1 has no faces; room 2 one flagged triangle.
    s.Rooms[2].NumTriangles = 1;
    s.Rooms[2].Triangles.resize(1);
    s.Rooms[2].Triangles[0].Texture = int16_t(0x8007);
    // Room 0 at position 2, room 1 at 24, two filler bytes, room 2 at 30.
    f.OpenWith(3, "new", Words({0xAAAA, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0xBBBB, 0, 1, 0, 0, 0, 0}));
    s.RoomFacePositions = {2, 24, 30};
    RemapTr23TextureIds(f.prog);

    EXPECT_EQ(f.FileOf("new"),
              Words({0xAAAA, 1, 0, 0, 0, 0, 101, 1, 0, 0, 0, 100, 0, 0, 0xBBBB, 0, 1, 0, 0, 0, 0x8066}));
    EXPECT_EQ(f.prog.channels.Pos(3), 43);
    EXPECT_EQ(s.Rooms[2].Triangles[0].Texture, int16_t(0x8066));
    EXPECT_EQ(f.prog.form.l4.Items().back(), "========");
    EXPECT_EQ(f.Messages().back(), "Remapping TR2/3 texture IDs");
}

TEST(FaceRemap, Tr5FacesStandBackToBackWithTheirExtraWord) {
    TextureFixture f;
    BuildTable(f);
    auto& s = f.prog.state;
    s.NumRoomsTr5 = 2;
    s.RoomsTr5.resize(2);
    Tr5Room& r = s.RoomsTr5[1];
    r.NumQuads = 1;
    r.Quads = {{{1, 2, 3, 4}, 3, 0x1234}};
    r.NumTriangles = 2;
    r.Triangles = {{{5, 6, 7}, int16_t(0x8005), -1}, {{8, 9, 10}, 7, 0}};
    f.OpenWith(3, "new", Words({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xDD}));
    s.RoomFacePositions = {2, 3};
    RemapTr5TextureIds(f.prog);

    EXPECT_EQ(f.FileOf("new"), Words({0, 1, 2, 3, 4, 100, 0x1234, 5, 6, 7, 0x8065, -1, 8, 9, 10, 102, 0xDD}));
    EXPECT_EQ(f.Messages().back(), "Remapping TR5 texture IDs");
}

TEST(FaceRemap, NewIdsBeyondFifteenBits) {
    TextureFixture f;
    BuildTable(f, 40000);
    // A flagged face keeps fitting: the word is the new id itself.
    int16_t word = int16_t(0x8003);
    EXPECT_EQ(RemappedTextureWord(f.prog, word), 40000 - 65536);
    EXPECT_EQ(word, 3);
    // An unflagged one overflows, and the faces before it stay written.
    auto& s = f.prog.state;
    s.NumRooms = 1;
    s.Rooms.resize(1);
    s.Rooms[0].NumQuads = 2;
    s.Rooms[0].Quads.resize(2);
    s.Rooms[0].Quads[0].Texture = int16_t(0x8003);
    s.Rooms[0].Quads[1].Texture = 3;
    s.RoomFacePositions = {1};
    f.OpenWith(3, "new", std::vector<uint8_t>(24, 0xEE));
    EXPECT_EQ(ErrorOf([&] { RemapTr23TextureIds(f.prog); }), Err::Overflow);
    auto out = f.FileOf("new");
    EXPECT_EQ(Word(out, 10), int16_t(40000 - 65536));
    EXPECT_EQ(out[12], 0xEE);
}
