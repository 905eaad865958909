#include "TextureTestSupport.h"

namespace {
using Corners = std::vector<uint8_t>;  // 16 bytes

ByteWriter& SourceRecord(ByteWriter& w, int attribute, int tile, int middle, const Corners& corners,
                         int tailSeed) {
    w.Word(attribute).Word(tile).Word(middle).Bytes(corners);
    for (int k = 0; k < 4; ++k) w.Long(tailSeed * 100 + k);
    return w;
}
void ShortRecord(ByteWriter& w, int attribute, int tile, const Corners& c) { w.Word(attribute).Word(tile).Bytes(c); }

// Bytes 0 and 2 of each corner are zero here: the TR3 fix-up turns them into 1.
const Corners FixCorners{0, 5, 0, 9, 1, 2, 3, 4, 0, 0, 0, 0, 7, 0, 8, 0};
const Corners FixedCorners{1, 5, 1, 9, 1, 2, 3, 4, 1, 0, 1, 0, 7, 0, 8, 0};
const Corners PlainCorners{10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25};

// Animated table of one range, ids 1 and 2 with the flag (its range count says 5); three textures.
std::vector<uint8_t> Source() {
    ByteWriter w;
    w.Bytes(Words({5, 1, 1, -32766}, true));
    w.Byte(0x11).Bytes({'T', 'E', 'X'}).Long(3);
    SourceRecord(w, 2, 0x8003, 0x5555, FixCorners, 1);
    SourceRecord(w, 0, 5, 0x1234, PlainCorners, 3);
    SourceRecord(w, 2, 6, 0, FixCorners, 4);
    return w.bytes;
}
}  // namespace

// Rows in text order: -32766 (id 2 flagged, from the animated range), 0, 1, 2; new ids 1 to 4.
TEST(ObjectTextures, Tr3RemapsFacesAndRangesThenWritesTheTableBehindThem) {
    TextureFixture f;
    auto& s = f.prog.state;
    Room room;  // a flagged quad of id 0 and a triangle of id 2, at position 3
    room.NumQuads = room.NumTriangles = 1, room.Quads = {{{}, int16_t(0x8000)}}, room.Triangles = {{{}, 2}};
    s.BaseTileCount = 20, s.NumRooms = 1, s.Rooms = {room}, s.RoomFacePositions = {3};
    f.AddIds({0, 2});
    ByteWriter base;
    base.Bytes(Words({7, 7}, true)).Long(1);
    ShortRecord(base, 9, 1, PlainCorners);
    f.Open(4, Source(), base.bytes, ByteWriter{}.Word(0xEEEE).Word(1).Zeros(10).Word(1).Zeros(8).bytes);
    CopyAnimatedTextures(f.prog);
    WriteObjectTextures(f.prog);

    ByteWriter e;
    e.Word(0xEEEE).Word(1).Zeros(8).Word(0x8002).Word(1).Zeros(6).Word(4);
    e.Bytes(Words({1, 1, 3, 1}, true)).Long(5);  // the range count follows the words
    ShortRecord(e, 9, 1, PlainCorners);
    ShortRecord(e, 2, 26, FixedCorners);  // the flagged row became a plain id
    ShortRecord(e, 2, 23, FixedCorners);  // flag erased, 3 + 20 tiles, attribute kept
    ShortRecord(e, 0, 25, PlainCorners);
    ShortRecord(e, 2, 26, FixedCorners);
    EXPECT_EQ(f.Output(), e.bytes);
    EXPECT_EQ(f.prog.channels.Pos(3), static_cast<int64_t>(e.Size()) + 1);
    EXPECT_EQ(f.Messages().back(), "Erasing 'Triangle-flag' in object texture #1");
}

// Rows -32766, 0, 1; new ids 2 to 4.
TEST(ObjectTextures, Tr5HeadCarriesTheUvRangeTwiceAndRecordsKeepEveryField) {
    TextureFixture f;
    auto& s = f.prog.state;
    f.prog.form.Text4.SetText(" 7.5 units");
    Tr5Room room;  // a quad of id 1 and a flagged triangle of id 0, back to back
    room.NumQuads = room.NumTriangles = 1;
    room.Quads = {{{1, 2, 3, 4}, 1, 0x1234}}, room.Triangles = {{{5, 6, 7}, int16_t(0x8000), -1}};
    s.BaseTileCount = 20, s.NumRoomsTr5 = 1, s.RoomsTr5 = {room}, s.RoomFacePositions = {1};
    f.AddIds({1, 0});
    ByteWriter base;
    base.Bytes(Words({0}, true)).Bytes({1, 2, 3, 4, 5}).Long(2);
    SourceRecord(base, 3, 4, 6, PlainCorners, 9).Word(0xBEEF).Zeros(40);
    f.Open(6, Source(), base.bytes, std::vector<uint8_t>(22));
    CopyAnimatedTextures(f.prog);
    WriteObjectTextures(f.prog);

    ByteWriter e;
    e.Bytes(Words({1, 2, 3, 4, 4, 0x1234, 5, 6, 7, 0x8003, -1})).Bytes(Words({1, 1, 4, 2}, true));
    e.Byte(8).Bytes({'T', 'E', 'X'}).Byte(8).Long(5);
    SourceRecord(e, 3, 4, 6, PlainCorners, 9).Word(0xBEEF).Zeros(40);
    SourceRecord(e, 2, 26, 0, FixCorners, 4).Word(0);
    SourceRecord(e, 2, 0x8017, 0x5555, FixCorners, 1).Word(0);  // flag, attribute and corners stay
    SourceRecord(e, 0, 25, 0x1234, PlainCorners, 3).Word(0);
    EXPECT_EQ(f.Output(), e.bytes);
    EXPECT_EQ(f.Messages().back(), "Remapping TR5 texture IDs");  // and no line for the rows
}

// TR1, Gold, TR2 rows: attribute 2 becomes 1, the flag stays (not for TR1's engine layout), tiles are
// added once per row, lookups take the first of two equal rows; bad ids and tiles stop the run.
TEST(ObjectTextures, Tr2RowsKeepTheFlagAndStopOnBadIdsAndTiles) {
    const std::tuple<int, int, int, int, size_t, int> cases[] = {  // ids, tile, error, bytes written, version
        {-32768, 0, 0x8003, 0, 40, 3}, {0, 4, 0x8003, Err::SubscriptOutOfRange, 20, 3},
        {0, 0, 32760, Err::Overflow, 0, 3}, {-32768, 0, 0x8003, 0, 40, 1}};
    for (const auto& [firstId, secondId, tile, error, written, version] : cases) {
        SCOPED_TRACE(testing::Message() << error << " " << version);
        TextureFixture f;
        auto& s = f.prog.state;
        f.prog.form.Check6.SetValue(version == 1);
        s.BaseTileCount = 20, s.NumRoomTextureIds = 2, s.RoomTextureIds = {{firstId, 7}, {secondId, 8}, {0, 0}};
        IndexRoomTextureIds(s);
        ByteWriter source;
        SourceRecord(source, 2, tile, 0, FixCorners, 1);
        s.SourceObjectTextures = ParseObjectTextures(source.bytes, 1, ObjectTextureSourceSize);
        f.Open(version, {}, {});
        EXPECT_EQ(ErrorOf([&] { WriteRoomObjectTextures(f.prog); }), error);
        ByteWriter e;
        const int newTile = version == 1 ? 23 : 0x8017;
        ShortRecord(e, 1, newTile, FixCorners), ShortRecord(e, 1, newTile, FixCorners);
        e.bytes.resize(written);
        EXPECT_EQ(f.Output(), e.bytes);
        if (error == 0) EXPECT_EQ(FindRoomTextureId(s, 0), 0);
    }
}
