#pragma once
#include <cstdint>
#include <vector>

#include "core/ZlibTool.h"

// Values of the texture sections that later stages read.
struct TextureSectionsState {
    // Tiles of the base level: the offset of the source's tiles in the new level's tile list.
    int32_t BaseTileCount = 0;
    // The source's room tile count, as read from its head.
    int16_t NumRoomTiles = 0;
    // With the engine layout: the source's first NumRoomTiles tiles of its 32-bit block, as far
    // as the block holds them (bytes B, G, R, A), for the 8-bit room tiles; and for TR1 and Gold,
    // where the new level's 8-bit tiles begin, and whether its room tiles still wait for the
    // palette that the file tail chooses.
    std::vector<uint8_t> RoomTiles32;
    int64_t Tiles8Pos = 0;
    bool RoomTiles8Pending = false;
    // The file tool that inflates and deflates the TR5 texture blocks.
    ZlibTool z;
};
