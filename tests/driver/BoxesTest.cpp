#include "driver/Boxes.h"

#include "driver/SectionsTestSupport.h"

using namespace sections_test;

// TR1 and Gold: boxes widened to four longs and four zero bytes whatever bytes 4 to 7 hold,
// the base passed by at its own sizes, six of the ten zone words and no count word.
TEST(Boxes, Tr1AndGoldWidenBoxesAndKeepSixZoneWords) {
    for (int target : {1, 2}) {
        StageFixture f;
        Bytes source = L32(2), zones = Pattern(2 * 20, 0x60);
        Put(source, {10, 20, 30, 255, 0xAA, 0xBB, 0xCC, 0xDD, 1, 2, 3, 4, 9, 9, 9, 9});
        Put(source, Section(1, 2, 0x40));
        Put(source, zones);
        Put(source, L32(0x11111111));
        Bytes base = Section(3, 20, 0x80);
        Put(base, Section(2, 2, 0x90));
        Put(base, Pattern(3 * 12, 0xA0));
        Put(base, L32(0x22222222));
        f.Open(target, source, base);
        CopyBoxesOverlapsZones(f.prog);
        Bytes out = f.Output();
        ASSERT_EQ(out.size(), 4u + 2 * 20 + 6 + 2 * 12);
        const int32_t boxes[] = {2, 10240, 20480, 30720, 261120, 0, 1024, 2048, 3072, 4096, 0};
        for (size_t i = 0; i < 11; ++i) EXPECT_EQ(Long(out, 4 * i), boxes[i]) << i;
        EXPECT_EQ(Bytes(out.begin() + 44, out.begin() + 50), Section(1, 2, 0x40));
        const int kept[6] = {0, 1, 4, 5, 6, 9};
        for (int box = 0; box < 2; ++box)
            for (int k = 0; k < 6; ++k)
                EXPECT_EQ(Word(out, 50 + box * 12 + k * 2), Word(zones, box * 20 + kept[k] * 2)) << box << k;
        EXPECT_EQ(f.prog.channels.ReadLong(1), 0x11111111);
        EXPECT_EQ(f.prog.channels.ReadLong(2), 0x22222222);
        EXPECT_EQ(f.Messages(), (std::vector<std::string>{"Copying boxes, overlaps and zones",
                                                          "Rebuilding TR1 box data"}));
    }
}

// The base's tables and, for TR1, the source's boxes are read through arrays up to count - 1.
TEST(Boxes, EmptyTablesStopOnlyWhereTheyAreIndexed) {
    Bytes out;
    auto run = [&](int target, const Bytes& source, const Bytes& base) {
        StageFixture f;
        f.Open(target, source, base);
        int error = ErrorOf([&] { CopyBoxesOverlapsZones(f.prog); });
        out = f.Output();
        return error;
    };
    Bytes oneBox = Section(1, 8, 0), noBoxes = L32(0), noOverlaps = Section(1, 8, 0), tr1Base = Section(1, 20, 0);
    Put(oneBox, Section(1, 2, 0));
    Put(oneBox, Pattern(20, 0));
    Put(noBoxes, Section(1, 2, 0));
    Put(noOverlaps, L32(0));
    Put(tr1Base, Section(1, 2, 0));
    EXPECT_EQ(run(6, Bytes(8, 0), oneBox), 0);  // a source without boxes or overlaps is fine
    EXPECT_EQ(out, Bytes(8, 0));
    EXPECT_EQ(run(4, oneBox, noBoxes), Err::SubscriptOutOfRange);
    EXPECT_EQ(run(3, oneBox, noOverlaps), Err::SubscriptOutOfRange);
    EXPECT_EQ(run(1, L32(0), tr1Base), Err::SubscriptOutOfRange);
    EXPECT_EQ(run(1, L32(0x7FFFFFFF), tr1Base), Err::OutOfMemory);
}
