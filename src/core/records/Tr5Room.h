#pragma once
// The room record of a TR5 level and its parts. The header fields stand in file order (216 bytes
// when packed); the body parts follow in the order the writer lays them out.
#include <array>
#include <bit>
#include <cstdint>
#include <vector>

#include "core/records/Room.h"

// Literal filler of TR5 records: it is file content and goes out bit for bit.
constexpr int32_t Tr5Filler = static_cast<int32_t>(0xCDCDCDCDu);
constexpr uint32_t Tr5FloatFillerBits = 0xCE48C8C9u;  // -842150464.0
inline float Tr5FloatFiller() { return std::bit_cast<float>(Tr5FloatFillerBits); }
constexpr uint8_t Tr5FillerByte = 205;
constexpr uint16_t Tr5FillerWord = 0xCDCD;

// 88 bytes in the file.
struct Tr5Light {
    float X = 0, Y = 0, Z = 0;
    float Red = 0, Green = 0, Blue = 0;
    int32_t Level = 0;
    float In = 0, Out = 0;
    float InRadians = 0, OutRadians = 0;
    float Range = 0;
    float DirectionX = 0, DirectionY = 0, DirectionZ = 0;
    int32_t IntX = 0, IntY = 0, IntZ = 0;
    int32_t IntDirectionX = 0, IntDirectionY = 0, IntDirectionZ = 0;
    uint8_t LightType = 0;  // 205 marks the dead record a fog bulb leaves behind
    uint8_t FillerBytes[3] = {0, 0, 0};
};

// 36 bytes in the file.
struct Tr5FogBulb {
    float X = 0, Y = 0, Z = 0;
    float FogValue1 = 0, FogValue2 = 0, FogValue3 = 0;
    float FogColor1 = 0, FogColor2 = 0, FogColor3 = 0;
};

// 56 bytes in the file; the words not named here are zero.
struct Tr5Layer {
    int32_t NumVertices = 0;
    int16_t Zero4 = 0;
    int16_t NumQuads = 0;
    int16_t NumTriangles = 0;
    int16_t Zero10 = 0, Zero12 = 0, Zero14 = 0;
    float MinX = 0, MinY = 0, MinZ = 0;
    float MaxX = 0, MaxY = 0, MaxZ = 0;
    int32_t Zero40 = 0;
    int32_t LayerConstant1 = 0, LayerConstant2 = 0, LayerConstant3 = 0;
};

// 28 bytes in the file.
struct Tr5Vertex {
    float X = 0, Y = 0, Z = 0;
    float Spare1 = 0, Spare2 = 0, Spare3 = 0;
    uint8_t Color[4] = {0, 0, 0, 0};
};

// 12 bytes in the file; the texture word sits at byte 8.
struct Tr5Quad {
    int16_t Vertices[4] = {0, 0, 0, 0};
    int16_t Texture = 0;
    int16_t Extra = 0;
};

// 10 bytes in the file; the texture word sits at byte 6.
struct Tr5Triangle {
    int16_t Vertices[3] = {0, 0, 0};
    int16_t Texture = 0;
    int16_t Extra = 0;
};

constexpr int Tr5RoomHeaderSize = 216;
constexpr int Tr5LightSize = 88;
constexpr int Tr5FogBulbSize = 36;
constexpr int Tr5LayerSize = 56;
constexpr int Tr5VertexSize = 28;
constexpr int Tr5QuadSize = 12;
constexpr int Tr5TriangleSize = 10;

struct Tr5Room {
    // Header, in file order; the comment gives the byte offset.
    char Label[4] = {0, 0, 0, 0};        // 0: "XELA"
    int32_t RoomSize = 0;                // 4: bytes from offset 8 to the end of the room
    int32_t Filler8 = 0;                 // 8
    int32_t PortalsOffset = 0;           // 12
    int32_t SectorsOffset = 0;           // 16
    int32_t Zero20 = 0;                  // 20
    int32_t StaticMeshesOffset = 0;      // 24
    int32_t X = 0;                       // 28
    int32_t Zero32 = 0;                  // 32
    int32_t Z = 0;                       // 36
    int32_t YBottom = 0;                 // 40
    int32_t YTop = 0;                    // 44
    int16_t NumZSectors = 0;             // 48
    int16_t NumXSectors = 0;             // 50
    uint8_t AmbientBytes[4] = {0, 0, 0, 0};  // 52
    int16_t NumLights = 0;               // 56
    int16_t NumStaticMeshes = 0;         // 58
    int16_t ExtraHexWord = 0;            // 60
    int16_t Zero62 = 0;                  // 62
    int32_t Constant64 = 0;              // 64: 32767
    int32_t Constant68 = 0;              // 68: 32767
    int32_t Filler72 = 0;                // 72
    int32_t Filler76 = 0;                // 76
    uint8_t Bytes80[4] = {0, 0, 0, 0};   // 80: 255 four times
    int16_t AlternateRoom = 0;           // 84
    int16_t Flags = 0;                   // 86
    int16_t Constant88 = 0;              // 88: 64
    uint8_t Zeros90[10] = {};            // 90
    int32_t Filler100 = 0;               // 100
    int32_t Zero104 = 0;                 // 104
    int32_t X2 = 0;                      // 108
    int32_t Filler112 = 0;               // 112
    int32_t Z2 = 0;                      // 116
    int32_t Filler120 = 0;               // 120
    int32_t Filler124 = 0;               // 124
    int32_t Filler128 = 0;               // 128
    int32_t Filler132 = 0;               // 132
    int32_t Zero136 = 0;                 // 136
    int32_t Filler140 = 0;               // 140
    int32_t NumTriangles = 0;            // 144
    int32_t NumQuads = 0;                // 148
    int32_t Zero152 = 0;                 // 152
    int32_t LightsSize = 0;              // 156
    int32_t NumLightsLong = 0;           // 160
    int32_t NumFogBulbs = 0;             // 164
    int32_t YTop2 = 0;                   // 168
    int32_t YBottom2 = 0;                // 172
    int32_t NumLayers = 0;               // 176
    int32_t LayersOffset = 0;            // 180
    int32_t VerticesOffset = 0;          // 184
    int32_t FacesOffset = 0;             // 188
    int32_t FacesOffset2 = 0;            // 192
    int32_t VerticesSize = 0;            // 196
    int32_t Filler200 = 0;               // 200
    int32_t Filler204 = 0;               // 204
    int32_t Filler208 = 0;               // 208
    int32_t Filler212 = 0;               // 212

    // Body.
    std::vector<Tr5Light> Lights;
    std::vector<Tr5FogBulb> FogBulbs;
    std::vector<RoomSector> Sectors;
    int16_t NumPortals = 0;
    std::vector<RoomPortal> Portals;
    uint16_t PortalsEnd = 0;
    std::vector<RoomStaticMesh> StaticMeshes;
    Tr5Layer Layer;
    std::vector<Tr5Quad> Quads;
    std::vector<Tr5Triangle> Triangles;
    std::vector<Tr5Vertex> Vertices;
};
