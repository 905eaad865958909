// The stream operations every section uses, and the cheaper forms that stand in for them where
// the bytes are not needed: the same errors.
#include <gtest/gtest.h>

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
        fs.Put("/w/in", Bytes(16, 7));
        for (int c : {1, 2}) ch.Open(c, "/w/in", OpenMode::Binary);
        ch.Open(3, "/w/out", OpenMode::Binary);
    }
};
}  // namespace

// Passing over bytes moves as skipping them does, past the end too; both fail as a copy does on
// a count that can't be had. A zero run of any length lands whole.
TEST_F(StreamsTest, PassSkipCopyAndZeroRunsMoveAndFailAlike) {
    SkipChannelBytes(ch, 70000, 1);
    PassChannelBytes(ch, 70000, 2);
    EXPECT_EQ(ch.Pos(2), ch.Pos(1));
    WriteZeroBytes(ch, 70001, 3);
    EXPECT_EQ(fs.Get("/w/out").value(), Bytes(70001));
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

// Where the inflated bytes would be dropped unseen, only the check is made: it fails exactly
// where UncompressBuffer fails before inflating anything.
TEST(Streams, TheInflateCheckFailsWhereUncompressBufferFails) {
    for (int32_t size : {0, 100, -12, -13, -1000, 600000000, INT32_MAX, INT32_MIN}) {
        Bytes junk = {1, 2, 3};
        EXPECT_EQ(ErrorOf([&] { CheckUncompressBuffer(size); }), ErrorOf([&] { UncompressBuffer(junk, size); }))
            << size;
    }
}
