#include "TextureTestSupport.h"

static std::vector<int> Ranges(int n) {  // n ranges of one id each
    std::vector<int> words{n};
    for (int r = 0; r < n; ++r) words.insert(words.end(), {0, r});
    return words;
}

// Tables that do not parse stop the conversion; the largest one that does.
TEST(AnimatedTextures, TablesThatDoNotParseStopTheConversion) {
    const std::tuple<const char*, std::vector<int>, int, int> cases[] = {
        {"negative LastIndex", {1, -2, 4}, 0, Err::SubscriptOutOfRange},
        {"255 ranges ending on the last word", Ranges(255), 0, 0},
        {"256 ranges, or ranges that miss the last word", Ranges(256), 0, Err::SubscriptOutOfRange},
        {"new id beyond 16 bits", {1, 1, 3, 4}, 32767, Err::Overflow},
    };
    for (const auto& [what, words, numBase, error] : cases) {
        SCOPED_TRACE(what);
        TextureFixture f;
        f.Open(0, Words(words, true), Words({}, true));
        f.prog.state.NumBaseObjectTextures = numBase;
        EXPECT_EQ(ErrorOf([&] {
                      CopyAnimatedTextures(f.prog), BuildRoomTextureIds(f.prog), RewriteAnimatedTextures(f.prog);
                  }),
                  error);
    }
}
