#include <gtest/gtest.h>

#include "texturetables/FaceRemap.h"
#include "texturetables/RoomTextureIds.h"
#include "TextureTestSupport.h"

namespace {
RoomQuad Quad(int first, int texture) {
    RoomQuad q;
    for (int v = 0; v < 4; ++v) q.Vertices[v] = static_cast<int16_t>(first + v);
    q.Texture = static_cast<int16_t>(texture);
    return q;
}
RoomTriangle Triangle(int first, int texture) {
    RoomTriangle t;
    for (int v = 0; v < 3; ++v) t.Vertices[v] = static_cast<int16_t>(first + v);
    t.Texture = static_cast<int16_t>(texture);
    return t;
}

// The table: ids 3, 5, 7 get 100, 101, 102.
void BuildTable(TextureFixture& f) {
    f.prog.state.NumBaseObjectTextures = 100;
    f.AddIds({7, 3, 5});
    BuildRoomTextureIds(f.prog);
}
}  // namespace

TEST(FaceRemap, Tr23FacesAreRewrittenBehindTheirCountWords) {
    TextureFixture f;
    BuildTable(f);
    auto& s = f.prog.state;
    s.NumRooms = 3;
    s.Rooms.resize(3);
    s.Rooms[0].NumQuads = 2;
    s.Rooms[0].Quads = {Quad(1, 5), Quad(11, int16_t(0x8007))};
    s.Rooms[0].NumTriangles = 1;
    s.Rooms[0].Triangles = {Triangle(21, 9)};  // no row: row 0, new id 100
    // Room 1 has no faces; room 2 one triangle.
    s.Rooms[2].NumTriangles = 1;
    s.Rooms[2].Triangles = {Triangle(31, int16_t(0x8003))};

    // Layout: 3 filler bytes, room 0 at position 4, room 1 at 36, 4 filler bytes, room 2 at 44.
    ByteWriter w;
    w.Bytes({0xAA, 0xAB, 0xAC});
    w.Word(2).Zeros(20).Word(1).Zeros(8);
    w.Word(0).Word(0);
    w.Bytes({0xB0, 0xB1, 0xB2, 0xB3});
    w.Word(0).Word(1).Zeros(8).Bytes({0xCC});
    f.OpenWith(3, "new", w.bytes);
    s.RoomFacePositions = {4, 36, 44};
    RemapTr23TextureIds(f.prog);

    ByteWriter e;
    e.Bytes({0xAA, 0xAB, 0xAC});
    e.Word(2).Word(1).Word(2).Word(3).Word(4).Word(101);
    e.Word(11).Word(12).Word(13).Word(14).Word(0x8066);  // flagged 7: 102 with the flag
    e.Word(1).Word(21).Word(22).Word(23).Word(100);
    e.Word(0).Word(0);
    e.Bytes({0xB0, 0xB1, 0xB2, 0xB3});
    e.Word(0).Word(1).Word(31).Word(32).Word(33).Word(0x8064).Bytes({0xCC});
    EXPECT_EQ(f.FileOf("new"), e.bytes);
    EXPECT_EQ(f.prog.channels.Pos(3), 56);
    EXPECT_EQ(s.Rooms[0].Quads[1].Texture, int16_t(0x8066));
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
    r.Quads.resize(1);
    r.Quads[0] = {{1, 2, 3, 4}, 3, 0x1234};
    r.NumTriangles = 2;
    r.Triangles.resize(2);
    r.Triangles[0] = {{5, 6, 7}, int16_t(0x8005), -1};
    r.Triangles[1] = {{8, 9, 10}, 7, 0};
    ByteWriter w;
    w.Zeros(5 + 12 + 20).Bytes({0xDD});
    f.OpenWith(3, "new", w.bytes);
    s.RoomFacePositions = {2, 6};
    RemapTr5TextureIds(f.prog);

    ByteWriter e;
    e.Zeros(5);
    e.Word(1).Word(2).Word(3).Word(4).Word(100).Word(0x1234);
    e.Word(5).Word(6).Word(7).Word(0x8065).Word(-1);
    e.Word(8).Word(9).Word(10).Word(102).Word(0);
    e.Bytes({0xDD});
    EXPECT_EQ(f.FileOf("new"), e.bytes);
    EXPECT_EQ(f.Messages().back(), "Remapping TR5 texture IDs");
}

TEST(FaceRemap, NewIdsBeyondFifteenBits) {
    TextureFixture f;
    f.prog.state.NumBaseObjectTextures = 40000;
    f.AddIds({3});
    BuildRoomTextureIds(f.prog);
    // A flagged face keeps fitting: the word is the new id itself.
    int16_t word = int16_t(0x8003);
    EXPECT_EQ(RemappedTextureWord(f.prog, word), 40000 - 65536);
    EXPECT_EQ(word, 3);
    // An unflagged one overflows, and the faces before it stay written.
    auto& s = f.prog.state;
    s.NumRooms = 1;
    s.Rooms.resize(1);
    s.Rooms[0].NumQuads = 2;
    s.Rooms[0].Quads = {Quad(1, int16_t(0x8003)), Quad(5, 3)};
    s.RoomFacePositions = {1};
    f.OpenWith(3, "new", std::vector<uint8_t>(24, 0xEE));
    EXPECT_EQ(ErrorOf([&] { RemapTr23TextureIds(f.prog); }), Err::Overflow);
    auto out = f.FileOf("new");
    EXPECT_EQ(Word(out, 10), int16_t(40000 - 65536));
    EXPECT_EQ(out[12], 0xEE);
}
