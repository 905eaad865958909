#pragma once
// What the TR4 level reader keeps of the last level it walked. Every section is held as read,
// in its own table, until the next walk reaches it again. The rooms go to the conversion's own
// Rooms and NumRooms instead.
#include <cstdint>
#include <string>
#include <vector>

// One compressed block of the outer file, kept as it stands.
struct Tr4Block {
    int32_t UncompressedSize = 0;
    int32_t CompressedSize = 0;
    std::vector<uint8_t> Bytes;
};

// A section of the geometry: its count as read and its elements as one run of bytes.
struct Tr4Section {
    int32_t Count = 0;
    std::vector<uint8_t> Bytes;
};

// The source form of an object texture, 38 bytes in the file.
struct Tr4ObjectTexture {
    uint16_t Attribute = 0;
    int16_t Tile = 0;  // the top bit is a flag
    uint16_t MiddleWord = 0;
    uint8_t Vertices[4][4] = {};
    int32_t TailLongs[4] = {};
};

struct Tr4LevelSections {
    uint32_t VersionWord = 0;
    int16_t NumRoomTiles = 0;
    int16_t NumObjectTiles = 0;
    int16_t NumBumpTiles = 0;
    Tr4Block Texture32;
    Tr4Block Texture16;
    Tr4Block TextureX;
    int32_t GeometryUncompressedSize = 0;
    int32_t GeometryCompressedSize = 0;
    int32_t TailWord = 0;
    std::vector<uint8_t> TailBytes;

    // Counts of FloorData, MeshData, Frames and AnimatedTextures are in 16-bit words.
    Tr4Section FloorData;
    Tr4Section MeshData;
    Tr4Section MeshPointers;
    Tr4Section Animations;
    Tr4Section AnimationTable6;
    Tr4Section AnimationTable8;
    Tr4Section AnimationTable2;
    Tr4Section MeshTrees;
    Tr4Section Frames;
    Tr4Section Moveables;
    Tr4Section StaticMeshes;
    Tr4Section SpriteTextures;
    Tr4Section SpriteSequences;
    Tr4Section Cameras;
    Tr4Section FlybyCameras;
    Tr4Section SoundSources;
    Tr4Section Boxes;
    Tr4Section Overlaps;
    // No count of its own: 20 bytes per box.
    Tr4Section Zones;
    Tr4Section AnimatedTextures;
    uint8_t UvByte = 0;
    int32_t NumObjectTextures = 0;
    std::vector<Tr4ObjectTexture> ObjectTextures;
    Tr4Section Items;
    Tr4Section AiObjects;
    // 16-bit count in words.
    Tr4Section DemoData;
    // 370 words.
    std::vector<uint8_t> SoundMap;
    Tr4Section SoundDetails;
    Tr4Section SampleIndices;
};

struct InspectionState {
    Tr4LevelSections Tr4Read;
    // The working file that holds the inflated geometry of the last walk, and the private folder
    // made for it (removed with the program object).
    std::string Tr4WorkingFile;
    std::string Tr4WorkingFolder;
};
