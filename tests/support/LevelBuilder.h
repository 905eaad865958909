#pragma once
// Small synthetic levels for tests: a TR4 source and TR1, Gold, TR2, TR3 and TR5 bases with
// chosen tiles, rooms and sections. Every field is written through ByteWriter, so a test can
// work out the offset of anything it wrote; the sections behind the rooms are raw bytes.
#include <bit>
#include <cstdint>
#include <string>
#include <vector>

#include "rooms/Room.h"

// Little-endian byte writer.
struct ByteWriter {
    std::vector<uint8_t> bytes;

    ByteWriter& Int(int64_t v, int size);  // the low `size` bytes
    ByteWriter& Byte(uint8_t v) { return Int(v, 1); }
    ByteWriter& Word(int32_t v) { return Int(v, 2); }
    ByteWriter& Long(int64_t v) { return Int(v, 4); }
    ByteWriter& Float(float v) { return Long(std::bit_cast<uint32_t>(v)); }
    ByteWriter& Bytes(const std::vector<uint8_t>& v);
    ByteWriter& Zeros(size_t n) { return Bytes(std::vector<uint8_t>(n)); }
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

// The head of a TR4 or TR5 file: version word, tile counts and the three texture blocks,
// given inflated.
struct TextureHead {
    int16_t NumRoomTiles = 1;
    int16_t OtherTileCounts[2] = {0, 0};
    std::vector<uint8_t> Tiles32, Tiles16, Misc;
    void WriteHead(ByteWriter& w) const;
};

// A TR4 source level.
struct Tr4SourceBuilder : TextureHead {
    int32_t RoomsLeadWord = 0;
    std::vector<Room> Rooms;
    std::vector<uint8_t> AfterRooms;  // floor data and all further sections of the geometry block

    // Inflated geometry block: lead word, room count, rooms, AfterRooms.
    std::vector<uint8_t> Geometry() const;
    std::vector<uint8_t> Build() const;
    // Offset in the inflated geometry of the first byte behind the rooms.
    size_t GeometryRoomsEnd() const;
};

// A TR1, Gold, TR2 or TR3 base level. Version: 1 TR1 (word 32), 2 Gold (word 32), 3 TR2
// (word 45), 4 TR3 (word 0xFF080038), unless VersionWord is set. Short arrays are padded with
// zeros to their sizes.
struct ClassicBaseBuilder {
    int Version = 4;
    int32_t VersionWord = 0;
    std::vector<uint8_t> Palette8, Palette16;  // 768 and 1024 bytes (TR2, TR3)
    int32_t TileCount = 1;
    std::vector<uint8_t> Tiles8, Tiles16;  // TileCount x 65536, x 131072 (TR2, TR3)
    int32_t RoomsLeadWord = 0;
    std::vector<Room> Rooms;
    std::vector<uint8_t> AfterRooms;

    int32_t Word() const;
    RoomLayout Layout() const;
    std::vector<uint8_t> Build() const;
};

// A TR5 base level, as far as the texture sections go; AfterTextures follows the misc block.
struct Tr5BaseBuilder : TextureHead {
    std::vector<uint8_t> AfterTextures;
    std::vector<uint8_t> Build() const;
};

void WriteLevel(const std::string& path, const std::vector<uint8_t>& bytes);
