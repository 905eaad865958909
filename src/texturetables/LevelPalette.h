#pragma once
// One 8-bit palette for a TR1 or Gold level that shows both the base's tiles and the source's
// room tiles, and the rewriting of everything that names an entry of the base's palette: its
// tiles, the colour map's shades and the coloured faces of its meshes. Pure functions.
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "texturetables/PaletteQuantizer.h"

constexpr size_t ColourMapShades = 32;
constexpr size_t ColourMapBytes = ColourMapShades * 256;

struct LevelPalette {
    Palette Colours{};
    // For each entry of the base's palette, the entry that shows it in the new one (0 stays 0).
    std::array<uint8_t, 256> FromBase{};
};

// Chooses the palette from the base's tiles (palette indices, weighted by how often each
// index occurs) and the room pixels (bytes B, G, R, A; alpha below 128 is transparent). The two
// sets weigh the same in total, whatever their sizes. The colours of the `pinned` base entries
// stay exactly as they are, at their own index. Entries keep their index where the colour they
// show stays, and entries that no colour needs keep the base's colour. Entry 0 is the base's.
// A channel of the base's above 63 counts as 63.
LevelPalette ChooseLevelPalette(const Palette& base, std::span<const uint8_t> baseTiles,
                                std::span<const uint8_t> roomPixels, std::span<const uint8_t> pinned);

// The colour map for the new palette: row s of the base's map gives the shade s of each base
// entry; each new entry takes the shade of the base entry nearest to it, moved by the difference
// of the two colours scaled as the row scales colours, and the map names the new entry nearest to
// that shade (never entry 0, but where the base's map names 0 for entry 0).
std::vector<uint8_t> RewriteColourMap(std::span<const uint8_t> colourMap, const Palette& base,
                                      const LevelPalette& level);

// Where the palette index of each coloured face stands in a TR1 mesh table: byte offsets into
// MeshData of the faces' texture words, each once, in order. `meshPointers` holds the byte offset
// of each mesh. No result when a mesh does not lie whole within the table.
std::optional<std::vector<size_t>> ColouredFaceWords(std::span<const uint8_t> meshData,
                                                     std::span<const uint8_t> meshPointers);
