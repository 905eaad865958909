#pragma once
// Room records as read from the source and written for TR1 to TR3 targets. Fields are listed in
// file order; the widths are those of the file form (the file form is packed, these are not).
#include <cstdint>
#include <vector>

// The room layouts: the source's, and those of TR1 (and Gold), TR2 and TR3 levels.
enum class RoomLayout { Tr4, Tr1, Tr2, Tr3 };

// 12 bytes in the file.
struct RoomVertex {
    int16_t X = 0;
    int16_t Y = 0;
    int16_t Z = 0;
    int16_t Lighting1 = 0;
    int16_t Attributes = 0;
    int16_t Lighting2 = 0;
};

// 10 bytes in the file.
struct RoomQuad {
    int16_t Vertices[4] = {0, 0, 0, 0};
    int16_t Texture = 0;
};

// 8 bytes in the file.
struct RoomTriangle {
    int16_t Vertices[3] = {0, 0, 0};
    int16_t Texture = 0;
};

// 4 bytes in the file, copied as a block.
struct RoomSprite {
    int16_t Words[2] = {0, 0};
};

struct RoomPortalVertex {
    int16_t X = 0;
    int16_t Y = 0;
    int16_t Z = 0;
};

// 32 bytes in the file.
struct RoomPortal {
    int16_t AdjoiningRoom = 0;
    int16_t Normal[3] = {0, 0, 0};
    RoomPortalVertex Vertices[4];
};

// 8 bytes in the file.
struct RoomSector {
    int16_t FloorDataIndex = 0;
    int16_t BoxIndex = 0;
    uint8_t Rest[4] = {0, 0, 0, 0};
};

// 46 bytes in the file.
struct RoomLightTr4 {
    int32_t X = 0;
    int32_t Y = 0;
    int32_t Z = 0;
    uint8_t Red = 0;
    uint8_t Green = 0;
    uint8_t Blue = 0;
    uint8_t LightType = 0;
    int16_t Intensity = 0;
    float In = 0;
    float Out = 0;
    float Length = 0;
    float Cutoff = 0;
    float DirectionX = 0;
    float DirectionY = 0;
    float DirectionZ = 0;
};

// 18 bytes in the file.
struct RoomLightTr1 {
    int32_t X = 0;
    int32_t Y = 0;
    int32_t Z = 0;
    int16_t Intensity = 0;
    int32_t Fade = 0;
};

// 24 bytes in the file. For a TR3 target Intensity1 and Intensity2 carry colour words.
struct RoomLightTr3 {
    int32_t X = 0;
    int32_t Y = 0;
    int32_t Z = 0;
    int16_t Intensity1 = 0;
    int16_t Intensity2 = 0;
    int32_t Fade1 = 0;
    int32_t Fade2 = 0;
};

// 20 bytes in the file (18 for TR1 and Gold, which have no Intensity2).
struct RoomStaticMesh {
    int32_t X = 0;
    int32_t Y = 0;
    int32_t Z = 0;
    int16_t Rotation = 0;
    int16_t Intensity1 = 0;
    int16_t Intensity2 = 0;
    int16_t ObjectId = 0;
};

// One room of the source, rewritten in place by the conversion for a TR1 to TR3 target.
struct Room {
    int32_t X = 0;
    int32_t Z = 0;
    int32_t YBottom = 0;
    int32_t YTop = 0;
    int32_t NumDataWords = 0;
    int16_t NumVertices = 0;
    std::vector<RoomVertex> Vertices;
    int16_t NumQuads = 0;
    std::vector<RoomQuad> Quads;
    int16_t NumTriangles = 0;
    std::vector<RoomTriangle> Triangles;
    int16_t NumSprites = 0;
    std::vector<RoomSprite> Sprites;
    int16_t NumPortals = 0;
    std::vector<RoomPortal> Portals;
    int16_t NumZSectors = 0;
    int16_t NumXSectors = 0;
    std::vector<RoomSector> Sectors;
    int16_t AmbientIntensity1 = 0;
    int16_t AmbientIntensity2 = 0;
    int16_t ReservedTr2 = 0;
    // Counts the lights of whichever array is in force.
    int16_t NumLights = 0;
    std::vector<RoomLightTr1> LightsTr1;
    std::vector<RoomLightTr3> LightsTr3;
    std::vector<RoomLightTr4> LightsTr4;
    int16_t NumStaticMeshes = 0;
    std::vector<RoomStaticMesh> StaticMeshes;
    int16_t AlternateRoom = 0;
    int16_t Flags = 0;
    uint8_t ExtraByte1 = 0;
    uint8_t ExtraByte2 = 0;
    uint8_t ExtraByte3 = 0;
};
