#include <gtest/gtest.h>
#include <zlib.h>

#include "driver/Channels.h"
#include "driver/Streams.h"
#include "support/TestFolder.h"

TEST(Channels, OneBasedPositionsPatchesInPlaceAndZerosPastTheEnd) {
    TestFolder dir;
    WriteFileBytes(dir / "a.bin", {9, 9, 9, 9, 9, 9, 9});
    Channels ch;
    ch.Open(3, dir / "a.bin", OpenMode::Binary);  // a binary open keeps the old bytes
    ch.WriteLong(3, 0x11223344);
    ch.Seek(3, 6);
    EXPECT_EQ(ch.ReadLong(3), 0x0909);  // what remains is read, the rest is zero
    EXPECT_EQ(ch.Pos(3), 10);
    ch.Close(3);
    EXPECT_EQ(ReadFileBytes(dir / "a.bin"), (std::vector<uint8_t>{0x44, 0x33, 0x22, 0x11, 9, 9, 9}));
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
