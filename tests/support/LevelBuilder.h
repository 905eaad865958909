#pragma once
// Small synthetic levels for tests: a TR4 source and TR1, Gold, TR2, TR3 and TR5 bases with
// chosen tiles, rooms and sections. Every field is written through ByteWriter, so a test can
// work out the offset of anything it wrote. The sections behind the rooms are raw byte blobs
// by default; add helpers here for sections that need structure.
#include <cstdint>
#include <string>
#include <vector>

#include "rooms/Room.h"

// Little-endian byte writer.
struct ByteWriter {
    std::vector<uint8_t> bytes;

    ByteWriter& Byte(uint8_t v);
    ByteWriter& Word(int32_t v);  // low 16 bits
    ByteWriter& Long(int64_t v);  // low 32 bits
    ByteWriter& Float(float v);
    ByteWriter& Bytes(const std::vector<uint8_t>& v);
    ByteWriter& Zeros(size_t n);
    // A TR4/TR5 texture or geometry block: UncompressedSize, CompressedSize, zlib stream.
    ByteWriter& Block(const std::vector<uint8_t>& uncompressed);
    size_t Size() const { return bytes.size(); }
};

// Writes one room in a layout. For Tr4 the lights are LightsTr4; for Tr1 LightsTr1; for Tr2
// and Tr3 LightsTr3. NumLights and the other counts are written as they stand in the record,
// so a test can write inconsistent rooms on purpose; the arrays are written whole.
void WriteRoom(ByteWriter& w, const Room& room, RoomLayout layout);

// A room with the given number of elements, filled with recognisable values derived from
// seed (vertex i has X = seed * 1000 + i, and so on). Sectors: zSectors x xSectors.
Room MakeRoom(int seed, int vertices, int quads, int triangles, int sprites, int portals, int lights,
              int statics, int zSectors = 1, int xSectors = 1);

// A tile image of `tiles` tiles of `tileSize` bytes, each tile filled with a pattern that
// starts at `firstValue` + tile index, so tiles can be told apart.
std::vector<uint8_t> TilePattern(int tiles, size_t tileSize, uint8_t firstValue);

// A TR4 source level.
struct Tr4SourceBuilder {
    int16_t NumRoomTiles = 1;
    int16_t OtherTileCounts[2] = {0, 0};
    std::vector<uint8_t> Tiles32;  // inflated content of the 32-bit block
    std::vector<uint8_t> Tiles16;  // inflated content of the 16-bit block
    std::vector<uint8_t> Misc;     // inflated content of the misc block
    int32_t RoomsLeadWord = 0;
    std::vector<Room> Rooms;
    // Everything behind the rooms inside the geometry block (floor data and all further
    // sections).
    std::vector<uint8_t> AfterRooms;

    // Inflated geometry block: lead word, room count, rooms, AfterRooms.
    std::vector<uint8_t> Geometry() const;
    std::vector<uint8_t> Build() const;
    // Offset in the inflated geometry of the first byte behind the rooms.
    size_t GeometryRoomsEnd() const;
};

// A TR1, Gold, TR2 or TR3 base level. Version: 1 TR1 (word 32), 2 Gold (word 32), 3 TR2
// (word 45), 4 TR3 (word 0xFF080038 unless VersionWord is set).
struct ClassicBaseBuilder {
    int Version = 4;
    int32_t VersionWord = 0;  // 0: the usual word of Version
    std::vector<uint8_t> Palette8;   // 768 bytes (TR2, TR3); zeros if empty
    std::vector<uint8_t> Palette16;  // 1024 bytes (TR2, TR3); zeros if empty
    int32_t TileCount = 1;
    std::vector<uint8_t> Tiles8;   // TileCount x 65536, padded with zeros
    std::vector<uint8_t> Tiles16;  // TileCount x 131072 (TR2, TR3), padded with zeros
    int32_t RoomsLeadWord = 0;
    std::vector<Room> Rooms;
    int32_t NumRoomsOverride = -1;  // written instead of Rooms.size() when >= 0
    std::vector<uint8_t> AfterRooms;

    int32_t Word() const;
    RoomLayout Layout() const;
    std::vector<uint8_t> Build() const;
    // Offset of the room section (the lead word) in the file.
    size_t RoomsOffset() const;
};

// A TR5 base level, as far as the texture sections go; AfterTextures follows the misc block.
struct Tr5BaseBuilder {
    int16_t NumRoomTiles = 1;
    int16_t OtherTileCounts[2] = {0, 0};
    std::vector<uint8_t> Tiles32;
    std::vector<uint8_t> Tiles16;
    std::vector<uint8_t> Misc;
    std::vector<uint8_t> AfterTextures;

    std::vector<uint8_t> Build() const;
};

void WriteLevel(const std::string& path, const std::vector<uint8_t>& bytes);
