#include "TextureTestSupport.h"

static std::vector<int> Ranges(int n) {  // n ranges of one id each
    std::vector<int> words{n};
    for (int r = 0; r < n; ++r) words.insert(words.end(), {0, r});
    return words;
}

// Tables that do not parse stop the conversion; the largest one that does.
TEST(AnimatedTextures, TablesThatDoNotParseStopTheConversion) {
    struct Case {
        const char* what;
        std::vector<int> words;
        int numBase, error;
    } cases[] = {
        {"negative LastIndex", {1, -2, 4}, 0, Err::SubscriptOutOfRange},
        {"255 ranges ending on the last word", Ranges(255), 0, 0},
        {"256 ranges, or ranges that miss the last word", Ranges(256), 0, Err::SubscriptOutOfRange},
        {"new id beyond 16 bits", {1, 1, 3, 4}, 32767, Err::Overflow},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        TextureFixture f;
        f.Open(0, Words(c.words, true), Words({}, true));
        f.prog.state.NumBaseObjectTextures = c.numBase;
        EXPECT_EQ(ErrorOf([&] {
                      CopyAnimatedTextures(f.prog);
                      BuildRoomTextureIds(f.prog);
                      RewriteAnimatedTextures(f.prog);
                  }),
                  c.error);
    }
}
