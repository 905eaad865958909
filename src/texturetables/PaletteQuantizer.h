#pragma once
// The 8-bit palettes of the older engines: 256 colours of 6 bits a channel, index 0 standing for
// transparency. Choosing such a palette for a set of weighted colours, and finding the nearest
// entry of a palette for a colour, are pure functions here: no channels, no files.
#include <array>
#include <cstdint>
#include <span>
#include <vector>

// One palette entry, 6 bits a channel (0 to 63). The engines show a channel as its value x 4.
struct PaletteColour {
    uint8_t R = 0, G = 0, B = 0;
    bool operator==(const PaletteColour&) const = default;
};
using Palette = std::array<PaletteColour, 256>;
constexpr size_t PaletteBytes = 768;

// A palette as it stands in a level: R, G, B for each entry. Short input leaves entries at 0.
Palette ParsePalette(std::span<const uint8_t> bytes);
std::vector<uint8_t> PaletteToBytes(const Palette& palette);

// Weighted opaque colours, gathered in the cells of the 6-bit channels. Each cell keeps its
// weight and the weighted sums of its channels and of their squares, so that the mean and the
// spread of the colours in it stay exact while their number stays small.
class ColourHistogram {
public:
    struct Cell {
        double Weight = 0, R = 0, G = 0, B = 0, Squares = 0;  // sums over 8-bit channels
    };
    ColourHistogram();
    // A colour of 8 bits a channel.
    void Add(uint8_t r, uint8_t g, uint8_t b, double weight);
    // A palette entry as the engines show it.
    void Add(PaletteColour c, double weight);
    // Every opaque pixel (alpha 128 or more) of 32-bit pixels, bytes B, G, R, A, with weight 1;
    // returns how many there were.
    size_t AddOpaquePixels(std::span<const uint8_t> bgra);
    const std::vector<Cell>& Cells() const { return cells_; }

private:
    std::vector<int32_t> cellOf_;  // 64 x 64 x 64: index into cells_, or -1
    std::vector<Cell> cells_;
};

// Chooses at most `count` palette colours for the histogram so that the weighted squared error of
// its colours, as the engines show the chosen ones, is small: variance-splitting boxes give the
// first colours, weighted k-means refines them. Every colour of `mustStay` is among the result
// and is never moved. The result holds no colour twice.
std::vector<PaletteColour> ChoosePaletteColours(const ColourHistogram& colours, std::span<const PaletteColour> mustStay,
                                                int count);

// The nearest entry of a palette to a colour, by squared distance as shown, among the entries
// from `first` to 255 (1 keeps index 0, transparency, for transparent pixels alone). Colours of
// 8 bits a channel are looked up through a table of the 6-bit cells, each cell filled on its first
// use, so that the pixels of many tiles map in one pass.
class NearestColour {
public:
    explicit NearestColour(const Palette& palette, int first = 1);
    uint8_t Of(uint8_t r, uint8_t g, uint8_t b);
    // The nearest entry to a palette colour itself (no cell middle), kept for its next lookup.
    uint8_t Of(PaletteColour c);

private:
    uint8_t Search(int r8, int g8, int b8, int scale) const;
    // A table of the 6-bit cells: the entry, plus one, of each cell found so far (0: not yet),
    // in pages of 64 cells (one red and green, every blue) made on first use.
    struct Table {
        std::vector<int32_t> pageOf;
        std::vector<uint16_t> slots;
    };
    uint8_t Lookup(Table& table, size_t cell, int r, int g, int b, int scale);
    Palette palette_;
    int first_;
    // The entries from `first` on, sorted by red, and their reds, for the search.
    std::vector<uint8_t> byRed_;
    std::vector<int32_t> red_;
    Table cells_, colours_;
};

// 32-bit pixels (bytes B, G, R, A) to palette indices: alpha below 128 is index 0, every other
// pixel its nearest entry from index 1 on. `indices` holds one byte per pixel.
void MapPixels(std::span<const uint8_t> bgra, NearestColour& nearest, std::span<uint8_t> indices);
