#include "rooms/RoomWriter.h"

#include <cmath>
#include <cstring>
#include <vector>

#include "core/Checked.h"
#include "core/Program.h"

namespace {
// Collects a room's fields and sends them to the channel in a few writes. Flush runs before
// every checked computation, so that a room that stops the conversion leaves in the file
// exactly the fields in front of the failing one.
struct RoomBytes {
    Channels& ch;
    int channel;
    std::vector<uint8_t> bytes;

    void Byte(uint8_t v) { bytes.push_back(v); }
    void Word(int16_t v) {
        bytes.push_back(static_cast<uint8_t>(v));
        bytes.push_back(static_cast<uint8_t>(static_cast<uint16_t>(v) >> 8));
    }
    void Long(int32_t v) {
        uint32_t u = static_cast<uint32_t>(v);
        for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<uint8_t>(u >> (8 * i)));
    }
    void Flush() {
        ch.Write(channel, bytes.data(), bytes.size());
        bytes.clear();
    }
    // Position in the file of the next byte to be added.
    int64_t Pos() { return ch.Pos(channel) + static_cast<int64_t>(bytes.size()); }
};

void WriteRoom(Program& prog, Room& room, size_t index, RoomBytes& out) {
    const int version = prog.state.NewLevelVersion;
    const bool tr1 = version <= 2;

    out.Long(room.X);
    out.Long(room.Z);
    out.Long(room.YBottom);
    out.Long(room.YTop);
    out.Flush();
    room.NumDataWords = ComputeNumDataWords(room, tr1 ? 8 : 12);
    out.Long(room.NumDataWords);

    out.Word(room.NumVertices);
    for (int v = 0; v < room.NumVertices; ++v) {
        const RoomVertex& vertex = At(room.Vertices, v);
        out.Word(vertex.X);
        out.Word(vertex.Y);
        out.Word(vertex.Z);
        out.Word(vertex.Lighting1);
        if (!tr1) {
            out.Word(vertex.Attributes);
            out.Word(vertex.Lighting2);
        }
    }
    prog.state.RoomFacePositions[index] = CheckLong(out.Pos());

    out.Word(room.NumQuads);
    for (int q = 0; q < room.NumQuads; ++q) {
        const RoomQuad& quad = At(room.Quads, q);
        for (int16_t v : quad.Vertices) out.Word(v);
        out.Word(quad.Texture);
    }
    out.Word(room.NumTriangles);
    for (int t = 0; t < room.NumTriangles; ++t) {
        const RoomTriangle& triangle = At(room.Triangles, t);
        for (int16_t v : triangle.Vertices) out.Word(v);
        out.Word(triangle.Texture);
    }
    out.Word(room.NumSprites);
    for (int k = 0; k < room.NumSprites; ++k) {
        const RoomSprite& sprite = At(room.Sprites, k);
        out.Word(sprite.Words[0]);
        out.Word(sprite.Words[1]);
    }
    out.Word(room.NumPortals);
    for (int p = 0; p < room.NumPortals; ++p) {
        const RoomPortal& portal = At(room.Portals, p);
        out.Word(portal.AdjoiningRoom);
        for (int16_t n : portal.Normal) out.Word(n);
        for (const RoomPortalVertex& v : portal.Vertices) {
            out.Word(v.X);
            out.Word(v.Y);
            out.Word(v.Z);
        }
    }

    out.Word(room.NumZSectors);
    out.Word(room.NumXSectors);
    out.Flush();
    int sectors = Mul16(room.NumZSectors, room.NumXSectors);
    for (int k = 0; k < sectors; ++k) {
        const RoomSector& sector = At(room.Sectors, k);
        out.Word(sector.FloorDataIndex);
        out.Word(sector.BoxIndex);
        for (uint8_t b : sector.Rest) out.Byte(b);
    }

    out.Word(room.AmbientIntensity1);
    if (version == 3) out.Word(room.AmbientIntensity1);
    if (version == 4) out.Word(room.AmbientIntensity2);
    room.ReservedTr2 = 0;
    if (version == 3) out.Word(room.ReservedTr2);

    out.Word(room.NumLights);
    for (int j = 0; j < room.NumLights; ++j) {
        if (tr1) {
            const RoomLightTr1& light = At(room.LightsTr1, j);
            out.Long(light.X);
            out.Long(light.Y);
            out.Long(light.Z);
            out.Word(light.Intensity);
            out.Long(light.Fade);
        } else {
            const RoomLightTr3& light = At(room.LightsTr3, j);
            out.Long(light.X);
            out.Long(light.Y);
            out.Long(light.Z);
            out.Word(light.Intensity1);
            out.Word(light.Intensity2);
            out.Long(light.Fade1);
            out.Long(light.Fade2);
        }
    }

    out.Word(room.NumStaticMeshes);
    for (int m = 0; m < room.NumStaticMeshes; ++m) {
        const RoomStaticMesh& mesh = At(room.StaticMeshes, m);
        out.Long(mesh.X);
        out.Long(mesh.Y);
        out.Long(mesh.Z);
        out.Word(mesh.Rotation);
        out.Word(mesh.Intensity1);
        if (!tr1) out.Word(mesh.Intensity2);
        out.Word(mesh.ObjectId);
    }

    out.Word(room.AlternateRoom);
    out.Word(room.Flags);
    if (version == 4) {
        out.Byte(room.ExtraByte1);
        out.Byte(room.ExtraByte2);
        out.Byte(room.ExtraByte3);
    }
    out.Flush();
}
}  // namespace

int32_t ComputeNumDataWords(const Room& room, int vertexSize) {
    int16_t sum = Mul16(room.NumVertices, vertexSize);
    sum = Add16(sum, Mul16(room.NumQuads, 10));
    sum = Add16(sum, Mul16(room.NumTriangles, 8));
    sum = Add16(sum, Mul16(room.NumSprites, 4));
    sum = Add16(sum, 8);
    return sum / 2;
}

void WriteRooms(Program& prog) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;
    ch.WriteLong(3, s.RoomsLeadWord);
    ch.WriteWord(3, s.NumRooms);
    double step = FloatDiv(10, s.NumRooms);
    double accumulator = 0;
    s.RoomFacePositions.assign(static_cast<size_t>(s.NumRooms > 0 ? s.NumRooms : 0), 0);
    RoomBytes out{ch, 3, {}};
    for (int i = 0; i < s.NumRooms; ++i) {
        WriteRoom(prog, At(s.Rooms, i), static_cast<size_t>(i), out);
        accumulator += step;
        SetProgress(prog, static_cast<int16_t>(70 + static_cast<int>(std::floor(accumulator))));
    }
}
