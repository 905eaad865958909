#pragma once
// A picture of a level's texture pages as its engine draws them, so that an author can see the
// textures before starting the game: pages of 256 x 256 pixels stacked top to bottom, in the
// order the level holds them.
//
// - TR1 and Gold: the 8-bit pages through the palette (6-bit values, x 4).
// - TR2 and TR3: the 16-bit pages (ARGB 1555) that the engines draw, then the 8-bit pages
//   through the 8-bit palette, which the software renderer draws.
// - TR5 and the TR4 source: the 32-bit pages (bytes blue, green, red, alpha).
//
// Transparent pixels (index 0 of an 8-bit page, alpha 0 of a 16-bit one, alpha below 128 of a
// 32-bit one) show as a checkerboard.
#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>
#include <vector>

#include "inspection/LevelWalker.h"

constexpr uint32_t PagePixels = 256;
// The checkerboard: squares of this many pixels, starting with a light one at each page's
// top left corner.
constexpr uint32_t CheckerSquare = 8;
constexpr uint8_t CheckerLight = 0xFF, CheckerDark = 0xC0;

struct TexturePicture {
    std::vector<uint8_t> png;  // empty when the pages can't be drawn
    size_t pages = 0;
    std::string what;  // what the picture shows, or why there is none
};

// Draws the pages of a level walked in `level`. The walk must have reached the sections that
// hold the pages, and for 8-bit pages the palette.
TexturePicture DrawTexturePages(std::span<const uint8_t> file, const WalkedLevel& level) noexcept;

// Draws the pages and writes the picture to `picturePath`, whole or not at all: it goes to a
// new file beside it, which then takes the picture's name. A path that leads to the level
// itself, or to a file that is not a PNG picture, is refused. Says what was written on `out`,
// or the problem on `err`; false when nothing was written.
bool WriteTexturePicture(std::span<const uint8_t> file, const WalkedLevel& level, const std::string& levelPath,
                         const std::string& picturePath, std::ostream& out, std::ostream& err) noexcept;
