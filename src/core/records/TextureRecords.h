#pragma once
// Records of the texture tables: object textures in their three file forms, animated ranges and
// rows of the room texture id table.
#include <cstddef>
#include <cstdint>
#include <vector>

// One corner of an object texture: four bytes, named byte 0 to byte 3.
struct ObjectTextureVertex {
    uint8_t Bytes[4] = {0, 0, 0, 0};
};

// An object texture in memory. The source form has 38 bytes (all fields but Tr5Word), the TR1 to
// TR3 form 20 bytes (Attribute, Tile, Vertices), the TR5 form 40 bytes (everything).
struct ObjectTexture {
    uint16_t Attribute = 0;
    int16_t Tile = 0;
    uint16_t MiddleWord = 0;
    ObjectTextureVertex Vertices[4];
    int32_t TailLongs[4] = {0, 0, 0, 0};
    uint16_t Tr5Word = 0;
};

constexpr int ObjectTextureSourceSize = 38;
constexpr int ObjectTextureTr123Size = 20;
constexpr int ObjectTextureTr5Size = 40;

// Packed file forms. Parse reads `count` records of `size` bytes (38, 20 or 40) from a buffer;
// Append writes one record in the form of `size` to the end of a buffer.
std::vector<ObjectTexture> ParseObjectTextures(const std::vector<uint8_t>& bytes, size_t count, int size);
void AppendObjectTexture(std::vector<uint8_t>& out, const ObjectTexture& t, int size);

// One range of the animated textures table.
struct AnimatedTextureRange {
    int16_t LastIndex = 0;
    std::vector<int16_t> Ids;  // indices 0 to LastIndex
};

// A row of the room texture id table: source object texture id and its id in the new level.
struct RoomTextureId {
    int32_t OldId = 0;
    int32_t NewId = 0;
};
