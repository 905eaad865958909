// Tile areas of the new level per target, built from synthetic levels with recognisable tiles.
#include <gtest/gtest.h>

#include <algorithm>

#include "driver/ZlibTool.h"
#include "rooms/RoomTestSupport.h"

namespace {
Tr4SourceBuilder SmallSource(int16_t roomTiles, int tiles16) {
    Tr4SourceBuilder s;
    s.NumRoomTiles = roomTiles;
    s.OtherTileCounts[0] = 3;
    s.Tiles32 = TilePattern(std::max<int>(roomTiles, 1), 262144, 0x30);
    s.Tiles16 = TilePattern(tiles16, 131072, 0x60);
    s.Misc = {1, 2, 3};
    s.RoomsLeadWord = 0x11223344;
    s.Rooms = {MakeRoom(1, 4, 1, 1, 0, 0, 0, 0)};
    s.AfterRooms = {0xAA, 0xBB};
    return s;
}

ClassicBaseBuilder SmallBase(int version, int tiles) {
    ClassicBaseBuilder b;
    b.Version = version;
    b.TileCount = tiles;
    b.Palette8.assign(768, 0x08);
    b.Palette16.assign(1024, 0x16);
    b.Tiles8 = TilePattern(tiles, 65536, 0x80);
    b.Tiles16 = TilePattern(tiles, 131072, 0xA0);
    b.RoomsLeadWord = 0x55667788;
    b.Rooms = {MakeRoom(9, 3, 1, 0, 0, 0, 1, 1)};
    return b;
}

bool Equal(const std::vector<uint8_t>& a, size_t aOff, const std::vector<uint8_t>& b, size_t bOff, size_t n) {
    if (aOff + n > a.size() || bOff + n > b.size()) return false;
    return std::equal(a.begin() + static_cast<long>(aOff), a.begin() + static_cast<long>(aOff + n),
                      b.begin() + static_cast<long>(bOff));
}
bool Zero(const std::vector<uint8_t>& a, size_t off, size_t n) {
    return off + n <= a.size() && std::all_of(a.begin() + static_cast<long>(off), a.begin() + static_cast<long>(off + n),
                                              [](uint8_t x) { return x == 0; });
}
}  // namespace

TEST(TextureSectionsTr2Tr3, NoRoomTilesGivesTheBaseTilesAndNothingBehindThem) {
    RoomsFixture f;
    ClassicBaseBuilder base = SmallBase(3, 2);
    auto out = f.Convert(SmallSource(0, 1).Build(), base.Build(), "base.TR2");
    auto baseBytes = base.Build();
    EXPECT_TRUE(Equal(out, 4, baseBytes, 4, 1792));
    EXPECT_EQ(Long(out, 1796), 2);
    EXPECT_TRUE(Zero(out, 1800, 2 * 65536));
    size_t tiles16 = 1800 + 2 * 65536;
    EXPECT_TRUE(Equal(out, tiles16, base.Tiles16, 0, 2 * 131072));
    EXPECT_EQ(Long(out, tiles16 + 2 * 131072), 0x55667788) << "the rooms follow at once";
    EXPECT_EQ(f.prog.state.BaseTileCount, 2);
}

TEST(TextureSectionsTr1, BaseTilesThenBlankRoomTiles) {
    RoomsFixture f;
    ClassicBaseBuilder base = SmallBase(1, 2);
    auto out = f.Convert(SmallSource(2, 2).Build(), base.Build(), "base.PHD");
    EXPECT_EQ(Long(out, 0), 32);
    EXPECT_EQ(Long(out, 4), 4);
    EXPECT_TRUE(Equal(out, 8, base.Tiles8, 0, 2 * 65536));
    EXPECT_TRUE(Zero(out, 8 + 2 * 65536, 2 * 65536));
    EXPECT_EQ(Long(out, 8 + 4 * 65536), 0x55667788);
    EXPECT_FALSE(f.Logged("Copying 8 bit palette"));
}

TEST(TextureSectionsTr1, NoRoomTilesIsARunTimeError) {
    RoomsFixture f;
    f.Convert(SmallSource(0, 1).Build(), SmallBase(2, 1).Build(), "base.TUB");
    ASSERT_EQ(f.platform.boxes.size(), 1u);
    EXPECT_EQ(f.Messages().back(), f.platform.boxes[0].text + " (9)");
}

namespace {
Tr5BaseBuilder SmallTr5Base(int tiles32x2) {
    Tr5BaseBuilder b;
    b.NumRoomTiles = 4;
    b.OtherTileCounts[0] = 7;
    b.OtherTileCounts[1] = -2;
    // tiles32x2 half tiles, to show how the base's tile count is rounded
    b.Tiles32 = TilePattern(tiles32x2, 131072, 0x10);
    b.Tiles16 = TilePattern(2, 131072, 0x20);
    b.Misc = TilePattern(1, 1000, 0x40);
    b.AfterTextures = {9, 9, 9, 9};
    return b;
}
}  // namespace

TEST(TextureSectionsTr5, BlocksAreMergedWithRealLengthsAndTheMiscBlockIsTheBase) {
    RoomsFixture f;
    Tr5BaseBuilder base = SmallTr5Base(5);  // 2.5 tiles: the count rounds to 2
    Tr4SourceBuilder src = SmallSource(1, 3);
    src.Tiles32 = TilePattern(2, 262144, 0x50);
    auto out = f.Convert(src.Build(), base.Build(), "base.trc");
    auto baseBytes = base.Build();

    EXPECT_EQ(Word(out, 4), 5);
    EXPECT_EQ(Word(out, 6), 7);
    EXPECT_EQ(Word(out, 8), -2);
    EXPECT_EQ(f.prog.state.BaseTileCount, 2);

    size_t next = 10;
    auto merged32 = InflateBlockAt(out, next, next);
    std::vector<uint8_t> expected32 = base.Tiles32;
    expected32.insert(expected32.end(), src.Tiles32.begin(), src.Tiles32.begin() + 262144);
    EXPECT_TRUE(merged32 == expected32);
    EXPECT_EQ(Long(out, 10), static_cast<int32_t>(expected32.size()));
    EXPECT_EQ(Long(out, 14), FileLength(f.dir / "texture32.zlib"));

    size_t block16 = next;
    auto merged16 = InflateBlockAt(out, next, next);
    std::vector<uint8_t> expected16 = base.Tiles16;
    expected16.insert(expected16.end(), src.Tiles16.begin(), src.Tiles16.begin() + 131072);
    EXPECT_TRUE(merged16 == expected16);
    EXPECT_EQ(Long(out, block16), static_cast<int32_t>(expected16.size()));

    // The base's misc block, both size words included.
    size_t miscSize = 8 + static_cast<size_t>(Long(out, next + 4));
    ASSERT_TRUE(Equal(out, next, baseBytes, baseBytes.size() - 4 - miscSize, miscSize));
    EXPECT_EQ(Long(out, next), 1000);

    EXPECT_EQ(ReadFileBytes(f.dir / "texture2.unc"), src.Tiles16) << "the second pass replaces the first";
    EXPECT_EQ(f.prog.state.z.Property3Value(), 0);
}

TEST(TextureSectionsTr5, BaseTileCountRoundsHalfToEvenAndNoRoomTilesStops) {
    {
        RoomsFixture f;
        f.Convert(SmallSource(1, 1).Build(), SmallTr5Base(7).Build(), "base.TRC");  // 3.5 tiles
        EXPECT_EQ(f.prog.state.BaseTileCount, 4);
    }
    {
        RoomsFixture f;
        f.Convert(SmallSource(0, 1).Build(), SmallTr5Base(2).Build(), "base.TRC");
        ASSERT_EQ(f.platform.boxes.size(), 1u);
        EXPECT_EQ(f.Messages().back(), f.platform.boxes[0].text + " (9)");
    }
    {
        RoomsFixture f;
        Tr5BaseBuilder base = SmallTr5Base(2);
        base.NumRoomTiles = 32767;
        f.Convert(SmallSource(1, 1).Build(), base.Build(), "base.TRC");
        ASSERT_EQ(f.platform.boxes.size(), 1u);
        EXPECT_EQ(f.Messages().back(), f.platform.boxes[0].text + " (6)");
    }
}

TEST(ZlibToolFiles, RoundTripReplacesOutputsAndAMissingInputLeavesNone) {
    TestFolder dir;
    std::vector<uint8_t> data = TilePattern(3, 300000, 7);  // more than one chunk
    WriteFileBytes(dir / "in", data);
    WriteFileBytes(dir / "out.unc", std::vector<uint8_t>(2000000, 0xEE));
    ZlibTool z;
    z.SetProperty(ZlibTool::InputFile, dir / "in");
    z.SetProperty(ZlibTool::OutputFile, dir / "out.z");
    z.Invoke(ZlibTool::Compress);
    auto deflated = ReadFileBytes(dir / "out.z");
    EXPECT_EQ(Inflate(deflated.data(), deflated.size(), data.size()), data);

    z.SetProperty(ZlibTool::InputFile, dir / "out.z");
    z.SetProperty(ZlibTool::OutputFile, dir / "out.unc");
    z.Invoke(ZlibTool::Decompress);
    EXPECT_EQ(ReadFileBytes(dir / "out.unc"), data);

    WriteFileBytes(dir / "empty", {});
    z.SetProperty(ZlibTool::InputFile, dir / "empty");
    z.SetProperty(ZlibTool::OutputFile, dir / "empty.z");
    z.Invoke(ZlibTool::Compress);
    auto e = ReadFileBytes(dir / "empty.z");
    EXPECT_TRUE(Inflate(e.data(), e.size(), 0).empty());
}
