// The rules the one palette of a base's and a source's tiles keeps (the benchmark measures quality).
#include <gtest/gtest.h>

#include "TextureTestSupport.h"
#include "texturetables/LevelPalette.h"

namespace {
using Bytes = std::vector<uint8_t>;

// Opaque B, G, R, A pixels of colour(0) to colour(n - 1), each `repeat` times.
template <class Colour>
Bytes Pixels(int n, int repeat, Colour colour) {
    Bytes out;
    for (int c = 0; c < n; ++c)
        for (int k = 0; k < repeat; ++k) {
            const auto [r, g, b] = colour(c);
            out.insert(out.end(), {uint8_t(b), uint8_t(g), uint8_t(r), 255});
        }
    return out;
}

// The room pixels mapped to the level palette's entries.
Bytes Mapped(const Bytes& room, const LevelPalette& level) {
    Bytes indices(room.size() / 4);
    NearestColour nearest(level.Colours);
    MapPixels(room, nearest, indices);
    return indices;
}
}  // namespace

// Room for every colour: base entries and a pinned unused one kept, room colours exact, index 0 for
// alpha < 128 only (not opaque black), identity map kept. 4096 colours: the pinned entry kept.
TEST(LevelPalette, KeepsBaseEntriesPinsColoursAndLeavesIndexZeroToTransparency) {
    Palette base{};  // distinct colours; entry 0 is black
    for (int i = 1; i < 256; ++i) base[size_t(i)] = {uint8_t(i % 64), uint8_t(i / 64 * 20), uint8_t(i % 7 * 9)};
    Bytes baseTiles(4096, 0);
    for (size_t i = 0; i < baseTiles.size(); ++i) baseTiles[i] = uint8_t(i % 3 ? 1 + i % 40 : 0);
    Bytes room = Pixels(30, 5, [](int c) { return std::tuple(c * 8, 252 - c * 4, 100); });
    for (int a : {0, 127, 128, 255}) room.insert(room.end(), {0, 0, 0, uint8_t(a)});
    const uint8_t pinned[] = {200};
    const LevelPalette level = ChooseLevelPalette(base, baseTiles, room, pinned);

    for (size_t i = 0; i <= 200; ++i)
        if (i <= 40 || i == 200) EXPECT_TRUE(level.Colours[i] == base[i] && level.FromBase[i] == i) << i;
    const Bytes indices = Mapped(room, level);
    for (size_t i = 0; i < indices.size(); ++i) {
        const uint8_t* p = &room[i * 4];
        ASSERT_EQ(indices[i] == 0, p[3] < 128) << i;
        const PaletteColour& shown = level.Colours[indices[i]];
        if (p[3] >= 128) ASSERT_EQ(std::tuple(shown.R * 4, shown.G * 4, shown.B * 4), std::tuple(p[2], p[1], p[0]));
    }
    Bytes identity(ColourMapBytes);
    for (size_t i = 0; i < identity.size(); ++i) identity[i] = uint8_t(i % 256);
    EXPECT_EQ(RewriteColourMap(identity, base, level), identity);

    const Bytes many = Pixels(4096, 1, [](int c) { return std::tuple(c % 16 * 17, c / 16 % 16 * 17, c / 256 * 17); });
    const LevelPalette crowded = ChooseLevelPalette(base, baseTiles, many, pinned);
    EXPECT_EQ(crowded.Colours[200], base[200]);
}

// Coloured faces' words, once for a mesh named twice; none for a mesh past the end or counted negative.
TEST(LevelPalette, ColouredFacesOfTr1Meshes) {
    // Mesh at 0: centre and radius, 1 vertex, 1 light, 1 textured quad, no textured triangle,
    // 1 coloured quad, 2 coloured triangles. Mesh at 66: no vertex, 1 normal, 1 coloured triangle.
    Bytes data = Words({0, 0, 0, 0, 0, 1, 1, 2, 3, -1, 7, 1, 0, 1, 2, 3, 5, 0, 1, 0, 1, 2, 3, 201, 2,
                        0, 1, 2, 202, 0, 1, 2, 203, 0, 0, 0, 0, 0, 0, 1, 4, 5, 6, 0, 0, 0, 1, 0, 1, 2, 204});
    const Bytes pointers = {0, 0, 0, 0, 66, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(ColouredFaceWords(data, pointers), (std::vector<size_t>{46, 56, 64, 100}));
    EXPECT_EQ(ColouredFaceWords(Bytes(data.begin(), data.end() - 2), pointers), std::nullopt);
    data[10] = 0xFF, data[11] = 0xFF;  // the first mesh's vertex count becomes -1
    EXPECT_EQ(ColouredFaceWords(data, pointers), std::nullopt);
}
