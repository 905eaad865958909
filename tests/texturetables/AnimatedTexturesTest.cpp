#include <gtest/gtest.h>

#include "texturetables/AnimatedTextures.h"
#include "texturetables/RoomTextureIds.h"
#include "TextureTestSupport.h"

namespace {
// A section: 32-bit word count, then the words.
std::vector<uint8_t> Section(const std::vector<int>& words) {
    ByteWriter w;
    w.Long(static_cast<int64_t>(words.size()));
    for (int v : words) w.Word(v);
    return w.bytes;
}
std::vector<uint8_t> Words(const std::vector<int>& words) {
    ByteWriter w;
    for (int v : words) w.Word(v);
    return w.bytes;
}

// Copies a source table into a new level that already holds `lead` bytes, and parses it.
struct AnimatedFixture : TextureFixture {
    void Copy(const std::vector<int>& sourceWords, const std::vector<int>& baseWords = {1, 2, 3}) {
        ByteWriter base;
        base.Bytes(Section(baseWords)).Bytes({0xEE, 0xEF});
        OpenWith(1, "src", Section(sourceWords));
        OpenWith(2, "base", base.bytes);
        OpenWith(3, "new", {9, 9, 9, 9, 9, 9});
        prog.channels.Seek(3, 7);
        CopyAnimatedTextures(prog);
    }
};
}  // namespace

TEST(AnimatedTextures, SectionCopyPassesTheBaseTableThroughTempAnm) {
    AnimatedFixture f;
    f.Copy({2, 1, 10, 9, 0, -32765}, {1, 0, 4});
    auto& s = f.prog.state;
    EXPECT_EQ(s.NumAnimatedTextureWords, 6);
    EXPECT_EQ(s.AnimatedTexturesPos, 11);
    EXPECT_EQ(f.prog.channels.Pos(2), 4 + 6 + 1);
    EXPECT_EQ(f.prog.form.p.Value(), 85);
    EXPECT_EQ(f.Messages(), (std::vector<std::string>{"Copying animated textures"}));
    EXPECT_EQ(f.FileOf("temp.anm"), Words({1, 0, 4}));
    auto out = f.FileOf("new");
    ASSERT_EQ(out.size(), 6u + 4 + 12);
    EXPECT_EQ(Long(out, 6), 6);
    EXPECT_EQ(std::vector<uint8_t>(out.begin() + 10, out.end()), Words({2, 1, 10, 9, 0, -32765}));
}

TEST(AnimatedTextures, RangesFeedTheIdsAndAreRewrittenInPlace) {
    AnimatedFixture f;
    // The stored number of ranges (5) disagrees with the words: two ranges follow.
    f.Copy({5, 1, 10, 9, 0, -32765});
    f.prog.state.NumBaseObjectTextures = 100;
    f.AddIds({9});
    BuildRoomTextureIds(f.prog);
    auto& s = f.prog.state;
    EXPECT_EQ(s.NumAnimatedTextureRanges, 2);
    EXPECT_EQ(s.AnimatedTextureRanges.size(), 255u);
    EXPECT_FALSE(FileExists(f.dir / "animtex.tmp"));
    EXPECT_EQ(f.Count("Rebuilding animated textures table"), 1);
    // Negative ids enter with their sign and keep a row of their own.
    EXPECT_EQ(f.prog.form.l3.Items(), (std::vector<std::string>{"-32765", "10", "9", "a"}));
    RewriteAnimatedTextures(f.prog);
    auto out = f.FileOf("new");
    EXPECT_EQ(std::vector<uint8_t>(out.begin() + 10, out.end()), Words({2, 1, 101, 102, 0, 100}));
    EXPECT_EQ(s.AnimatedTextureRanges[1].Ids[0], 100);
}

TEST(AnimatedTextures, TwoHundredFiftyFiveRangesEndingOnTheLastWordAreAccepted) {
    std::vector<int> words{255};
    for (int r = 0; r < 255; ++r) words.insert(words.end(), {0, r});
    AnimatedFixture f;
    f.Copy(words);
    BuildRoomTextureIds(f.prog);
    EXPECT_EQ(f.prog.state.NumAnimatedTextureRanges, 255);
    EXPECT_EQ(f.prog.state.NumRoomTextureIds, 255);

    words.insert(words.end(), {0, 300});
    AnimatedFixture g;
    g.Copy(words);
    EXPECT_EQ(ErrorOf([&] { BuildRoomTextureIds(g.prog); }), Err::SubscriptOutOfRange);
}

TEST(AnimatedTextures, BrokenTablesStopTheConversion) {
    {
        AnimatedFixture f;  // the last range runs past the end of the table
        f.Copy({1, 0, 4, 3, 1, 2});
        EXPECT_EQ(ErrorOf([&] { BuildRoomTextureIds(f.prog); }), Err::SubscriptOutOfRange);
    }
    {
        AnimatedFixture f;  // a range with a negative LastIndex
        f.Copy({1, -2, 4});
        EXPECT_EQ(ErrorOf([&] { BuildRoomTextureIds(f.prog); }), Err::SubscriptOutOfRange);
    }
    {
        AnimatedFixture f;  // a source without a table
        EXPECT_EQ(ErrorOf([&] { f.Copy({}); }), Err::SubscriptOutOfRange);
    }
    {
        AnimatedFixture f;  // a new id beyond 16 bits: what came before it is written
        f.Copy({1, 1, 3, 4});
        f.prog.state.NumBaseObjectTextures = 32767;
        BuildRoomTextureIds(f.prog);
        EXPECT_EQ(ErrorOf([&] { RewriteAnimatedTextures(f.prog); }), Err::Overflow);
        auto out = f.FileOf("new");
        EXPECT_EQ(std::vector<uint8_t>(out.begin() + 10, out.end()), Words({1, 1, 32767, 4}));
    }
}
