#pragma once
// The 8-bit palette of a TR1 or Gold level and the 8-bit room tiles of every older target.
#include <cstdint>
#include <vector>

#include "texturetables/PaletteQuantizer.h"

struct Program;

// Writes the colour map (8192 bytes) and then the palette (768 bytes) of a TR1 or Gold level to
// channel 3 at its position. When the texture sections left room tiles waiting (the engine
// layout), the palette is first chosen anew for the base's tiles and the source's room tiles
// together, and everything that names its entries is rewritten for it: the room tiles are
// written, the base's tiles and the coloured faces of its meshes are rewritten in the new level,
// and `colourMap` and `palette` are replaced by the new ones.
void WriteColourMapAndPalette(Program& prog, std::vector<uint8_t>& colourMap, std::vector<uint8_t>& palette);

// Writes `tiles` 8-bit room tiles to channel 3 at its position: the pixels of RoomTiles32
// through the nearest entries of `palette` (index 0 for a pixel with alpha below 128, and for
// tiles that the source's block does not hold).
void WriteRoomTiles8(Program& prog, const Palette& palette, int tiles);
