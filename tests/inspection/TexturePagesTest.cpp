// The picture of a level's texture pages, decoded here from the PNG file, and the command that
// writes it whole or not at all, never over the level or a file that is not a picture.
#include "inspection/TexturePages.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <array>
#include <filesystem>
#include <sstream>

#include "inspection/LevelCheck.h"
#include "support/LevelBuilder.h"

namespace {
using Bytes = std::vector<uint8_t>;
using Rgb = std::array<int, 3>;

uint32_t Big32(const Bytes& b, size_t at) {
    return uint32_t(b.at(at)) << 24 | uint32_t(b.at(at + 1)) << 16 | uint32_t(b.at(at + 2)) << 8 | b.at(at + 3);
}

// An RGB picture of this program's PNG files: CRCs checked, IDAT joined, inflated, unfiltered.
struct Picture {
    uint32_t width = 0, height = 0;
    Bytes rgb;
    Rgb At(uint32_t x, uint32_t y) const {
        const size_t i = (size_t(y) * width + x) * 3;
        return {rgb.at(i), rgb.at(i + 1), rgb.at(i + 2)};
    }
    explicit Picture(const Bytes& png) {
        EXPECT_TRUE(Bytes(png.begin(), png.begin() + 8) == (Bytes {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'}));
        Bytes packed;
        std::string last;
        for (size_t at = 8; at < png.size(); at += 12 + Big32(png, at)) {
            const size_t n = Big32(png, at);
            last.assign(png.begin() + long(at + 4), png.begin() + long(at + 8));
            EXPECT_EQ(Big32(png, at + 8 + n), crc32(0, &png[at + 4], uInt(n + 4))) << last;
            if (last == "IHDR") {
                width = Big32(png, at + 8), height = Big32(png, at + 12);
                EXPECT_TRUE(Bytes(&png[at + 16], &png[at + 21]) == (Bytes {8, 2, 0, 0, 0}));
            }
            if (last == "IDAT") packed.insert(packed.end(), &png[at + 8], &png[at + 8 + n]);
        }
        EXPECT_EQ(last, "IEND");
        const size_t stride = size_t(width) * 3;
        Bytes raw(height * (stride + 1));
        uLongf size = raw.size();
        EXPECT_EQ(uncompress(raw.data(), &size, packed.data(), packed.size()), Z_OK);
        rgb.assign(height * stride, 0);
        for (size_t y = 0; y < height; ++y)
            for (size_t i = 0; i < stride; ++i) {
                const int a = i >= 3 ? rgb[y * stride + i - 3] : 0, b = y ? rgb[(y - 1) * stride + i] : 0,
                          c = y && i >= 3 ? rgb[(y - 1) * stride + i - 3] : 0;
                const int p = a + b - c, pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
                const int predictor[] = {0, a, b, (a + b) / 2, pa <= pb && pa <= pc ? a : pb <= pc ? b : c};
                rgb[y * stride + i] = uint8_t(raw[y * (stride + 1) + 1 + i] + predictor[raw[y * (stride + 1)]]);
            }
    }
};

const Rgb Light {CheckerLight, CheckerLight, CheckerLight}, Dark {CheckerDark, CheckerDark, CheckerDark};

Bytes Sample(const std::string& name) { return ReadFileBytes(SampleLevel(name)); }
}  // namespace

// 8-bit pages through the palette (x 4), 16-bit (ARGB 1555) before them, 32-bit (BGRA); index 0 and
// alpha below 128 as the checkerboard, whose squares start light at each page's corner.
TEST(TexturePages, EachKindOfPageAsItsEngineDrawsIt) {
    // TR1: the sample base, with 24-byte items, walked as such.
    Bytes tr1 = Sample("base-tr1.PHD");
    WalkedLevel level = WalkLevel(tr1, WalkFormat::Tr1, {.itemSize = 24});
    const size_t pages1 = size_t(level["Tiles"].count), tiles1 = level["Tiles"].offset + 4;
    for (int k = 0; k < 3; ++k) tr1[level["Tr1Palette"].offset + 5 * 3 + k] = uint8_t(k == 2 ? 63 : k + 1);
    tr1[tiles1] = 5, tr1[tiles1 + 1] = 0;
    tr1[tiles1 + (pages1 - 1) * 65536 + 255 * 256 + 8] = 0;  // last page, last row
    Picture p(DrawTexturePages(tr1, level).png);
    ASSERT_EQ(std::pair(p.width, p.height), std::pair(256u, uint32_t(pages1 * 256)));
    EXPECT_EQ((std::vector {p.At(0, 0), p.At(1, 0), p.At(8, p.height - 1)}),
              (std::vector {Rgb {4, 8, 252}, Light, Light}));  // (8 / 8 + 255 / 8) is even
    // TR2: the 16-bit pages, then the 8-bit ones through the 8-bit palette.
    Bytes tr2 = Sample("base-tr2.TR2");
    level = CheckLevel(tr2, "x.TR2");
    ASSERT_EQ(level.problem, "");
    const size_t pages2 = size_t(level["Tiles"].count), tiles2 = level["Tiles"].offset + 4;
    const size_t first16 = tiles2 + pages2 * 65536;
    for (auto [at, word] : {std::pair {0, 0x8000 | 31 << 10 | 1}, {1, 0x7FFF}, {9, 0x0000}})
        tr2[first16 + 2 * at] = uint8_t(word), tr2[first16 + 2 * at + 1] = uint8_t(word >> 8);
    tr2[tiles2] = 1, tr2[4 + 3] = 0x3F, tr2[4 + 4] = 0, tr2[4 + 5] = 0x10;
    p = Picture(DrawTexturePages(tr2, level).png);
    ASSERT_EQ(p.height, 2 * pages2 * 256);
    EXPECT_EQ((std::vector {p.At(0, 0), p.At(1, 0), p.At(9, 0), p.At(0, uint32_t(pages2 * 256))}),
              (std::vector {Rgb {255, 0, 8}, Light, Dark, Rgb {252, 0, 64}}));
    // TR5 (and the TR4 source, whose head is the same): 32-bit pages from the packed block.
    TextureHead head {.Tiles32 = Bytes(262144), .Tiles16 = Bytes(131072), .Misc = Bytes(16)};
    std::ranges::copy(Bytes {10, 20, 30, 255, 10, 20, 30, 127, 10, 20, 30, 128}, head.Tiles32.begin());
    const Bytes tr5 = head.Build();
    level = WalkLevel(tr5, WalkFormat::Tr5);  // not whole: it ends behind its texture blocks
    ASSERT_NE(level.Find("TextureMisc"), nullptr);
    const TexturePicture drawn = DrawTexturePages(tr5, level);
    EXPECT_EQ(drawn.what, "1 32-bit page");
    p = Picture(drawn.png);
    EXPECT_EQ(p.height, 256u);
    EXPECT_EQ((std::vector {p.At(0, 0), p.At(1, 0), p.At(2, 0), p.At(0, 8)}),
              (std::vector {Rgb {30, 20, 10}, Light, Rgb {30, 20, 10}, Dark}));
}

// The picture replaces an older one and leaves nothing else; over the level or a non-picture, into a
// missing folder, or from a level whose palette the check doesn't reach, nothing is written.
TEST(TexturePages, TheCommandWritesThePictureWholeOrNothing) {
    TestFolder dir;
    const std::string level = dir / "level.TR2", picture = dir / "pages.png";
    WriteFileBytes(level, Sample("base-tr2.TR2"));
    WriteFileBytes(picture, Bytes {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 1, 2, 3});
    std::ostringstream out, err;
    EXPECT_EQ(RunLevelCheck(level, out, err, picture), CheckWhole) << err.str();
    EXPECT_EQ(Picture(ReadFileBytes(picture)).height,
              2 * 256 * size_t(CheckLevel(Sample("base-tr2.TR2"), "x")["Tiles"].count));
    EXPECT_NE(out.str().find("written to " + picture + "\n"), std::string::npos) << out.str();
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path), {}), 2);
    const std::string other = dir / "other.TR2";
    WriteFileBytes(other, Bytes {1, 2, 3});
    WriteFileBytes(dir / "level.PHD", Sample("base-tr1.PHD"));
    const std::tuple<std::string, std::string, std::string> refused[] = {
        {level, level, "that is the level itself: not replaced"},
        {level, other, "the file there is not a PNG picture: not replaced"},
        {level, dir / "missing/pages.png", "No such file or directory"},
        {dir / "level.PHD", dir / "new.png", "the texture pages can't be drawn: the check did not reach the palette"}};
    for (const auto& [from, to, why] : refused) {
        SCOPED_TRACE(to);
        std::ostringstream o, e;
        EXPECT_EQ(RunLevelCheck(from, o, e, to), CheckUnreadable);
        EXPECT_NE(e.str().find(why), std::string::npos) << e.str();
    }
    EXPECT_TRUE(ReadFileBytes(level) == Sample("base-tr2.TR2"));
    EXPECT_TRUE(ReadFileBytes(other) == (Bytes {1, 2, 3}));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path), {}), 4);
}
