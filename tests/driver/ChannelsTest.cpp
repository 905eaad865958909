#include <gtest/gtest.h>
#include <zlib.h>

#include "driver/Channels.h"
#include "driver/Checked.h"
#include "driver/Streams.h"
#include "support/TestFolder.h"

TEST(Channels, PositionsAreOneBasedAndValuesLittleEndian) {
    TestFolder dir;
    Channels ch;
    ch.Open(3, dir / "a.bin", OpenMode::Binary);
    EXPECT_EQ(ch.Pos(3), 1);
    ch.WriteLong(3, 0x11223344);
    ch.WriteWord(3, -2);
    ch.WriteByte(3, 7);
    EXPECT_EQ(ch.Pos(3), 8);
    ch.Seek(3, 5);
    EXPECT_EQ(ch.ReadWord(3), -2);
    ch.Seek(3, 1);
    ch.WriteWord(3, 0x5566);  // patch in place, the rest stays
    ch.Close(3);
    EXPECT_EQ(ReadFileBytes(dir / "a.bin"), (std::vector<uint8_t>{0x66, 0x55, 0x22, 0x11, 0xFE, 0xFF, 7}));
}

TEST(Channels, BinaryOpenNeverTruncatesAndReadsPastEndGiveZeros) {
    TestFolder dir;
    WriteFileBytes(dir / "b.bin", {1, 2, 3});
    Channels ch;
    ch.Open(1, dir / "b.bin", OpenMode::Binary);
    EXPECT_EQ(ch.ReadLong(1), 0x030201);
    EXPECT_EQ(ch.Pos(1), 5);
    EXPECT_TRUE(ch.Eof(1));
    EXPECT_EQ(ch.ReadWord(1), 0);
    ch.Close(1);
    EXPECT_EQ(ReadFileBytes(dir / "b.bin").size(), 3u);
}

TEST(Channels, TextOutputEmptiesTheFileAndEndsLinesInCrLf) {
    TestFolder dir;
    WriteFileBytes(dir / "t.txt", {'x', 'y', 'z', 'z'});
    Channels ch;
    ch.Open(4, dir / "t.txt", OpenMode::TextOutput);
    ch.WriteLine(4, "ab");
    ch.WriteLine(4, "");
    ch.Close(4);
    EXPECT_EQ(ReadFileText(dir / "t.txt"), "ab\r\n\r\n");
}

TEST(Channels, BadChannelsAndPathsAreRunTimeErrors) {
    TestFolder dir;
    Channels ch;
    try {
        ch.ReadByte(5);
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.Number, Err::BadFileNameOrNumber);
    }
    EXPECT_THROW(ch.Open(1, dir.str(), OpenMode::Binary), RuntimeError);
    EXPECT_THROW(ch.Open(1, dir / "missing/x.bin", OpenMode::Binary), RuntimeError);
    ch.Open(1, dir / "new.bin", OpenMode::Binary);  // a missing file in an existing folder is created
    EXPECT_TRUE(FileExists(dir / "new.bin"));
    EXPECT_THROW(ch.Open(1, dir / "other.bin", OpenMode::Binary), RuntimeError);
}

TEST(Streams, UncompressBufferResizesToTheInflatedLength) {
    EXPECT_EQ(UncompressEstimate(0), 12);
    EXPECT_EQ(UncompressEstimate(50), 62);    // 62.5 rounds to even
    EXPECT_EQ(UncompressEstimate(150), 164);  // 163.5 rounds to even
    std::vector<uint8_t> plain(1000);
    for (size_t i = 0; i < plain.size(); ++i) plain[i] = static_cast<uint8_t>(i * 7);
    uLongf len = compressBound(plain.size());
    std::vector<uint8_t> packed(len);
    compress(packed.data(), &len, plain.data(), plain.size());
    packed.resize(len);
    // The stated size may be wrong; the buffer still ends up with what was inflated.
    EXPECT_EQ(UncompressBuffer(packed, 995), Z_OK);
    EXPECT_EQ(packed, plain);
}

TEST(Checked, WordAndLongArithmeticOverflows) {
    EXPECT_EQ(Add16(32766, 1), 32767);
    EXPECT_THROW(Add16(32767, 1), RuntimeError);
    EXPECT_THROW(Mul32(65536, 32768), RuntimeError);
    EXPECT_EQ(RoundHalfEven(2.5), 2);
    EXPECT_EQ(RoundHalfEven(3.5), 4);
    EXPECT_EQ(RoundHalfEven(-2.5), -2);
    EXPECT_THROW(IntDiv(1, 0), RuntimeError);
    EXPECT_THROW(CheckedCount(0, 4), RuntimeError);
    try {
        CheckedCount(200LL * 1024 * 1024, 4);
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.Number, Err::OutOfMemory);
        EXPECT_EQ(e.Description, "Out of memory");
    }
}
