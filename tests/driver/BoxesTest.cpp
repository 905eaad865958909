#include "driver/Boxes.h"

#include "driver/SectionsTestSupport.h"

using namespace sections_test;

namespace {
int CopyBoxes(StageFixture& f, int target, const Bytes& source, const Bytes& base) {
    f.Open(target, source, base);
    return ErrorOf([&] { CopyBoxesOverlapsZones(f.prog); });
}
}  // namespace

// TR1 and Gold: boxes widened to four longs and four zero bytes whatever bytes 4 to 7 hold,
// the base passed by at its own sizes, six of the ten zone words and no count word.
TEST(Boxes, Tr1AndGoldWidenBoxesAndKeepSixZoneWords) {
    const Bytes zones = Pattern(40, 0x60), boxes = {10, 20, 30, 255, 0xAA, 0xBB, 0xCC, 0xDD, 1, 2, 3, 4, 9, 9, 9, 9};
    const Bytes source = Cat({L32(2), boxes, Section(1, 2, 0x40), zones});
    const Bytes base = Cat({Section(3, 20, 0x80), Section(2, 2, 0x90), Pattern(36, 0xA0)});
    for (int target : {1, 2}) {
        StageFixture f;
        ASSERT_EQ(CopyBoxes(f, target, source, base), 0);
        Bytes expected = L32(2);
        for (int v : {10240, 20480, 30720, 261120, 0, 1024, 2048, 3072, 4096, 0}) Put(expected, L32(v));
        Put(expected, Section(1, 2, 0x40));
        for (size_t at : {0, 2, 8, 10, 12, 18, 20, 22, 28, 30, 32, 38})  // words 0, 1, 4, 5, 6, 9 of each box
            Put(expected, {zones[at], zones[at + 1]});
        EXPECT_EQ(f.Output(), expected);
        EXPECT_EQ(f.prog.channels.Pos(2), int64_t(base.size() + 1));
        EXPECT_EQ(f.Messages(), (std::vector<std::string>{"Copying boxes, overlaps and zones",
                                                          "Rebuilding TR1 box data"}));
    }
}

// The base's tables and, for TR1, the source's boxes are read through arrays up to count - 1;
// a source without boxes or overlaps is fine for TR2, TR3 and TR5.
TEST(Boxes, EmptyTablesStopOnlyWhereTheyAreIndexed) {
    const Bytes oneBox = Cat({Section(1, 8, 0), Section(1, 2, 0), Pattern(20, 0)}), noBoxes = Cat({L32(0), Section(1, 2, 0)});
    const Bytes noOverlaps = Cat({Section(1, 8, 0), L32(0)}), tr1Base = Cat({Section(1, 20, 0), Section(1, 2, 0)});
    StageFixture f[5];
    EXPECT_EQ(CopyBoxes(f[0], 6, Bytes(8, 0), oneBox), 0);
    EXPECT_EQ(f[0].Output(), Bytes(8, 0));
    EXPECT_EQ(CopyBoxes(f[1], 4, oneBox, noBoxes), Err::SubscriptOutOfRange);
    EXPECT_EQ(CopyBoxes(f[2], 3, oneBox, noOverlaps), Err::SubscriptOutOfRange);
    EXPECT_EQ(CopyBoxes(f[3], 1, L32(0), tr1Base), Err::SubscriptOutOfRange);
    EXPECT_EQ(CopyBoxes(f[4], 1, L32(0x7FFFFFFF), tr1Base), Err::OutOfMemory);
}
