#include "TextureTestSupport.h"

// The faces' layouts are checked with the whole object texture stretch; here the 16-bit edge.
TEST(FaceRemap, NewIdsBeyondFifteenBits) {
    TextureFixture f;
    auto& s = f.prog.state;
    s.NumBaseObjectTextures = 40000;
    f.AddIds({3});
    BuildRoomTextureIds(f.prog);
    s.NumRooms = 1;
    s.Rooms.resize(1);
    s.Rooms[0].NumQuads = 2;
    s.Rooms[0].Quads = {{{}, int16_t(0x8003)}, {{}, 3}};
    s.RoomFacePositions = {1};
    f.OpenWith(3, "new", std::vector<uint8_t>(24, 0xEE));
    // A flagged face keeps fitting: its word is the new id itself. An unflagged one overflows.
    EXPECT_EQ(ErrorOf([&] { RemapTr23TextureIds(f.prog); }), Err::Overflow);
    auto out = f.FileOf("new");
    EXPECT_EQ(Word(out, 10), int16_t(40000 - 65536));
    EXPECT_EQ(out[12], 0xEE);
}
