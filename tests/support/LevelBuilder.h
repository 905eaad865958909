#pragma once
// Small synthetic levels for tests: a TR4 source and TR1 to TR5 bases with chosen tiles and rooms.
#include <bit>
#include <cstdint>
#include <string>
#include <vector>

#include "core/records/Room.h"
#include "inspection/LevelWalker.h"
#include "support/TestFolder.h"

// Little-endian byte writer.
struct ByteWriter {
    std::vector<uint8_t> bytes;

    ByteWriter& Int(int64_t v, int size) {  // the low `size` bytes
        for (int i = 0; i < size; ++i) bytes.push_back(static_cast<uint8_t>(v >> (8 * i)));
        return *this;
    }
    ByteWriter& Byte(uint8_t v) { return Int(v, 1); }
    ByteWriter& Word(int32_t v) { return Int(v, 2); }
    ByteWriter& Long(int64_t v) { return Int(v, 4); }
    ByteWriter& Float(float v) { return Long(std::bit_cast<uint32_t>(v)); }
    ByteWriter& Bytes(const std::vector<uint8_t>& v) {
        bytes.insert(bytes.end(), v.begin(), v.end());
        return *this;
    }
    ByteWriter& Zeros(size_t n) { return Bytes(std::vector<uint8_t>(n)); }
    // A TR4/TR5 texture or geometry block: UncompressedSize, CompressedSize, zlib stream.
    ByteWriter& Block(const std::vector<uint8_t>& uncompressed);
    size_t Size() const { return bytes.size(); }
};

// One room in a layout; counts and arrays are written as they stand, consistent or not.
void WriteRoom(ByteWriter& w, const Room& room, RoomLayout layout);

// A room of that many elements, filled with values derived from seed; zSectors x xSectors sectors.
Room MakeRoom(int seed, int vertices, int quads, int triangles, int sprites, int portals, int lights,
              int statics, int zSectors = 1, int xSectors = 1);

// `tiles` tiles of `tileSize` bytes, each filled with a pattern starting at firstValue + tile.
std::vector<uint8_t> TilePattern(int tiles, size_t tileSize, uint8_t firstValue);

// The head of a TR4 or TR5 file: version word, tile counts and three texture blocks, given inflated.
struct TextureHead {
    int16_t NumRoomTiles = 1;
    int16_t OtherTileCounts[2] = {0, 0};
    std::vector<uint8_t> Tiles32, Tiles16, Misc;
    std::vector<uint8_t> Build() const;
};

// A TR4 source level.
struct Tr4SourceBuilder : TextureHead {
    int32_t RoomsLeadWord = 0;
    std::vector<Room> Rooms;
    std::vector<uint8_t> AfterRooms;  // floor data and all further sections of the geometry block
    // Inflated geometry block: lead word, room count, rooms, AfterRooms.
    std::vector<uint8_t> Geometry() const;
    std::vector<uint8_t> Build() const;
};

// A TR1, Gold, TR2 or TR3 base level (Version 1 to 4), with zero palettes; short tiles padded.
struct ClassicBaseBuilder {
    int Version = 4;
    int32_t TileCount = 1;
    std::vector<uint8_t> Tiles8, Tiles16;  // TileCount x 65536, x 131072 (TR2, TR3)
    int32_t RoomsLeadWord = 0;
    std::vector<Room> Rooms;
    std::vector<uint8_t> AfterRooms;
    std::vector<uint8_t> Build() const;
};

// A whole level of any format that the walk reads to its end, every record zero but for what a
// test asks for: the counts of some sections, and what room 0 or one mesh holds. The other
// rooms are empty; items stand in room 0.
struct LevelShape {
    int tiles = 0;  // TR1 to TR3
    int rooms = 1;
    int objectTextures = 0, spriteTextures = 0, items = 0, cameras = 0, floorDataWords = 0;
    int roomVertices = 0;   // in room 0 (not TR5)
    int meshVertices = -1;  // one mesh with that many vertices; -1: no mesh
    int roomStaticId = -1;  // a static mesh of that id in room 0 (not TR5)
    int tableStaticId = -1;  // one entry of the StaticMeshes table with that id
    int floorPortalTo = -1;  // a portal of room 0 with a vertical normal, to that room
};
std::vector<uint8_t> BuildLevel(WalkFormat format, const LevelShape& shape);
