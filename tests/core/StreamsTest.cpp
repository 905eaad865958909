// The stream operations every section uses, and the cheaper forms that stand in for them where
// the bytes are not needed: the same positions, the same bytes in the files, the same errors.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "core/Channels.h"
#include "core/Checked.h"
#include "core/MemoryFileSystem.h"
#include "core/Streams.h"
#include "support/ProgramFixture.h"

namespace {
using Bytes = std::vector<uint8_t>;

struct StreamsTest : ::testing::Test {
    MemoryFileSystem fs;
    Channels ch{fs};
    StreamsTest() {
        Bytes input(300000);
        for (size_t i = 0; i < input.size(); ++i) input[i] = static_cast<uint8_t>(i * 13);
        fs.Put("/w/in", input);
        ch.Open(1, "/w/in", OpenMode::Binary);
        ch.Open(2, "/w/in", OpenMode::Binary);
        ch.Open(3, "/w/out", OpenMode::Binary);
    }
};
}  // namespace

// Passing over bytes of an input moves its position as reading them does, past the end too, and
// fails with the same errors.
TEST_F(StreamsTest, PassingOverInputBytesMovesAsSkippingDoes) {
    for (int32_t count : {0, 1, 5000, 70000, 400000}) {
        ch.Seek(1, 1000);
        ch.Seek(2, 1000);
        SkipChannelBytes(ch, count, 1);
        PassChannelBytes(ch, count, 2);
        EXPECT_EQ(ch.Pos(2), ch.Pos(1)) << count;
        EXPECT_EQ(ch.ReadLong(2), ch.ReadLong(1)) << count;
    }
    // A negative count sizes an array with no valid index, as a copy's does.
    const std::pair<int32_t, int> failing[] = {{-1, Err::SubscriptOutOfRange},
                                               {int32_t(MaxSectionBytes + 1), Err::OutOfMemory}};
    for (auto [count, error] : failing) {
        EXPECT_EQ(ErrorOf([&] { PassChannelBytes(ch, count, 2); }), error);
        EXPECT_EQ(ErrorOf([&] { SkipChannelBytes(ch, count, 1); }), error);
        EXPECT_EQ(ErrorOf([&] { CopyChannelBytes(ch, count, 1, 3); }), error);
    }
    EXPECT_EQ(ErrorOf([&] { PassChannelBytes(ch, 10, 9); }), ErrorOf([&] { SkipChannelBytes(ch, 10, 9); }));
    EXPECT_EQ(ErrorOf([&] { PassChannelBytes(ch, 10, 9); }), Err::BadFileNameOrNumber);
}

// A zero run longer than the block it is written from lands whole, over older bytes too.
TEST_F(StreamsTest, ZeroRunsOfAnyLengthReachTheFile) {
    CopyChannelBytes(ch, 250000, 1, 3);
    ch.Seek(3, 11);
    WriteZeroBytes(ch, 200001, 3);
    WriteZeroBytes(ch, 3, 3);
    EXPECT_EQ(ch.Pos(3), 11 + 200004);
    ch.Close(3);
    const Bytes out = fs.Get("/w/out").value();
    const Bytes in = fs.Get("/w/in").value();
    ASSERT_EQ(out.size(), 250000u);
    EXPECT_TRUE(std::equal(out.begin(), out.begin() + 10, in.begin()));
    EXPECT_TRUE(std::all_of(out.begin() + 10, out.begin() + 10 + 200004, [](uint8_t b) { return b == 0; }));
    EXPECT_TRUE(std::equal(out.begin() + 200014, out.end(), in.begin() + 200014));
}

// Where the inflated bytes would be dropped unseen, only the check is made: it fails exactly
// where UncompressBuffer fails before inflating anything.
TEST(Streams, TheInflateCheckFailsWhereUncompressBufferFails) {
    for (int32_t size : {0, 100, -12, -13, -1000, 600000000, INT32_MAX, INT32_MIN}) {
        Bytes junk = {1, 2, 3};
        EXPECT_EQ(ErrorOf([&] { CheckUncompressBuffer(size); }), ErrorOf([&] { UncompressBuffer(junk, size); }))
            << size;
    }
}
