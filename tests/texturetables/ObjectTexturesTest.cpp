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
}  // namespace

// TR2 rows: attribute 2 becomes 1, the flag stays (not for TR3, which logs it and fixes zero corner
// bytes), tiles are added once per row, lookups take the first of two equal rows; bad ids and tiles
// stop the run.
TEST(ObjectTextures, RowsPerTargetAndBadIdsAndTilesStopTheRun) {
    const std::tuple<int, int, int, int, size_t, int> cases[] = {  // ids, tile, error, bytes written, version
        {-32768, 0, 0x8003, 0, 40, 3}, {0, 4, 0x8003, Err::SubscriptOutOfRange, 20, 3},
        {0, 0, 32760, Err::Overflow, 0, 3}, {-32768, 0, 0x8003, 0, 40, 4}};
    for (const auto& [firstId, secondId, tile, error, written, version] : cases) {
        SCOPED_TRACE(testing::Message() << error << " " << version);
        TextureFixture f;
        auto& s = f.prog.state;
        s.BaseTileCount = 20, s.NumRoomTextureIds = 2, s.RoomTextureIds = {{firstId, 7}, {secondId, 8}, {0, 0}};
        IndexRoomTextureIds(s);
        ByteWriter source;
        SourceRecord(source, 2, tile, 0, FixCorners, 1);
        s.SourceObjectTextures = ParseObjectTextures(source.bytes, 1, ObjectTextureSourceSize);
        f.Open(version, {}, {});
        EXPECT_EQ(ErrorOf([&] { WriteRoomObjectTextures(f.prog); }), error);
        ByteWriter e;
        const int newTile = version == 3 ? 0x8017 : 23, attribute = version == 4 ? 2 : 1;
        const Corners& corners = version == 4 ? FixedCorners : FixCorners;
        ShortRecord(e, attribute, newTile, corners), ShortRecord(e, attribute, newTile, corners);
        e.bytes.resize(written);
        EXPECT_EQ(f.Output(), e.bytes);
        if (error == 0) EXPECT_EQ(FindRoomTextureId(s, 0), 0);
        EXPECT_EQ(f.Logged("Erasing 'Triangle-flag' in object texture #0"), version == 4);
    }
}
