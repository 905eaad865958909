#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "core/records/TextureRecords.h"

// Values of the texture tables: room texture ids, object textures and animated textures.
struct TextureTablesState {
    // From source object texture id to new id; rows 0 to NumRoomTextureIds, the last one all zero.
    std::vector<RoomTextureId> RoomTextureIds;
    int16_t NumRoomTextureIds = 0;
    // Lookup index over RoomTextureIds: for every 16-bit id (offset by 32768) the first row whose
    // OldId holds it, or -1. Rebuilt whenever OldId values change; the row count and table it was
    // built for tell a stale index from a fresh one. Empty until first built.
    std::unique_ptr<int16_t[]> RoomTextureIdIndex;
    int16_t IndexedRoomTextureIds = 0;
    const RoomTextureId* IndexedRoomTextureTable = nullptr;

    // Object textures of the source (index = source id) and of the base (TR3 and TR5 targets).
    std::vector<ObjectTexture> SourceObjectTextures;
    std::vector<ObjectTexture> BaseObjectTextures;
    std::vector<ObjectTexture> BaseObjectTexturesTr5;
    // Positions in the new level: the count of the late object texture table (TR3, TR5) and the
    // first byte behind the room object textures (TR1, Gold, TR2).
    int64_t ObjectTexturesPos = 0;
    int64_t ObjectTexturesTailPos = 0;

    // The source's animated textures table as read, and where its first word stands on channel 3
    // (in temp.tr2 for TR1, Gold and TR2 targets).
    int32_t NumAnimatedTextureWords = 0;
    std::vector<uint8_t> AnimatedTextureData;
    int64_t AnimatedTexturesPos = 0;
    // The table parsed into ranges: 255 slots.
    std::vector<AnimatedTextureRange> AnimatedTextureRanges;
    int16_t NumAnimatedTextureRanges = 0;
};
