#include "texturetables/FaceRemap.h"

#include "core/Checked.h"
#include "core/Streams.h"
#include "core/Program.h"
#include "texturetables/RoomTextureIds.h"

namespace {
void PutWord(std::vector<uint8_t>& out, int16_t v) {
    uint16_t u = static_cast<uint16_t>(v);
    out.push_back(static_cast<uint8_t>(u));
    out.push_back(static_cast<uint8_t>(u >> 8));
}

// The face step over one run of faces: each face gets its new word and is written whole.
// Faces written before a failing one stay in the file.
template <class Face>
void RemapFaces(Program& prog, std::vector<Face>& faces, long long count, int vertexCount) {
    if (count <= 0) return;
    std::vector<uint8_t> out;
    out.reserve(static_cast<size_t>(count) * static_cast<size_t>(vertexCount * 2 + 4));
    for (long long i = 0; i < count; ++i) {
        Face& face = At(faces, i);
        int32_t result = RemappedTextureWord(prog, face.Texture);
        if (result < -32768 || result > 32767) {
            prog.channels.WriteBytes(3, out);
            Raise(Err::Overflow);
        }
        face.Texture = static_cast<int16_t>(result);
        for (int v = 0; v < vertexCount; ++v) PutWord(out, face.Vertices[v]);
        PutWord(out, face.Texture);
        // TR5 faces carry one more word behind the texture.
        if constexpr (requires { face.Extra; }) PutWord(out, face.Extra);
    }
    prog.channels.WriteBytes(3, out);
}
}  // namespace

int32_t RemappedTextureWord(Program& prog, int16_t& word) {
    bool flag = word < 0;
    int32_t id = flag ? ClearTextureFlag(word) : word;
    word = static_cast<int16_t>(id);
    int32_t newId = At(prog.state.RoomTextureIds, FindRoomTextureId(prog.state, word)).NewId;
    return flag ? (newId | 32768) - 65536 : newId;
}

void RemapTr5TextureIds(Program& prog) {
    prog.form.l4.AddItem("========");
    LogLine(prog, "Remapping TR5 texture IDs");
    ConversionState& s = prog.state;
    for (long long r = 0; r < s.NumRoomsTr5; ++r) {
        Tr5Room& room = At(s.RoomsTr5, r);
        prog.channels.Seek(3, At(s.RoomFacePositions, r));
        if (room.NumQuads != 0) RemapFaces(prog, room.Quads, room.NumQuads, 4);
        if (room.NumTriangles != 0) RemapFaces(prog, room.Triangles, room.NumTriangles, 3);
    }
}

void RemapTr23TextureIds(Program& prog) {
    prog.form.l4.AddItem("========");
    LogLine(prog, "Remapping TR2/3 texture IDs");
    ConversionState& s = prog.state;
    for (long long r = 0; r < s.NumRooms; ++r) {
        Room& room = At(s.Rooms, r);
        prog.channels.Seek(3, At(s.RoomFacePositions, r));
        SkipChannelBytes(prog.channels, 2, 3);
        RemapFaces(prog, room.Quads, room.NumQuads, 4);
        SkipChannelBytes(prog.channels, 2, 3);
        RemapFaces(prog, room.Triangles, room.NumTriangles, 3);
    }
}
