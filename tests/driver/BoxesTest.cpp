#include "driver/Boxes.h"

#include "driver/SectionsTestSupport.h"

using namespace sections_test;

namespace {
int CopyBoxes(StageFixture& f, int target, const Bytes& source, const Bytes& base) {
    f.Open(target, source, base);
    return ErrorOf([&] { CopyBoxesOverlapsZones(f.prog); });
}
}  // namespace

// The base's tables and, for TR1, the source's boxes are read through arrays up to count - 1;
// a source without boxes or overlaps is fine for TR2, TR3 and TR5, and one box is fine for TR1.
TEST(Boxes, EmptyTablesStopOnlyWhereTheyAreIndexed) {
    const Bytes oneBox = Cat({Section(1, 8, 0), Section(1, 2, 0), Pattern(20, 0)}),
                noBoxes = Cat({L32(0), Section(1, 2, 0)});
    const Bytes noOverlaps = Cat({Section(1, 8, 0), L32(0)}), tr1Base = Cat({Section(1, 20, 0), Section(1, 2, 0)});
    StageFixture f[6];
    EXPECT_EQ(CopyBoxes(f[0], 6, Bytes(8, 0), oneBox), 0);
    EXPECT_EQ(f[0].Output(), Bytes(8, 0));
    EXPECT_EQ(CopyBoxes(f[1], 4, oneBox, noBoxes), Err::SubscriptOutOfRange);
    EXPECT_EQ(CopyBoxes(f[2], 3, oneBox, noOverlaps), Err::SubscriptOutOfRange);
    EXPECT_EQ(CopyBoxes(f[3], 1, L32(0), tr1Base), Err::SubscriptOutOfRange);
    EXPECT_EQ(CopyBoxes(f[4], 1, L32(0x7FFFFFFF), tr1Base), Err::OutOfMemory);
    EXPECT_EQ(CopyBoxes(f[5], 1, oneBox, Cat({tr1Base, Pattern(12, 0)})), 0);
    EXPECT_EQ(f[5].Messages(),
              (std::vector<std::string>{"Copying boxes, overlaps and zones", "Rebuilding TR1 box data"}));
}
