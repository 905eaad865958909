#include "rooms/RoomWriterTr5.h"

#include <bit>
#include <cctype>
#include <cstring>
#include <string>

#include "core/Checked.h"
#include "core/Streams.h"
#include "core/Program.h"
#include "core/records/Tr5Room.h"

namespace {

// Little-endian packing into a byte buffer, so that each part of a room goes out in one write.
struct Packer {
    std::vector<uint8_t>& b;
    void U8(uint8_t v) { b.push_back(v); }
    void I16(int16_t v) {
        const auto u = static_cast<uint16_t>(v);
        b.push_back(static_cast<uint8_t>(u));
        b.push_back(static_cast<uint8_t>(u >> 8));
    }
    void I32(int32_t v) {
        const auto u = static_cast<uint32_t>(v);
        for (int i = 0; i < 4; ++i) b.push_back(static_cast<uint8_t>(u >> (8 * i)));
    }
    void F32(float v) { I32(std::bit_cast<int32_t>(v)); }
    void Bytes(const void* p, size_t n) {
        const auto* c = static_cast<const uint8_t*>(p);
        b.insert(b.end(), c, c + n);
    }
};

void AppendLight(std::vector<uint8_t>& out, const Tr5Light& l) {
    Packer p{out};
    p.F32(l.X), p.F32(l.Y), p.F32(l.Z);
    p.F32(l.Red), p.F32(l.Green), p.F32(l.Blue);
    p.I32(l.Level);
    p.F32(l.In), p.F32(l.Out);
    p.F32(l.InRadians), p.F32(l.OutRadians);
    p.F32(l.Range);
    p.F32(l.DirectionX), p.F32(l.DirectionY), p.F32(l.DirectionZ);
    p.I32(l.IntX), p.I32(l.IntY), p.I32(l.IntZ);
    p.I32(l.IntDirectionX), p.I32(l.IntDirectionY), p.I32(l.IntDirectionZ);
    p.U8(l.LightType);
    p.Bytes(l.FillerBytes, 3);
}

void AppendFogBulb(std::vector<uint8_t>& out, const Tr5FogBulb& f) {
    Packer p{out};
    p.F32(f.X), p.F32(f.Y), p.F32(f.Z);
    p.F32(f.FogValue1), p.F32(f.FogValue2), p.F32(f.FogValue3);
    p.F32(f.FogColor1), p.F32(f.FogColor2), p.F32(f.FogColor3);
}

void AppendSector(std::vector<uint8_t>& out, const RoomSector& s) {
    Packer p{out};
    p.I16(s.FloorDataIndex), p.I16(s.BoxIndex);
    p.Bytes(s.Rest, 4);
}

void AppendPortal(std::vector<uint8_t>& out, const RoomPortal& portal) {
    Packer p{out};
    p.I16(portal.AdjoiningRoom);
    for (int16_t n : portal.Normal) p.I16(n);
    for (const auto& v : portal.Vertices) p.I16(v.X), p.I16(v.Y), p.I16(v.Z);
}

void AppendStaticMesh(std::vector<uint8_t>& out, const RoomStaticMesh& m) {
    Packer p{out};
    p.I32(m.X), p.I32(m.Y), p.I32(m.Z);
    p.I16(m.Rotation), p.I16(m.Intensity1), p.I16(m.Intensity2), p.I16(m.ObjectId);
}

void AppendLayer(std::vector<uint8_t>& out, const Tr5Layer& l) {
    Packer p{out};
    p.I32(l.NumVertices);
    p.I16(l.Zero4), p.I16(l.NumQuads), p.I16(l.NumTriangles);
    p.I16(l.Zero10), p.I16(l.Zero12), p.I16(l.Zero14);
    p.F32(l.MinX), p.F32(l.MinY), p.F32(l.MinZ);
    p.F32(l.MaxX), p.F32(l.MaxY), p.F32(l.MaxZ);
    p.I32(l.Zero40);
    p.I32(l.LayerConstant1), p.I32(l.LayerConstant2), p.I32(l.LayerConstant3);
}

void AppendVertex(std::vector<uint8_t>& out, const Tr5Vertex& v) {
    Packer p{out};
    p.F32(v.X), p.F32(v.Y), p.F32(v.Z);
    p.F32(v.Spare1), p.F32(v.Spare2), p.F32(v.Spare3);
    p.Bytes(v.Color, 4);
}

// Writes a buffer to channel 3 and empties it for the next part.
void Flush(Channels& ch, std::vector<uint8_t>& buf) {
    if (!buf.empty()) ch.Write(3, buf.data(), buf.size());
    buf.clear();
}

// Body offset of the current position of channel 3.
int32_t BodyOffset(Channels& ch, int64_t bodyStart) { return Sub32(ch.Pos(3), bodyStart); }

// Writes a long at a noted position and comes back to where the writing stood.
void FillField(Channels& ch, int64_t fieldPos, int32_t value) {
    const int64_t here = ch.Pos(3);
    ch.Seek(3, fieldPos);
    ch.WriteLong(3, value);
    ch.Seek(3, here);
}

void WriteRoom(Program& prog, int index) {
    Channels& ch = prog.channels;
    Tr5Room& room = At(prog.state.RoomsTr5, index);

    // Header, with the offset fields as they stand now; positions of the fields filled later.
    const int64_t head = ch.Pos(3);
    const int64_t roomSizePos = head + 4;
    const int64_t portalsOffsetPos = head + 12;
    const int64_t sectorsOffsetPos = head + 16;
    const int64_t staticMeshesOffsetPos = head + 24;
    const int64_t layersOffsetPos = head + 180;
    const int64_t verticesOffsetPos = head + 184;
    const int64_t facesOffsetPos = head + 188;
    const int64_t verticesSizePos = head + 196;
    std::vector<uint8_t> buf;
    AppendTr5RoomHeader(buf, room);
    Flush(ch, buf);

    const int64_t body = ch.Pos(3);
    if (room.NumLightsLong != 0) {
        for (int32_t i = 0; i < room.NumLightsLong; ++i) AppendLight(buf, At(room.Lights, i));
        Flush(ch, buf);
    }
    if (room.NumFogBulbs != 0) {
        for (int32_t i = 0; i < room.NumFogBulbs; ++i) AppendFogBulb(buf, At(room.FogBulbs, i));
        Flush(ch, buf);
    }

    room.SectorsOffset = BodyOffset(ch, body);
    FillField(ch, sectorsOffsetPos, room.SectorsOffset);
    const int16_t numSectors = Mul16(room.NumZSectors, room.NumXSectors);
    for (int i = 0; i < numSectors; ++i) AppendSector(buf, At(room.Sectors, i));
    Flush(ch, buf);

    room.PortalsOffset = BodyOffset(ch, body);
    FillField(ch, portalsOffsetPos, room.PortalsOffset);
    Packer{buf}.I16(room.NumPortals);
    if (room.NumPortals != 0)
        for (int i = 0; i < room.NumPortals; ++i) AppendPortal(buf, At(room.Portals, i));
    Packer{buf}.I16(static_cast<int16_t>(room.PortalsEnd));
    Flush(ch, buf);

    room.StaticMeshesOffset = BodyOffset(ch, body);
    FillField(ch, staticMeshesOffsetPos, room.StaticMeshesOffset);
    if (room.NumStaticMeshes != 0) {
        for (int i = 0; i < room.NumStaticMeshes; ++i) AppendStaticMesh(buf, At(room.StaticMeshes, i));
        Flush(ch, buf);
    }

    room.LayersOffset = BodyOffset(ch, body);
    FillField(ch, layersOffsetPos, room.LayersOffset);
    AppendLayer(buf, room.Layer);
    Flush(ch, buf);

    // Both face offset fields at once: they stand side by side and hold the same value.
    room.FacesOffset = room.FacesOffset2 = BodyOffset(ch, body);
    {
        const int64_t here = ch.Pos(3);
        ch.Seek(3, facesOffsetPos);
        ch.WriteLong(3, room.FacesOffset);
        ch.WriteLong(3, room.FacesOffset2);
        ch.Seek(3, here);
    }
    At(prog.state.RoomFacePositions, index) = CheckLong(ch.Pos(3));

    if (room.NumQuads != 0)
        for (int32_t i = 0; i < room.NumQuads; ++i) AppendTr5Quad(buf, At(room.Quads, i));
    if (room.NumTriangles != 0)
        for (int32_t i = 0; i < room.NumTriangles; ++i) AppendTr5Triangle(buf, At(room.Triangles, i));
    // Triangles are 10 bytes: an odd count is padded to keep the vertices 4-aligned.
    if (room.NumTriangles % 2 != 0) Packer{buf}.I16(static_cast<int16_t>(Tr5FillerWord));
    Flush(ch, buf);

    room.VerticesOffset = BodyOffset(ch, body);
    FillField(ch, verticesOffsetPos, room.VerticesOffset);
    const int64_t verticesStart = ch.Pos(3);
    if (room.Layer.NumVertices != 0)
        for (int32_t i = 0; i < room.Layer.NumVertices; ++i) AppendVertex(buf, At(room.Vertices, i));
    Packer{buf}.I16(static_cast<int16_t>(Tr5FillerWord));
    Flush(ch, buf);

    room.RoomSize = Sub32(ch.Pos(3), roomSizePos + 4);
    FillField(ch, roomSizePos, room.RoomSize);
    room.VerticesSize = Sub32(ch.Pos(3), verticesStart);
    // Engines take VerticesSize as the vertices alone and refuse a room whose size counts the two
    // filler bytes; the engine layout leaves them out of it (RoomSize still holds them).
    if (prog.form.Check6.Value() == 1) room.VerticesSize = Sub32(room.VerticesSize, 2);
    FillField(ch, verticesSizePos, room.VerticesSize);

    SetProgress(prog, 50);
}

// The number at the start of a pick list's text: its first character as a decimal digit.
int16_t LeadingDigit(const std::string& text) {
    if (!text.empty() && std::isdigit(static_cast<unsigned char>(text[0]))) return static_cast<int16_t>(text[0] - '0');
    return 0;
}

// A number as the text output writes it: a leading blank stands where a minus sign would.
std::string PrintedNumber(long long v) { return (v >= 0 ? " " : "") + std::to_string(v); }

}  // namespace

void AppendTr5RoomHeader(std::vector<uint8_t>& out, const Tr5Room& r) {
    Packer p{out};
    p.Bytes(r.Label, 4);
    p.I32(r.RoomSize), p.I32(r.Filler8), p.I32(r.PortalsOffset), p.I32(r.SectorsOffset);
    p.I32(r.Zero20), p.I32(r.StaticMeshesOffset);
    p.I32(r.X), p.I32(r.Zero32), p.I32(r.Z), p.I32(r.YBottom), p.I32(r.YTop);
    p.I16(r.NumZSectors), p.I16(r.NumXSectors);
    p.Bytes(r.AmbientBytes, 4);
    p.I16(r.NumLights), p.I16(r.NumStaticMeshes), p.I16(r.ExtraHexWord), p.I16(r.Zero62);
    p.I32(r.Constant64), p.I32(r.Constant68), p.I32(r.Filler72), p.I32(r.Filler76);
    p.Bytes(r.Bytes80, 4);
    p.I16(r.AlternateRoom), p.I16(r.Flags), p.I16(r.Constant88);
    p.Bytes(r.Zeros90, 10);
    p.I32(r.Filler100), p.I32(r.Zero104), p.I32(r.X2), p.I32(r.Filler112), p.I32(r.Z2);
    p.I32(r.Filler120), p.I32(r.Filler124), p.I32(r.Filler128), p.I32(r.Filler132);
    p.I32(r.Zero136), p.I32(r.Filler140);
    p.I32(r.NumTriangles), p.I32(r.NumQuads), p.I32(r.Zero152);
    p.I32(r.LightsSize), p.I32(r.NumLightsLong), p.I32(r.NumFogBulbs);
    p.I32(r.YTop2), p.I32(r.YBottom2), p.I32(r.NumLayers);
    p.I32(r.LayersOffset), p.I32(r.VerticesOffset), p.I32(r.FacesOffset), p.I32(r.FacesOffset2);
    p.I32(r.VerticesSize);
    p.I32(r.Filler200), p.I32(r.Filler204), p.I32(r.Filler208), p.I32(r.Filler212);
}

void AppendTr5Quad(std::vector<uint8_t>& out, const Tr5Quad& q) {
    Packer p{out};
    for (int16_t v : q.Vertices) p.I16(v);
    p.I16(q.Texture), p.I16(q.Extra);
}

void AppendTr5Triangle(std::vector<uint8_t>& out, const Tr5Triangle& t) {
    Packer p{out};
    for (int16_t v : t.Vertices) p.I16(v);
    p.I16(t.Texture), p.I16(t.Extra);
}

bool StepOverBaseRoomsTr5(Program& prog) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;

    SkipChannelBytes(ch, 32, 2);
    ch.ReadLong(2);  // first geometry size word
    const int32_t geometrySize = ch.ReadLong(2);
    s.SamplesPos = Add32(ch.Pos(2), geometrySize);
    SkipChannelBytes(ch, 4, 2);

    const int16_t laraType = LeadingDigit(prog.form.Combo1.Text());
    const int16_t weather = LeadingDigit(prog.form.Combo2.Text());
    LogLine(prog, "Writing TR5 flags");
    ch.WriteWord(3, laraType);
    ch.WriteWord(3, weather);
    const uint8_t zeros[28] = {};
    ch.Write(3, zeros, sizeof zeros);

    const int32_t baseRooms = ch.ReadLong(2);
    for (int32_t i = 0; i < baseRooms; ++i) {
        char label[4];
        ch.Read(2, label, 4);
        if (std::memcmp(label, "XELA", 4) != 0) {
            LogLine(prog, "ConvertLevel() -> Error while parsing rooms: XELA label not found");
            return false;
        }
        const int32_t roomSize = ch.ReadLong(2);
        const int64_t p = ch.Pos(2);
        SkipChannelBytes(ch, 76, 2);
        const int16_t alternateRoom = ch.ReadWord(2);
        ch.WriteLine(4, PrintedNumber(i) + "\t" + PrintedNumber(alternateRoom));
        ch.Seek(2, Add32(p, roomSize));
    }
    ch.Close(4);
    return true;
}

void WriteRoomsTr5(Program& prog) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;

    s.GeometryHeaderPos = CheckLong(ch.Pos(3));
    // Placeholders: the geometry size is patched once the whole file stands.
    ch.WriteLong(3, s.GeometryCompressedSize);
    ch.WriteLong(3, s.GeometryCompressedSize);
    ch.WriteLong(3, s.RoomsLeadWord);
    s.NumRoomsTr5 = s.NumRooms;
    ch.WriteLong(3, s.NumRoomsTr5);
    s.RoomFacePositions.assign(s.NumRoomsTr5 > 0 ? static_cast<size_t>(s.NumRoomsTr5) : 0, 0);
    for (int32_t i = 0; i < s.NumRoomsTr5; ++i) WriteRoom(prog, i);
}
