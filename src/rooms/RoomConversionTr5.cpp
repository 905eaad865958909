#include "rooms/RoomConversionTr5.h"

#include <cmath>
#include <cstring>
#include <string>

#include "core/Checked.h"
#include "core/Program.h"
#include "core/records/Tr5Room.h"

namespace {

// The ambient words become four bytes by going through a small file, low byte first.
void AmbientBytesThroughFile(Program& prog, const Room& room, Tr5Room& out) {
    Channels& ch = prog.channels;
    const std::string path = prog.AppPath("temp.col");
    ch.Open(8, path, OpenMode::Binary);
    ch.WriteWord(8, room.AmbientIntensity1);
    ch.WriteWord(8, room.AmbientIntensity2);
    ch.Close(8);
    ch.Open(8, path, OpenMode::Binary);
    for (auto& b : out.AmbientBytes) b = ch.ReadByte(8);
    ch.Close(8);
}

void FillHeader(Program& prog, const Room& room, Tr5Room& out) {
    std::memcpy(out.Label, "XELA", 4);
    out.X = out.X2 = room.X;
    out.Z = out.Z2 = room.Z;
    out.YBottom = out.YBottom2 = room.YBottom;
    out.YTop = out.YTop2 = room.YTop;
    out.NumZSectors = room.NumZSectors;
    out.NumXSectors = room.NumXSectors;
    AmbientBytesThroughFile(prog, room, out);
    out.NumLights = room.NumLights;
    out.NumLightsLong = room.NumLights;
    out.LightsSize = Mul16(room.NumLights, Tr5LightSize);
    out.NumStaticMeshes = prog.form.Check2.Value() == 1 ? 0 : room.NumStaticMeshes;
    out.ExtraHexWord = ExtraHexWordOf(room.ExtraByte3);
    out.AlternateRoom = room.AlternateRoom;
    out.Flags = room.Flags;
    out.NumTriangles = room.NumTriangles;
    out.NumQuads = room.NumQuads;
    out.NumFogBulbs = 0;
    out.NumLayers = 1;
    out.VerticesSize = Mul16(room.NumVertices, Tr5VertexSize);

    // Constant fields of the header.
    out.Filler8 = Tr5Filler;
    out.Constant64 = 32767;
    out.Constant68 = 32767;
    out.Filler72 = out.Filler76 = Tr5Filler;
    std::memset(out.Bytes80, 255, sizeof out.Bytes80);
    out.Constant88 = 64;
    out.Filler100 = out.Filler112 = out.Filler120 = out.Filler124 = Tr5Filler;
    out.Filler128 = out.Filler132 = out.Filler140 = Tr5Filler;
    out.Filler200 = out.Filler204 = out.Filler208 = out.Filler212 = Tr5Filler;
}

// In, Out, the angles in radians, the range and the direction of a directed light.
void ConeValues(const RoomLightTr4& src, Tr5Light& light) {
    light.In = src.In;
    light.Out = src.Out;
    light.InRadians = static_cast<float>(static_cast<double>(src.In) * (3.14 / 180.0));
    light.OutRadians = static_cast<float>(static_cast<double>(src.Out) * (3.14 / 180.0));
    light.Range = src.Length - src.Cutoff;  // a difference of two floats, as a float
    light.DirectionX = src.DirectionX;
    light.DirectionY = src.DirectionY;
    light.DirectionZ = src.DirectionZ;
    light.IntDirectionX = CLng(static_cast<double>(src.DirectionX) * 16384.0);
    light.IntDirectionY = CLng(static_cast<double>(src.DirectionY) * 16384.0);
    light.IntDirectionZ = CLng(static_cast<double>(src.DirectionZ) * 16384.0);
}

void AddFogBulb(const RoomLightTr4& src, Tr5Room& out, Tr5Light& light) {
    out.NumFogBulbs = Add32(out.NumFogBulbs, 1);
    const float ff = Tr5FloatFiller();
    light.Red = light.Green = light.Blue = ff;
    light.In = light.Out = ff;
    light.InRadians = light.OutRadians = light.Range = ff;
    light.DirectionX = light.DirectionY = light.DirectionZ = ff;
    light.IntDirectionX = light.IntDirectionY = light.IntDirectionZ = Tr5Filler;
    light.Level = Tr5Filler;
    light.LightType = Tr5FillerByte;

    Tr5FogBulb bulb;
    bulb.X = static_cast<float>(src.X);
    bulb.Y = static_cast<float>(src.Y);
    bulb.Z = static_cast<float>(src.Z);
    bulb.FogValue1 = std::bit_cast<float>(0x44B40000u);  // 1440.0
    bulb.FogValue2 = std::bit_cast<float>(0x40FD2000u);  // 7.91015625
    bulb.FogValue3 = std::bit_cast<float>(0x43B00000u);  // 352.0
    bulb.FogColor1 = std::bit_cast<float>(0x3F3FBFC0u);
    bulb.FogColor2 = std::bit_cast<float>(0x3F0F8F90u);
    bulb.FogColor3 = std::bit_cast<float>(0x3F6FEFF1u);
    out.FogBulbs.push_back(bulb);
}

Tr5Light ConvertLight(Program& prog, const RoomLightTr4& src, Tr5Room& out) {
    Tr5Light light;
    light.X = static_cast<float>(src.X);
    light.Y = static_cast<float>(src.Y);
    light.Z = static_cast<float>(src.Z);
    // The intensity scales the colour; the tiny term keeps an intensity of 0 from dividing by 0.
    // k is found in double precision; the colour divisions are of 32-bit floats, each rounded
    // to a float, as their operands are.
    const float k = static_cast<float>(8192.0 / (static_cast<double>(src.Intensity) + 1e-16));
    light.Red = static_cast<float>(src.Red) / k / 255.0f;
    light.Green = static_cast<float>(src.Green) / k / 255.0f;
    light.Blue = static_cast<float>(src.Blue) / k / 255.0f;
    light.Level = 0;

    const bool asNormal = prog.form.Check5.Value() == 1;
    switch (src.LightType) {
        case 0:  // sun
            if (asNormal) {
                light.X = 1024.0f;
                light.Y = 0.0f;
                light.Z = 1024.0f;
                light.In = 1024.0f;
                light.Out = 2048.0f;
                light.LightType = 1;
            } else {
                ConeValues(src, light);
                light.LightType = 0;
            }
            break;
        case 1:  // normal
            light.In = src.In;
            light.Out = src.Out;
            light.LightType = 1;
            break;
        case 2:  // spot
            if (asNormal) {
                light.In = 1024.0f;
                light.Out = 2048.0f;
                light.LightType = 1;
            } else {
                ConeValues(src, light);
                light.LightType = 2;
            }
            break;
        case 3:
            light.In = src.In;
            light.Out = src.Out;
            light.DirectionZ = -1.0f;
            light.IntDirectionZ = -16384;
            light.Level = CheckLong(RoundDown(static_cast<double>(src.Intensity) / 32.0 / 2.0));
            light.LightType = 3;
            break;
        case 4:  // fog bulb: a record of its own, and a dead light in its place
            AddFogBulb(src, out, light);
            break;
        default: break;
    }

    if (light.LightType != Tr5FillerByte) {
        light.IntX = CLng(light.X);
        light.IntY = CLng(light.Y);
        light.IntZ = CLng(light.Z);
    } else {
        light.IntX = light.IntY = light.IntZ = Tr5Filler;
        light.X = light.Y = light.Z = Tr5FloatFiller();
    }
    std::memset(light.FillerBytes, Tr5FillerByte, sizeof light.FillerBytes);
    return light;
}

void ConvertLights(Program& prog, const Room& room, Tr5Room& out) {
    if (out.NumLightsLong == 0) return;
    out.Lights.assign(CheckedCount(out.NumLightsLong, Tr5LightSize), Tr5Light{});
    for (int32_t i = 0; i < out.NumLightsLong; ++i) out.Lights[i] = ConvertLight(prog, At(room.LightsTr4, i), out);
}

// The id a face adds to l2: its texture word without the top bit.
void AddTextureId(Program& prog, int16_t texture) {
    int32_t id = texture >= 0 ? texture : ((texture + 65536) ^ 32768);
    prog.form.l2.AddItem(std::to_string(id));
}

void ConvertGeometry(Program& prog, const Room& room, Tr5Room& out) {
    const int16_t numSectors = Mul16(room.NumZSectors, room.NumXSectors);
    out.Sectors.assign(CheckedCount(numSectors, 8), RoomSector{});
    for (int i = 0; i < numSectors; ++i) out.Sectors[i] = At(room.Sectors, i);

    out.NumPortals = room.NumPortals;
    if (room.NumPortals != 0) {
        out.Portals.assign(CheckedCount(room.NumPortals, 32), RoomPortal{});
        for (int i = 0; i < room.NumPortals; ++i) out.Portals[i] = At(room.Portals, i);
    }
    out.PortalsEnd = Tr5FillerWord;

    if (out.NumStaticMeshes != 0) {
        out.StaticMeshes.assign(CheckedCount(out.NumStaticMeshes, 20), RoomStaticMesh{});
        for (int i = 0; i < out.NumStaticMeshes; ++i) {
            out.StaticMeshes[i] = At(room.StaticMeshes, i);
            out.StaticMeshes[i].Intensity2 = 1;
        }
    }

    Tr5Layer& layer = out.Layer;
    layer = Tr5Layer{};
    layer.NumVertices = room.NumVertices;
    layer.NumQuads = room.NumQuads;
    layer.NumTriangles = room.NumTriangles;
    layer.MinX = 0.0f;
    layer.MinY = static_cast<float>(room.YTop);
    layer.MinZ = 0.0f;
    layer.MaxX = static_cast<float>(Mul16(room.NumXSectors, 1024));
    layer.MaxY = static_cast<float>(room.YBottom);
    layer.MaxZ = static_cast<float>(Mul16(room.NumZSectors, 1024));
    layer.LayerConstant1 = 0x36362C;
    layer.LayerConstant2 = 0x22E1DE4;
    layer.LayerConstant3 = 0x1651DB0;

    // A room without vertices gets none; the rest of the room still goes out.
    out.Vertices.clear();
    if (room.NumVertices > 0) {
        out.Vertices.assign(CheckedCount(room.NumVertices, Tr5VertexSize), Tr5Vertex{});
        for (int i = 0; i < room.NumVertices; ++i) {
            const RoomVertex& v = At(room.Vertices, i);
            Tr5Vertex& t = out.Vertices[i];
            t.X = v.X;
            t.Y = v.Y;
            t.Z = v.Z;
            // Five bits each of the 555 colour word, moved up by three; the fourth byte is opaque.
            const uint16_t c = static_cast<uint16_t>(v.Lighting1);
            t.Color[0] = static_cast<uint8_t>((c & 31) * 8);
            t.Color[1] = static_cast<uint8_t>(((c >> 5) & 31) * 8);
            t.Color[2] = static_cast<uint8_t>(((c >> 10) & 31) * 8);
            t.Color[3] = 255;
        }
    }

    out.Quads.clear();
    if (out.NumQuads != 0) {
        out.Quads.assign(CheckedCount(out.NumQuads, Tr5QuadSize), Tr5Quad{});
        for (int32_t i = 0; i < out.NumQuads; ++i) {
            const RoomQuad& q = At(room.Quads, i);
            Tr5Quad& t = out.Quads[i];
            std::memcpy(t.Vertices, q.Vertices, sizeof t.Vertices);
            t.Texture = q.Texture;
            t.Extra = 0;
            AddTextureId(prog, q.Texture);
        }
    }

    out.Triangles.clear();
    if (out.NumTriangles != 0) {
        out.Triangles.assign(CheckedCount(out.NumTriangles, Tr5TriangleSize), Tr5Triangle{});
        for (int32_t i = 0; i < out.NumTriangles; ++i) {
            const RoomTriangle& tr = At(room.Triangles, i);
            Tr5Triangle& t = out.Triangles[i];
            std::memcpy(t.Vertices, tr.Vertices, sizeof t.Vertices);
            t.Texture = tr.Texture;
            t.Extra = 0;
            AddTextureId(prog, tr.Texture);
        }
    }
}

}  // namespace

int16_t ExtraHexWordOf(uint8_t extraByte3) {
    const std::string digits = std::to_string(Mul16(extraByte3, 100));
    const unsigned long long value = std::stoull(digits, nullptr, 16);
    // Up to four hex digits fill a word, the top ones reading as negative; five do not fit.
    if (value > 0xFFFF) Raise(Err::Overflow);
    return static_cast<int16_t>(static_cast<uint16_t>(value));
}

void Tr4ToTr5(Program& prog) {
    ConversionState& s = prog.state;
    LogLine(prog, "Converting rooms in TR5 format");
    s.RoomsTr5.assign(s.NumRooms > 0 ? static_cast<size_t>(s.NumRooms) : 0, Tr5Room{});
    s.NumRoomsTr5 = s.NumRooms;
    for (int i = 0; i < s.NumRooms; ++i) {
        const Room& room = At(s.Rooms, i);
        Tr5Room& out = s.RoomsTr5[i];
        FillHeader(prog, room, out);
        ConvertLights(prog, room, out);
        ConvertGeometry(prog, room, out);
    }
    LogLine(prog, "Rooms converted");
}
