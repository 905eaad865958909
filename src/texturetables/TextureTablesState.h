#pragma once
#include <cstdint>
#include <vector>

struct TextureTablesState {
    int32_t NumRoomTextureIds = 0;
};
