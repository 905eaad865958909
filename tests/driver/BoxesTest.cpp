#include "driver/Boxes.h"

#include "driver/SectionsTestSupport.h"

using namespace sections_test;

TEST(Boxes, Tr3PassesTheBaseByItsOwnCountAndCopiesTheSourcesTables) {
    StageFixture f;
    Bytes source, base, expected;
    Put(source, Section(3, 8, 0x10));
    Put(source, Section(4, 2, 0x20));
    Put(source, Pattern(3 * 20, 0x30));
    Put(source, L32(0x11111111));
    Put(base, Section(2, 8, 0x90));
    Put(base, Section(5, 2, 0xA0));
    Put(base, Pattern(2 * 20, 0xB0));
    Put(base, L32(0x22222222));
    expected = Section(3, 8, 0x10);
    Put(expected, Section(4, 2, 0x20));
    Put(expected, Pattern(3 * 20, 0x30));
    f.Open(4, source, base);
    CopyBoxesOverlapsZones(f.prog);
    EXPECT_EQ(f.Output(), expected);
    EXPECT_EQ(f.prog.channels.ReadLong(1), 0x11111111);
    EXPECT_EQ(f.prog.channels.ReadLong(2), 0x22222222);
    EXPECT_EQ(f.prog.state.NumBoxes, 3);
    EXPECT_EQ(f.prog.state.BaseNumBoxes, 2);
    EXPECT_EQ(f.Messages(), std::vector<std::string>{"Copying boxes, overlaps and zones"});
}

TEST(Boxes, Tr5SourceWithoutBoxesOrOverlapsIsFine) {
    StageFixture f;
    Bytes source = L32(0), base = Section(1, 8, 0);
    Put(source, L32(0));
    Put(base, Section(1, 2, 0));
    Put(base, Pattern(20, 0));
    f.Open(6, source, base);
    CopyBoxesOverlapsZones(f.prog);
    EXPECT_EQ(f.Output(), (Bytes{0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(Boxes, Tr1WidensBoxesAndKeepsSixZoneWords) {
    for (int target : {1, 2}) {
        StageFixture f;
        Bytes source = L32(2);
        Put(source, {10, 20, 30, 255, 0xAA, 0xBB, 0xCC, 0xDD});
        Put(source, {1, 2, 3, 4, 9, 9, 9, 9});
        Put(source, Section(1, 2, 0x40));
        Bytes zones = Pattern(2 * 20, 0x60);
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
        EXPECT_EQ(Long(out, 0), 2);
        EXPECT_EQ(Long(out, 4), 10240);
        EXPECT_EQ(Long(out, 8), 20480);
        EXPECT_EQ(Long(out, 12), 30720);
        EXPECT_EQ(Long(out, 16), 261120);
        EXPECT_EQ(Long(out, 20), 0);
        EXPECT_EQ(Long(out, 24), 1024);
        EXPECT_EQ(Long(out, 36), 4096);
        EXPECT_EQ(Long(out, 40), 0);
        EXPECT_EQ(Bytes(out.begin() + 44, out.begin() + 50), Section(1, 2, 0x40));
        // Words 0, 1, 4, 5, 6 and 9 of each ten, no count word.
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

TEST(Boxes, EmptyBaseTablesAndAnEmptyTr1SourceStopTheConversion) {
    auto run = [](int target, const Bytes& source, const Bytes& base) {
        StageFixture f;
        f.Open(target, source, base);
        return ErrorOf([&] { CopyBoxesOverlapsZones(f.prog); });
    };
    Bytes source = Section(1, 8, 0);
    Put(source, Section(1, 2, 0));
    Put(source, Pattern(20, 0));
    Bytes baseNoBoxes = L32(0);
    Put(baseNoBoxes, Section(1, 2, 0));
    EXPECT_EQ(run(4, source, baseNoBoxes), Err::SubscriptOutOfRange);
    Bytes baseNoOverlaps = Section(1, 8, 0);
    Put(baseNoOverlaps, L32(0));
    EXPECT_EQ(run(3, source, baseNoOverlaps), Err::SubscriptOutOfRange);
    Bytes tr1Base = Section(1, 20, 0);
    Put(tr1Base, Section(1, 2, 0));
    EXPECT_EQ(run(1, L32(0), tr1Base), Err::SubscriptOutOfRange);
    EXPECT_EQ(run(1, L32(0x7FFFFFFF), tr1Base), Err::OutOfMemory);
}
