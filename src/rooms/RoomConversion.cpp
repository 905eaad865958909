#include "rooms/RoomConversion.h"

#include <string>

#include "core/Checked.h"
#include "core/Program.h"

namespace {
// A light's fall-off distance: Out - In for a light of type 1, nothing for the others.
int32_t FadeOf(const RoomLightTr4& light) {
    if (light.LightType != 1) return 0;
    float distance = light.Out - light.In;
    return CLng(distance);
}

int16_t SignedIntensity(const RoomLightTr4& light) {
    return light.LightType == 3 ? Sub16(0, light.Intensity) : light.Intensity;
}

// The TR2 and TR3 ambient word from the source's second ambient word.
int16_t AmbientOf(const Room& room) { return Sub16(8191, Mul16(room.AmbientIntensity2, 32)); }

int SectorCount(const Room& room) { return Mul16(room.NumZSectors, room.NumXSectors); }

// Adds the texture id of every quad, then every triangle, to l2; `mask` clears bit 15 for TR3.
void AddFaceTextures(Program& prog, const Room& room, int mask) {
    ListBox& l2 = prog.form.l2;
    for (int q = 0; q < room.NumQuads; ++q) {
        int16_t texture = At(room.Quads, q).Texture;
        l2.AddItem(std::to_string(static_cast<int16_t>(texture & mask)));
    }
    for (int t = 0; t < room.NumTriangles; ++t) {
        int16_t texture = At(room.Triangles, t).Texture;
        l2.AddItem(std::to_string(static_cast<int16_t>(texture & mask)));
    }
}

// The room's lights in a target's layout of `recordSize` bytes: the position goes over as it
// is, `setLight` fills the intensities and fades of the target.
template <class Light, class SetLight>
void ConvertLights(Room& room, std::vector<Light>& lights, size_t recordSize, SetLight setLight) {
    if (room.NumLights == 0) return;
    lights.assign(CheckedCount(room.NumLights, recordSize), Light{});
    for (int j = 0; j < room.NumLights; ++j) {
        const RoomLightTr4& in = At(room.LightsTr4, j);
        Light& out = lights[static_cast<size_t>(j)];
        out.X = in.X;
        out.Y = in.Y;
        out.Z = in.Z;
        setLight(in, out);
    }
}
}  // namespace

std::array<uint8_t, 4> UnpackColor555(int16_t word) {
    uint16_t w = static_cast<uint16_t>(word);
    return {0, static_cast<uint8_t>((w >> 10) & 31), static_cast<uint8_t>((w >> 5) & 31),
            static_cast<uint8_t>(w & 31)};
}

int16_t UnpackBoxIndex(int16_t word) {
    uint16_t w = static_cast<uint16_t>(word);
    if (w == 0x7FF6) return -1;
    return static_cast<int16_t>((w >> 4) & 0x7FF);
}

void Tr4ToTr1(Program& prog) {
    ConversionState& s = prog.state;
    // With the engine layout every face gets its own object texture, as in the other targets.
    const bool faces = prog.form.Check6.Value() == 1;
    for (int i = 0; i < s.NumRooms; ++i) {
        Room& room = At(s.Rooms, i);
        if (faces) AddFaceTextures(prog, room, 0x7FFF);
        ConvertLights(room, room.LightsTr1, 18, [](const RoomLightTr4& in, RoomLightTr1& out) {
            out.Intensity = in.Intensity;
            out.Fade = CLng(in.Out);
        });
    }
}

void Tr4ToTr2(Program& prog) {
    ConversionState& s = prog.state;
    LogLine(prog, "Converting rooms in TR2 format");
    for (int i = 0; i < s.NumRooms; ++i) {
        Room& room = At(s.Rooms, i);
        // TR2 vertices carry a 5-bit intensity: the red channel of the 5-5-5 word.
        for (int v = 0; v < room.NumVertices; ++v) {
            RoomVertex& vertex = At(room.Vertices, v);
            int16_t lighting = static_cast<int16_t>(UnpackColor555(vertex.Lighting1)[1] * 256);
            vertex.Lighting1 = lighting;
            vertex.Lighting2 = lighting;
        }
        AddFaceTextures(prog, room, 0xFFFF);
        ConvertLights(room, room.LightsTr3, 24, [](const RoomLightTr4& in, RoomLightTr3& out) {
            out.Intensity1 = SignedIntensity(in);
            out.Intensity2 = out.Intensity1;
            out.Fade1 = FadeOf(in);
            out.Fade2 = out.Fade1;
        });
        room.AmbientIntensity1 = AmbientOf(room);
        room.AmbientIntensity2 = room.AmbientIntensity1;
        int sectors = SectorCount(room);
        for (int k = 0; k < sectors; ++k) {
            RoomSector& sector = At(room.Sectors, k);
            sector.BoxIndex = UnpackBoxIndex(sector.BoxIndex);
        }
        room.ReservedTr2 = 0;
    }
}

void Tr4ToTr3(Program& prog) {
    ConversionState& s = prog.state;
    LogLine(prog, "Converting rooms in TR3 format");
    for (int i = 0; i < s.NumRooms; ++i) {
        Room& room = At(s.Rooms, i);
        AddFaceTextures(prog, room, 0x7FFF);
        // TR3 has 50 static mesh slots; an id beyond them is dropped to slot 0.
        for (int j = 0; j < room.NumStaticMeshes; ++j) {
            RoomStaticMesh& mesh = At(room.StaticMeshes, j);
            if (mesh.ObjectId > 49) {
                LogLine(prog, "Tr4ToTr3() -> Error: Invalid static mesh slot in Room #" + std::to_string(i) +
                                  ", Static #" + std::to_string(j));
                LogLine(prog, "              Static ID: " + std::to_string(mesh.ObjectId) + ", Max TR3 ID = 49 ");
                LogLine(prog, "              Tomb Raider may crash while loading this level!");
                mesh.ObjectId = 0;
            }
        }
        ConvertLights(room, room.LightsTr3, 24, [](const RoomLightTr4& in, RoomLightTr3& out) {
            // The colour goes over as the bytes Red, Green, Blue, 0.
            out.Intensity1 = static_cast<int16_t>(in.Green * 256 + in.Red);
            out.Intensity2 = in.Blue;
            out.Fade1 = SignedIntensity(in);
            out.Fade2 = FadeOf(in);
        });
        if (prog.form.Check2.Value() == 1) room.NumStaticMeshes = 0;
        room.AmbientIntensity1 = AmbientOf(room);
        room.AmbientIntensity2 = 0;
    }
}
