#pragma once
// The 8-bit colour of TR1 and Gold levels made with the engine layout: the colour map and the
// palette that stand one behind the other in the new level's tail.
#include <cstdint>
#include <vector>

#include "core/Program.h"

// Writes the colour map (8192 bytes) and then the palette (768 bytes) to the new level.
void WriteColourMapAndPalette(Program& prog, std::vector<uint8_t>& colourMap, std::vector<uint8_t>& palette);
