// One palette for a base's tiles and a source's room tiles, and what is rewritten for it. How
// good the palette is, the benchmark measures; here stand the rules it must keep.
#include <gtest/gtest.h>

#include "texturetables/LevelPalette.h"

namespace {
using Bytes = std::vector<uint8_t>;

// A base palette of distinct colours; entry 0 is black.
Palette DistinctPalette() {
    Palette p{};
    for (int i = 1; i < 256; ++i) p[size_t(i)] = {uint8_t(i % 64), uint8_t(i / 64 * 20), uint8_t(i % 7 * 9)};
    return p;
}
Bytes Pixel(int r, int g, int b, int a) { return {uint8_t(b), uint8_t(g), uint8_t(r), uint8_t(a)}; }
int Shown(const PaletteColour& c, int k) { return (k == 0 ? c.R : k == 1 ? c.G : c.B) * 4; }
}  // namespace

// With room for every colour: the base's entries keep their index and colour (its tiles need no
// rewrite), a pinned entry stays although no tile uses it, each room colour is shown exactly,
// pixels with alpha below 128 and only they are index 0 (a black opaque pixel too is not), and
// the colour map of identity rows stays the identity. With far more colours than entries, the
// pinned entry still stays, every entry holds 6 bits a channel and no opaque pixel gets index 0.
TEST(LevelPalette, KeepsBaseEntriesPinsColoursAndLeavesIndexZeroToTransparency) {
    const Palette base = DistinctPalette();
    Bytes baseTiles(4096, 0);
    for (size_t i = 0; i < baseTiles.size(); ++i) baseTiles[i] = uint8_t(i % 3 ? 1 + i % 40 : 0);
    Bytes room;
    for (int c = 0; c < 30; ++c) {
        const Bytes p = Pixel(c * 8, 252 - c * 4, 100, 255);
        for (int k = 0; k < 5; ++k) room.insert(room.end(), p.begin(), p.end());
    }
    for (int a : {0, 127, 128, 255}) {
        const Bytes p = Pixel(0, 0, 0, a);
        room.insert(room.end(), p.begin(), p.end());
    }
    const uint8_t pinned[] = {200};
    const LevelPalette level = ChooseLevelPalette(base, baseTiles, room, pinned);

    EXPECT_EQ(level.Colours[0], base[0]);
    for (int i = 0; i <= 40; ++i) EXPECT_EQ(level.FromBase[size_t(i)], i);
    for (int i = 1; i <= 40; ++i) EXPECT_EQ(level.Colours[size_t(i)], base[size_t(i)]);
    EXPECT_EQ(level.Colours[200], base[200]);
    EXPECT_EQ(level.FromBase[200], 200);

    NearestColour nearest(level.Colours);
    Bytes indices(room.size() / 4);
    MapPixels(room, nearest, indices);
    for (size_t i = 0; i < indices.size(); ++i) {
        SCOPED_TRACE(i);
        const uint8_t* p = &room[i * 4];
        EXPECT_EQ(indices[i] == 0, p[3] < 128);
        if (p[3] < 128) continue;
        const PaletteColour& shown = level.Colours[indices[i]];
        for (int k = 0; k < 3; ++k) EXPECT_EQ(Shown(shown, k), p[2 - k]) << k;
    }

    Bytes identity(ColourMapBytes);
    for (size_t i = 0; i < identity.size(); ++i) identity[i] = uint8_t(i % 256);
    EXPECT_EQ(RewriteColourMap(identity, base, level), identity);

    // 4096 colours for 255 entries.
    Bytes many;
    for (int c = 0; c < 4096; ++c) {
        const Bytes p = Pixel(c % 16 * 17, c / 16 % 16 * 17, c / 256 * 17, 255);
        many.insert(many.end(), p.begin(), p.end());
    }
    const LevelPalette crowded = ChooseLevelPalette(base, baseTiles, many, pinned);
    EXPECT_EQ(crowded.Colours[200], base[200]);
    for (const PaletteColour& c : crowded.Colours) EXPECT_TRUE(c.R < 64 && c.G < 64 && c.B < 64);
    NearestColour crowdedNearest(crowded.Colours);
    Bytes crowdedIndices(many.size() / 4);
    MapPixels(many, crowdedNearest, crowdedIndices);
    EXPECT_EQ(std::count(crowdedIndices.begin(), crowdedIndices.end(), 0), 0);
    for (int i = 1; i < 256; ++i) EXPECT_NE(crowded.FromBase[size_t(i)], 0);
}

// A shade row halves colours. A base entry that keeps its colour takes the base's own shade; a
// new colour takes the shade of the base entry nearest to it, moved by about half their difference;
// the map names the entry nearest to that shade, never 0, and entry 0 follows the base's map.
TEST(LevelPalette, ColourMapShadesFollowTheBaseRows) {
    Palette base{};
    for (int i = 1; i < 64; ++i) base[size_t(i)] = {uint8_t(i), uint8_t(i), uint8_t(i)};  // greys
    // Entries from 64 on are black, shaded to grey 1.
    Bytes map(ColourMapBytes);
    for (size_t shade = 0; shade < ColourMapShades; ++shade)
        for (size_t i = 0; i < 256; ++i)
            map[shade * 256 + i] = uint8_t(i == 0 ? (shade == 31) : i < 64 ? std::max<size_t>(1, i / 2) : 1);
    LevelPalette level;
    level.Colours = base;
    level.Colours[100] = {40, 48, 40};  // a new colour, nearest to grey 43 (shade 21)
    level.Colours[101] = {20, 23, 20};  // its shade: grey 21 moved by half of (-3, 5, -3)
    const Bytes out = RewriteColourMap(map, base, level);
    for (size_t shade : {0u, 31u}) {
        EXPECT_EQ(out[shade * 256 + 40], 20);
        EXPECT_EQ(out[shade * 256 + 63], 31);
        EXPECT_EQ(out[shade * 256 + 100], 101);
        EXPECT_EQ(out[shade * 256 + 0], shade == 31 ? 1 : 0);
        for (size_t i = 1; i < 256; ++i) EXPECT_NE(out[shade * 256 + i], 0) << i;
    }
}

// Texture words of coloured rectangles and triangles, once for a mesh named twice; none at all
// when a mesh runs past the table or has a negative count.
TEST(LevelPalette, ColouredFacesOfTr1Meshes) {
    auto words = [](std::initializer_list<int> w) {
        Bytes b;
        for (int v : w) b.insert(b.end(), {uint8_t(v), uint8_t(v >> 8)});
        return b;
    };
    // Mesh at 0: centre and radius, 1 vertex, 1 light, 1 textured quad, no textured triangle,
    // 1 coloured quad, 2 coloured triangles. Mesh at 70: no vertex, 1 normal, 1 coloured triangle.
    Bytes data = words({0, 0, 0, 0, 0, 1, 1, 2, 3, -1, 7, 1, 0, 1, 2, 3, 5, 0, 1, 0, 1, 2, 3, 201, 2,
                        0, 1, 2, 202, 0, 1, 2, 203});
    const Bytes second = words({0, 0, 0, 0, 0, 0, 1, 4, 5, 6, 0, 0, 0, 1, 0, 1, 2, 204});
    data.insert(data.end(), second.begin(), second.end());
    const Bytes pointers = {0, 0, 0, 0, 66, 0, 0, 0, 0, 0, 0, 0};
    auto faces = ColouredFaceWords(data, pointers);
    ASSERT_TRUE(faces.has_value());
    EXPECT_EQ(*faces, (std::vector<size_t>{46, 56, 64, 100}));
    for (size_t at : *faces) EXPECT_GT(data[at], 200);

    EXPECT_FALSE(ColouredFaceWords(Bytes(data.begin(), data.end() - 2), pointers).has_value());
    data[10] = 0xFF, data[11] = 0xFF;  // the first mesh's vertex count becomes -1
    EXPECT_FALSE(ColouredFaceWords(data, pointers).has_value());
}
