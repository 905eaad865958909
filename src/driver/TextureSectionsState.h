#pragma once
#include <cstdint>

// Values of the texture sections that later stages read.
struct TextureSectionsState {
    // Tiles of the base level: the offset of the source's tiles in the new level's tile list.
    int32_t BaseTileCount = 0;
};
