#include "rooms/RoomReader.h"

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "core/Checked.h"
#include "core/LittleEndian.h"
#include "core/Streams.h"
#include "core/Program.h"

namespace {
// Rooms the base room table holds; a base with more stops the conversion.
constexpr int BaseRoomsCapacity = 256;

// Decodes little-endian fields from a run read in one go.
struct Cursor {
    const uint8_t* p;
    uint8_t Byte() { return *p++; }
    int16_t Word() {
        int16_t v = static_cast<int16_t>(LoadU16(p));
        p += 2;
        return v;
    }
    int32_t Long() {
        uint32_t v = LoadU32(p);
        p += 4;
        return static_cast<int32_t>(v);
    }
    float Float() {
        uint32_t bits = static_cast<uint32_t>(Long());
        float f;
        std::memcpy(&f, &bits, 4);
        return f;
    }
};

// Reads `count` elements of `size` bytes in one run and decodes each with `decode`. A count of 0
// leaves the array empty; a negative count is a subscript error, as sizing the array would be.
template <class T, class Decode>
void ReadArray(Channels& ch, int channel, long long count, size_t size, std::vector<T>& out, Decode decode) {
    out.clear();
    if (count == 0) return;
    size_t n = CheckedCount(count, static_cast<long long>(size));
    std::vector<uint8_t> raw = ch.ReadBytes(channel, n * size);
    out.resize(n);
    Cursor c{raw.data()};
    for (auto& element : out) decode(c, element);
}

// Progress over a loop of rooms: Int of the growing accumulator added to a fixed start.
struct RoomProgress {
    double step;
    double accumulator = 0;
    int start;
    void Next(Program& prog) {
        accumulator += step;
        SetProgress(prog, static_cast<int16_t>(start + static_cast<int>(std::floor(accumulator))));
    }
};

void InflateGeometry(Program& prog) {
    Channels& ch = prog.channels;
    LogLine(prog, "Uncompressing geometry");
    int32_t uncompressedSize = ch.ReadLong(1);
    int32_t compressedSize = ch.ReadLong(1);
    prog.state.GeometryCompressedSize = compressedSize;  // the TR5 writer leaves it in its size words
    std::vector<uint8_t> block = ch.ReadBytes(1, CheckedCount(compressedSize, 1));
    UncompressBuffer(block, uncompressedSize);
    std::string path = prog.AppPath("geometry.tmp");
    ch.Open(4, path, OpenMode::Binary);
    ch.WriteBytes(4, block);
    SetProgress(prog, 40);
    ch.Close(4);
    ch.Close(1);
    ch.Open(1, path, OpenMode::Binary);
}

void ReadSourceRooms(Program& prog) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;
    s.RoomsLeadWord = ch.ReadLong(1);
    s.NumRooms = ch.ReadWord(1);
    if (s.NumRooms < 0) CheckedCount(s.NumRooms, 1);
    s.Rooms.assign(static_cast<size_t>(s.NumRooms), Room{});
    LogLine(prog, "Reading rooms");
    LogLine(prog, "   Number of rooms: " + std::to_string(s.NumRooms));
    RoomProgress progress{FloatDiv(20, s.NumRooms), 0, 40};
    for (int i = 0; i < s.NumRooms; ++i) {
        ReadRoom(ch, 1, s.Rooms[static_cast<size_t>(i)], RoomLayout::Tr4);
        progress.Next(prog);
    }
}

// The base's rooms are read only to get channel 2 past them; one scratch record serves.
void ParseBaseRooms(Program& prog) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;
    RoomLayout layout = s.NewLevelVersion <= 2 ? RoomLayout::Tr1
                        : s.NewLevelVersion == 3 ? RoomLayout::Tr2
                                                 : RoomLayout::Tr3;
    s.RoomsLeadWord = ch.ReadLong(2);
    s.BaseNumRooms = ch.ReadWord(2);
    RoomProgress progress{FloatDiv(10, s.BaseNumRooms), 0, 60};
    LogLine(prog, "Parsing base level rooms");
    Room scratch;
    for (int i = 0; i < s.BaseNumRooms; ++i) {
        if (i >= BaseRoomsCapacity) Raise(Err::SubscriptOutOfRange);
        ReadRoom(ch, 2, scratch, layout);
        progress.Next(prog);
    }
}
}  // namespace

void ReadRoom(Channels& ch, int channel, Room& r, RoomLayout layout) {
    const bool tr1 = layout == RoomLayout::Tr1;
    const bool tr4 = layout == RoomLayout::Tr4;

    r.X = ch.ReadLong(channel);
    r.Z = ch.ReadLong(channel);
    r.YBottom = ch.ReadLong(channel);
    r.YTop = ch.ReadLong(channel);
    r.NumDataWords = ch.ReadLong(channel);

    r.NumVertices = ch.ReadWord(channel);
    ReadArray(ch, channel, r.NumVertices, tr1 ? 8 : 12, r.Vertices, [tr1](Cursor& c, RoomVertex& v) {
        v.X = c.Word();
        v.Y = c.Word();
        v.Z = c.Word();
        v.Lighting1 = c.Word();
        if (!tr1) {
            v.Attributes = c.Word();
            v.Lighting2 = c.Word();
        }
    });
    r.NumQuads = ch.ReadWord(channel);
    ReadArray(ch, channel, r.NumQuads, 10, r.Quads, [](Cursor& c, RoomQuad& q) {
        for (auto& v : q.Vertices) v = c.Word();
        q.Texture = c.Word();
    });
    r.NumTriangles = ch.ReadWord(channel);
    ReadArray(ch, channel, r.NumTriangles, 8, r.Triangles, [](Cursor& c, RoomTriangle& t) {
        for (auto& v : t.Vertices) v = c.Word();
        t.Texture = c.Word();
    });
    r.NumSprites = ch.ReadWord(channel);
    ReadArray(ch, channel, r.NumSprites, 4, r.Sprites, [](Cursor& c, RoomSprite& s) {
        s.Words[0] = c.Word();
        s.Words[1] = c.Word();
    });
    r.NumPortals = ch.ReadWord(channel);
    ReadArray(ch, channel, r.NumPortals, 32, r.Portals, [](Cursor& c, RoomPortal& p) {
        p.AdjoiningRoom = c.Word();
        for (auto& n : p.Normal) n = c.Word();
        for (auto& v : p.Vertices) {
            v.X = c.Word();
            v.Y = c.Word();
            v.Z = c.Word();
        }
    });
    r.NumZSectors = ch.ReadWord(channel);
    r.NumXSectors = ch.ReadWord(channel);
    ReadArray(ch, channel, Mul16(r.NumZSectors, r.NumXSectors), 8, r.Sectors, [](Cursor& c, RoomSector& s) {
        s.FloorDataIndex = c.Word();
        s.BoxIndex = c.Word();
        for (auto& b : s.Rest) b = c.Byte();
    });

    r.AmbientIntensity1 = ch.ReadWord(channel);
    if (!tr1) r.AmbientIntensity2 = ch.ReadWord(channel);
    if (layout == RoomLayout::Tr2) r.ReservedTr2 = ch.ReadWord(channel);

    r.NumLights = ch.ReadWord(channel);
    if (tr4) {
        ReadArray(ch, channel, r.NumLights, 46, r.LightsTr4, [](Cursor& c, RoomLightTr4& l) {
            l.X = c.Long();
            l.Y = c.Long();
            l.Z = c.Long();
            l.Red = c.Byte();
            l.Green = c.Byte();
            l.Blue = c.Byte();
            l.LightType = c.Byte();
            l.Intensity = c.Word();
            l.In = c.Float();
            l.Out = c.Float();
            l.Length = c.Float();
            l.Cutoff = c.Float();
            l.DirectionX = c.Float();
            l.DirectionY = c.Float();
            l.DirectionZ = c.Float();
        });
    } else if (tr1) {
        ReadArray(ch, channel, r.NumLights, 18, r.LightsTr1, [](Cursor& c, RoomLightTr1& l) {
            l.X = c.Long();
            l.Y = c.Long();
            l.Z = c.Long();
            l.Intensity = c.Word();
            l.Fade = c.Long();
        });
    } else {
        ReadArray(ch, channel, r.NumLights, 24, r.LightsTr3, [](Cursor& c, RoomLightTr3& l) {
            l.X = c.Long();
            l.Y = c.Long();
            l.Z = c.Long();
            l.Intensity1 = c.Word();
            l.Intensity2 = c.Word();
            l.Fade1 = c.Long();
            l.Fade2 = c.Long();
        });
    }

    r.NumStaticMeshes = ch.ReadWord(channel);
    ReadArray(ch, channel, r.NumStaticMeshes, tr1 ? 18 : 20, r.StaticMeshes, [tr1](Cursor& c, RoomStaticMesh& m) {
        m.X = c.Long();
        m.Y = c.Long();
        m.Z = c.Long();
        m.Rotation = c.Word();
        m.Intensity1 = c.Word();
        if (!tr1) m.Intensity2 = c.Word();
        m.ObjectId = c.Word();
    });

    r.AlternateRoom = ch.ReadWord(channel);
    r.Flags = ch.ReadWord(channel);
    if (tr4 || layout == RoomLayout::Tr3) {
        r.ExtraByte1 = ch.ReadByte(channel);
        r.ExtraByte2 = ch.ReadByte(channel);
        r.ExtraByte3 = ch.ReadByte(channel);
    }
}

void ReadRooms(Program& prog) {
    InflateGeometry(prog);
    ReadSourceRooms(prog);
    if (prog.state.NewLevelVersion <= 4) ParseBaseRooms(prog);
}
