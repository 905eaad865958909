#pragma once
#include <cstdint>

#include "core/ZlibTool.h"

// Values of the texture sections that later stages read.
struct TextureSectionsState {
    // Tiles of the base level: the offset of the source's tiles in the new level's tile list.
    int32_t BaseTileCount = 0;
    // The source's room tile count, as read from its head.
    int16_t NumRoomTiles = 0;
    // The file tool that inflates and deflates the TR5 texture blocks.
    ZlibTool z;
};
