#include <gtest/gtest.h>

#include "texturetables/AnimatedTextures.h"
#include "texturetables/RoomTextureIds.h"
#include "TextureTestSupport.h"

namespace {
// Copies a source table into a new level that already holds 6 bytes.
struct AnimatedFixture : TextureFixture {
    void Copy(const std::vector<int>& sourceWords, const std::vector<int>& baseWords = {1, 2, 3}) {
        ByteWriter base;
        base.Bytes(Words(baseWords, true)).Bytes({0xEE, 0xEF});
        OpenWith(1, "src", Words(sourceWords, true));
        OpenWith(2, "base", base.bytes);
        OpenWith(3, "new", {9, 9, 9, 9, 9, 9});
        prog.channels.Seek(3, 7);
        CopyAnimatedTextures(prog);
    }
};

std::vector<int> Ranges(int n) {  // n ranges of one id each
    std::vector<int> words{n};
    for (int r = 0; r < n; ++r) words.insert(words.end(), {0, r});
    return words;
}
}  // namespace

TEST(AnimatedTextures, CopiedTableFeedsTheIdsAndIsRewrittenInPlace) {
    AnimatedFixture f;
    // The stored number of ranges (5) disagrees with the words: two ranges follow.
    f.Copy({5, 1, 10, 9, 0, -32765}, {1, 0, 4});
    auto& s = f.prog.state;
    EXPECT_EQ(s.AnimatedTexturesPos, 11);
    EXPECT_EQ(f.prog.channels.Pos(2), 4 + 6 + 1);
    EXPECT_EQ(f.prog.form.p.Value(), 85);
    EXPECT_EQ(f.Messages(), (std::vector<std::string>{"Copying animated textures"}));
    EXPECT_EQ(f.FileOf("temp.anm"), Words({1, 0, 4}));  // the base's table passes through it
    auto out = f.FileOf("new");
    EXPECT_EQ(std::vector<uint8_t>(out.begin() + 6, out.end()), Words({5, 1, 10, 9, 0, -32765}, true));

    s.NumBaseObjectTextures = 100;
    f.AddIds({9});
    BuildRoomTextureIds(f.prog);
    EXPECT_EQ(s.NumAnimatedTextureRanges, 2);
    EXPECT_FALSE(FileExists(f.dir / "animtex.tmp"));
    EXPECT_EQ(f.Count("Rebuilding animated textures table"), 1);
    // Negative ids enter with their sign and keep a row of their own.
    EXPECT_EQ(f.prog.form.l3.Items(), (std::vector<std::string>{"-32765", "10", "9", "a"}));
    RewriteAnimatedTextures(f.prog);
    out = f.FileOf("new");
    EXPECT_EQ(std::vector<uint8_t>(out.begin() + 10, out.end()), Words({2, 1, 101, 102, 0, 100}));
}

TEST(AnimatedTextures, TablesThatDoNotParseStopTheConversion) {
    struct Case {
        const char* what;
        std::vector<int> words;
        int numBase, error;
    } cases[] = {
        {"last range runs past the end", {1, 0, 4, 3, 1, 2}, 0, Err::SubscriptOutOfRange},
        {"negative LastIndex", {1, -2, 4}, 0, Err::SubscriptOutOfRange},
        {"255 ranges ending on the last word", Ranges(255), 0, 0},
        {"256 ranges", Ranges(256), 0, Err::SubscriptOutOfRange},
        {"new id beyond 16 bits", {1, 1, 3, 4}, 32767, Err::Overflow},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        AnimatedFixture f;
        f.Copy(c.words);
        f.prog.state.NumBaseObjectTextures = c.numBase;
        EXPECT_EQ(ErrorOf([&] {
                      BuildRoomTextureIds(f.prog);
                      RewriteAnimatedTextures(f.prog);
                  }),
                  c.error);
    }
    EXPECT_EQ(ErrorOf([] { AnimatedFixture().Copy({}); }), Err::SubscriptOutOfRange);  // no table
}
