#include <gtest/gtest.h>

#include "texturetables/AnimatedTextures.h"
#include "texturetables/ObjectTextures.h"
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
std::vector<uint8_t> AnimatedSection(const std::vector<int>& words) {
    ByteWriter w;
    w.Long(static_cast<int64_t>(words.size()));
    for (int v : words) w.Word(v);
    return w.bytes;
}

// Bytes 0 and 2 of each corner are zero here: the TR3 fix-up turns them into 1.
const Corners FixCorners{0, 5, 0, 9, 1, 2, 3, 4, 0, 0, 0, 0, 7, 0, 8, 0};
const Corners FixedCorners{1, 5, 1, 9, 1, 2, 3, 4, 1, 0, 1, 0, 7, 0, 8, 0};
const Corners PlainCorners{10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25};

// Source: animated table (one range of the ids 2 and 3), then four object textures.
std::vector<uint8_t> Source(uint8_t uv = 0x11) {
    ByteWriter w;
    w.Bytes(AnimatedSection({1, 1, 2, 3}));
    w.Byte(uv).Bytes({'T', 'E', 'X'}).Long(4);
    SourceRecord(w, 2, 0x8003, 0x5555, FixCorners, 1);
    SourceRecord(w, 1, 1, 0, PlainCorners, 2);
    SourceRecord(w, 0, 5, 0x1234, PlainCorners, 3);
    SourceRecord(w, 2, 6, 0, FixCorners, 4);
    return w.bytes;
}

// One room whose faces stand at position 1 of the new level.
void OneRoom(ConversionState& s, int quadWord, int triangles = 0) {
    s.NumRooms = 1;
    s.Rooms.resize(1);
    s.Rooms[0].NumQuads = 1;
    s.Rooms[0].Quads.resize(1);
    s.Rooms[0].Quads[0].Texture = static_cast<int16_t>(quadWord);
    s.Rooms[0].NumTriangles = static_cast<int16_t>(triangles);
    s.Rooms[0].Triangles.resize(size_t(triangles));
    s.RoomFacePositions = {1};
}
}  // namespace

TEST(ObjectTextures, Tr3TableStandsBehindTheAnimatedTextures) {
    TextureFixture f;
    auto& s = f.prog.state;
    s.NewLevelVersion = 4;
    s.BaseTileCount = 20;
    OneRoom(s, 0x8000);  // a flagged quad of id 0
    f.AddIds({0});
    ByteWriter base;
    base.Bytes(AnimatedSection({0})).Long(2);
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
    base.Bytes(AnimatedSection({0})).Bytes({1, 2, 3, 4, 5}).Long(2);
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

TEST(ObjectTextures, Tr2TableIsCompletedAndTempTr2StitchedBehindIt) {
    TextureFixture f;
    auto& s = f.prog.state;
    s.NewLevelVersion = 3;
    s.BaseTileCount = 20;
    s.NewLevelPath = f.dir / "new.tr2";
    // A quad with the word 0x8002 and a triangle with 2: the TR2 road feeds them as -32766 and 2.
    OneRoom(s, 0x8002, 1);
    s.Rooms[0].Triangles[0].Texture = 2;
    f.AddIds({-32766, 2});
    // The new level as the sections left it: rooms, then the base's table of one record.
    ByteWriter level;
    level.Word(1).Zeros(10).Word(1).Zeros(8);
    s.ObjectTexturesCountPos = static_cast<int32_t>(level.Size()) + 1;
    level.Long(1);
    ShortRecord(level, 9, 1, PlainCorners);
    s.ObjectTexturesEndPos = static_cast<int32_t>(level.Size()) + 1;
    s.NumBaseObjectTextures = 1;
    WriteFileBytes(f.dir / "new.tr2", level.bytes);
    // temp.tr2 holds the sections behind the sprites; the animated range names the flagged id.
    ByteWriter source;
    source.Bytes(AnimatedSection({1, 0, -32766}));
    source.Byte(0).Bytes({'T', 'E', 'X'}).Long(3).Zeros(2 * 38);
    SourceRecord(source, 2, 0x8003, 0, FixCorners, 3);
    f.OpenWith(1, "src", source.bytes);
    f.OpenWith(2, "base", AnimatedSection({5, 5}));
    f.OpenWith(3, "temp.tr2", {0x51, 0x52, 0x53});
    f.prog.channels.Seek(3, 4);
    CopyAnimatedTextures(f.prog);
    WriteObjectTextures(f.prog);

    ByteWriter e;
    // Both rows now hold id 2; lookups take the first row, new id 1.
    e.Word(1).Zeros(8).Word(0x8001).Word(1).Zeros(6).Word(1);
    e.Long(3);
    ShortRecord(e, 9, 1, PlainCorners);
    ShortRecord(e, 1, 0x8017, FixCorners);  // attribute 2 becomes 1, flag and corners stay
    ShortRecord(e, 1, 0x8017, FixCorners);
    e.Bytes({0x51, 0x52, 0x53}).Long(3).Word(1).Word(0).Word(1);
    EXPECT_EQ(f.FileOf("new.tr2"), e.bytes);
    EXPECT_EQ(f.prog.channels.Pos(3), static_cast<int64_t>(e.Size()) + 1);
    EXPECT_EQ(f.Count("Copying TR1/2 object textures"), 1);
}

TEST(ObjectTextures, BadCountsIdsAndTilesStopTheConversion) {
    {
        TextureFixture f;  // a source without object textures
        f.prog.state.NewLevelVersion = 4;
        ByteWriter w;
        w.Byte(0).Bytes({'T', 'E', 'X'}).Long(0);
        f.OpenWith(1, "src", w.bytes);
        EXPECT_EQ(ErrorOf([&] { WriteObjectTextures(f.prog); }), Err::SubscriptOutOfRange);
    }
    // Row 1 names a texture the source does not have; a tile beyond 16 bits stops at row 0.
    struct Case {
        int tile, error;
        size_t written;
    } cases[] = {{5, Err::SubscriptOutOfRange, 20}, {32760, Err::Overflow, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.tile);
        TextureFixture f;
        auto& s = f.prog.state;
        s.NewLevelVersion = 3;
        s.BaseTileCount = 10;
        s.NumRoomTextureIds = 2;
        s.RoomTextureIds = {{0, 7}, {4, 8}, {0, 0}};
        s.SourceObjectTextures.resize(4);
        s.SourceObjectTextures[0].Tile = static_cast<int16_t>(c.tile);
        f.OpenWith(3, "new", {});
        EXPECT_EQ(ErrorOf([&] { WriteRoomObjectTextures(f.prog); }), c.error);
        EXPECT_EQ(f.FileOf("new").size(), c.written);
    }
}
