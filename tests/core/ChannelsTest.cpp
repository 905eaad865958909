#include <gtest/gtest.h>

#include "core/Channels.h"
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
