#include <gtest/gtest.h>

#include "texturetables/AnimatedTextures.h"
#include "texturetables/ObjectTextures.h"
#include "texturetables/RoomTextureIds.h"
#include "TextureTestSupport.h"

namespace {
using Corners = std::vector<uint8_t>;  // 16 bytes

void SourceRecord(ByteWriter& w, int attribute, int tile, int middle, const Corners& corners, int tailSeed) {
    w.Word(attribute).Word(tile).Word(middle).Bytes(corners);
    for (int k = 0; k < 4; ++k) w.Long(tailSeed * 100 + k);
}
void ShortRecord(ByteWriter& w, int attribute, int tile, const Corners& corners) {
    w.Word(attribute).Word(tile).Bytes(corners);
}

// Bytes 0 and 2 of each corner are zero here: the TR3 fix-up turns them into 1.
const Corners FixCorners{0, 5, 0, 9, 1, 2, 3, 4, 0, 0, 0, 0, 7, 0, 8, 0};
const Corners FixedCorners{1, 5, 1, 9, 1, 2, 3, 4, 1, 0, 1, 0, 7, 0, 8, 0};
const Corners PlainCorners{10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25};

// Source: animated table (one range of the ids 2 and 3), then four object textures.
std::vector<uint8_t> Source(uint8_t uv = 0x11) {
    ByteWriter w;
    w.Bytes(Words({1, 1, 2, 3}, true));
    w.Byte(uv).Bytes({'T', 'E', 'X'}).Long(4);
    SourceRecord(w, 2, 0x8003, 0x5555, FixCorners, 1);
    SourceRecord(w, 1, 1, 0, PlainCorners, 2);
    SourceRecord(w, 0, 5, 0x1234, PlainCorners, 3);
    SourceRecord(w, 2, 6, 0, FixCorners, 4);
    return w.bytes;
}

}  // namespace

TEST(ObjectTextures, Tr3TableStandsBehindTheAnimatedTextures) {
    TextureFixture f;
    auto& s = f.prog.state;
    s.NewLevelVersion = 4;
    s.BaseTileCount = 20;
    s.NumRooms = 1;  // one room with a flagged quad of id 0
    s.Rooms.resize(1);
    s.Rooms[0].NumQuads = 1;
    s.Rooms[0].Quads.resize(1);
    s.Rooms[0].Quads[0].Texture = int16_t(0x8000);
    s.RoomFacePositions = {1};
    f.AddIds({0});
    ByteWriter base;
    base.Bytes(Words({0}, true)).Long(2);
    ShortRecord(base, 9, 1, PlainCorners);
    ShortRecord(base, 8, 2, PlainCorners);
    base.Bytes({0xEE});
    ByteWriter rooms;
    rooms.Word(1).Zeros(10).Word(0);
    f.OpenWith(1, "src", Source());
    f.OpenWith(2, "base", base.bytes);
    f.OpenWith(3, "new", rooms.bytes);
    f.prog.channels.Seek(3, 15);
    CopyAnimatedTextures(f.prog);
    WriteObjectTextures(f.prog);

    ByteWriter e;
    e.Word(1).Zeros(8).Word(0x8002).Word(0);  // face: id 0 is row 0, new id 2, flag back on
    e.Long(4).Word(1).Word(1).Word(3).Word(4);
    e.Long(5);
    ShortRecord(e, 9, 1, PlainCorners);
    ShortRecord(e, 8, 2, PlainCorners);
    ShortRecord(e, 2, 23, FixedCorners);  // flag erased, 3 + 20 tiles, attribute kept
    ShortRecord(e, 0, 25, PlainCorners);
    ShortRecord(e, 2, 26, FixedCorners);
    EXPECT_EQ(f.FileOf("new"), e.bytes);
    EXPECT_EQ(f.prog.channels.Pos(3), static_cast<int64_t>(e.Size()) + 1);
    EXPECT_EQ(f.prog.channels.Pos(1), static_cast<int64_t>(Source().size()) + 1);
    EXPECT_EQ(f.Messages(), (std::vector<std::string>{
                                "Copying animated textures", "Copying TR3 object textures    ",
                                "Building room texture IDs", "Rebuilding animated textures table",
                                "Remapping TR2/3 texture IDs", "Writing room object textures",
                                "Erasing 'Triangle-flag' in object texture #0"}));
}

TEST(ObjectTextures, Tr5HeadCarriesTheUvRangeTwiceAndRecordsKeepEveryField) {
    TextureFixture f;
    auto& s = f.prog.state;
    s.NewLevelVersion = 6;
    s.BaseTileCount = 20;
    f.prog.form.Text4.SetText(" 7.5 units");
    f.AddIds({0});
    ByteWriter base;
    base.Bytes(Words({0}, true)).Bytes({1, 2, 3, 4, 5}).Long(2);
    SourceRecord(base, 3, 4, 6, PlainCorners, 9);
    base.Word(0xBEEF).Zeros(40);
    f.OpenWith(1, "src", Source(0x33));
    f.OpenWith(2, "base", base.bytes);
    f.OpenWith(3, "new", {});
    CopyAnimatedTextures(f.prog);
    WriteObjectTextures(f.prog);

    ByteWriter e;
    e.Long(4).Word(1).Word(1).Word(3).Word(4);  // ids 2 and 3 are rows 1 and 2
    e.Byte(8).Bytes({'T', 'E', 'X'}).Byte(8).Long(5);
    SourceRecord(e, 3, 4, 6, PlainCorners, 9);
    e.Word(0xBEEF).Zeros(40);
    SourceRecord(e, 2, 0x8017, 0x5555, FixCorners, 1);  // flag, attribute and corners stay
    e.Word(0);
    SourceRecord(e, 0, 25, 0x1234, PlainCorners, 3);
    e.Word(0);
    SourceRecord(e, 2, 26, 0, FixCorners, 4);
    e.Word(0);
    EXPECT_EQ(f.FileOf("new"), e.bytes);
    EXPECT_EQ(f.Count("Remapping TR5 texture IDs"), 1);
    EXPECT_EQ(f.Count("Writing room object textures"), 0);
}

// TR1, Gold and TR2 rows: attribute 2 becomes 1, the flag stays, and a texture with a flagged and a
// plain row gets the tiles added once in each. Bad ids and tiles stop the conversion.
TEST(ObjectTextures, Tr2RowsKeepTheFlagAndStopOnBadIdsAndTiles) {
    struct Case {
        int firstId, secondId, tile, error;
        size_t written;
    } cases[] = {{-32768, 0, 0x8003, 0, 40},
                 {0, 4, 0x8003, Err::SubscriptOutOfRange, 20},
                 {0, 0, 32760, Err::Overflow, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.error);
        TextureFixture f;
        auto& s = f.prog.state;
        s.NewLevelVersion = 3;
        s.BaseTileCount = 20;
        s.NumRoomTextureIds = 2;
        s.RoomTextureIds = {{c.firstId, 7}, {c.secondId, 8}, {0, 0}};
        IndexRoomTextureIds(s);
        ByteWriter source;
        SourceRecord(source, 2, c.tile, 0, FixCorners, 1);
        s.SourceObjectTextures = ParseObjectTextures(source.bytes, 1, ObjectTextureSourceSize);
        f.OpenWith(3, "new", {});
        EXPECT_EQ(ErrorOf([&] { WriteRoomObjectTextures(f.prog); }), c.error);
        ByteWriter e;
        ShortRecord(e, 1, 0x8017, FixCorners);
        ShortRecord(e, 1, 0x8017, FixCorners);
        e.bytes.resize(c.written);
        EXPECT_EQ(f.FileOf("new"), e.bytes);
        // Both rows now hold id 0: lookups take the first.
        if (c.error == 0) EXPECT_EQ(FindRoomTextureId(s, 0), 0);
    }
}
