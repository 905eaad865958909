#pragma once
// Shared pieces of the room tests: a program that converts levels written into its folder, and
// a reader of room sections that walks a file's bytes by the layout tables, independently of
// the converter's own reader.
#include <cstring>

#include "driver/ConvertLevel.h"
#include "rooms/Room.h"
#include "support/LevelBuilder.h"
#include "support/LevelWalker.h"
#include "support/ProgramFixture.h"

struct RoomsFixture : ProgramFixture {
    // Room tests stop the conversion behind the room writer; whole-level tests run it to its end.
    ConversionStop stop = ConversionStop::AfterRooms;
    // Runs a conversion of two levels written into the folder and returns the new level.
    std::vector<uint8_t> Convert(const std::vector<uint8_t>& source, const std::vector<uint8_t>& base,
                                 const std::string& baseName) {
        WriteLevel(dir / "src.tr4", source);
        WriteLevel(dir / baseName, base);
        return ConvertFiles(dir / "src.tr4", dir / baseName, dir / ("new-" + baseName));
    }
    std::vector<uint8_t> ConvertFiles(const std::string& source, const std::string& base, const std::string& out) {
        ConvertLevel(prog, source, base, out, stop);
        prog.channels.FlushAll();
        return ReadFileBytes(out);
    }
};

// Little-endian reads over a byte vector, with bounds checks.
struct ByteReader {
    const std::vector<uint8_t>& b;
    size_t pos;
    uint8_t Byte() { return b.at(pos++); }
    int16_t Word() { return pos += 2, ::Word(b, pos - 2); }
    int32_t Long() { return pos += 4, ::Long(b, pos - 4); }
    float Float() {
        uint32_t bits = static_cast<uint32_t>(Long());
        float f;
        std::memcpy(&f, &bits, 4);
        return f;
    }
};

struct ParsedRoom {
    Room room;
    size_t quadsOffset = 0;  // offset of NumQuads
    size_t end = 0;          // first byte behind the room
};

inline ParsedRoom ParseRoom(ByteReader& r, RoomLayout layout) {
    const bool tr1 = layout == RoomLayout::Tr1, tr4 = layout == RoomLayout::Tr4;
    ParsedRoom p;
    Room& m = p.room;
    m.X = r.Long(), m.Z = r.Long(), m.YBottom = r.Long(), m.YTop = r.Long(), m.NumDataWords = r.Long();
    m.Vertices.resize(static_cast<size_t>(m.NumVertices = r.Word()));
    for (auto& v : m.Vertices) {
        v.X = r.Word(), v.Y = r.Word(), v.Z = r.Word(), v.Lighting1 = r.Word();
        if (!tr1) v.Attributes = r.Word(), v.Lighting2 = r.Word();
    }
    p.quadsOffset = r.pos;
    m.Quads.resize(static_cast<size_t>(m.NumQuads = r.Word()));
    for (auto& q : m.Quads) {
        for (auto& v : q.Vertices) v = r.Word();
        q.Texture = r.Word();
    }
    m.Triangles.resize(static_cast<size_t>(m.NumTriangles = r.Word()));
    for (auto& t : m.Triangles) {
        for (auto& v : t.Vertices) v = r.Word();
        t.Texture = r.Word();
    }
    m.NumSprites = r.Word();
    r.pos += 4 * static_cast<size_t>(m.NumSprites);
    m.NumPortals = r.Word();
    r.pos += 32 * static_cast<size_t>(m.NumPortals);
    m.NumZSectors = r.Word(), m.NumXSectors = r.Word();
    m.Sectors.resize(static_cast<size_t>(m.NumZSectors * m.NumXSectors));
    for (auto& s : m.Sectors) {
        s.FloorDataIndex = r.Word(), s.BoxIndex = r.Word();
        for (auto& x : s.Rest) x = r.Byte();
    }
    m.AmbientIntensity1 = r.Word();
    if (!tr1) m.AmbientIntensity2 = r.Word();
    if (layout == RoomLayout::Tr2) m.ReservedTr2 = r.Word();
    m.NumLights = r.Word();
    for (int i = 0; i < m.NumLights; ++i) {
        if (tr4) {
            RoomLightTr4 l;
            l.X = r.Long(), l.Y = r.Long(), l.Z = r.Long();
            l.Red = r.Byte(), l.Green = r.Byte(), l.Blue = r.Byte(), l.LightType = r.Byte(), l.Intensity = r.Word();
            l.In = r.Float(), l.Out = r.Float(), l.Length = r.Float(), l.Cutoff = r.Float();
            l.DirectionX = r.Float(), l.DirectionY = r.Float(), l.DirectionZ = r.Float();
            m.LightsTr4.push_back(l);
        } else if (tr1) {
            RoomLightTr1 l;
            l.X = r.Long(), l.Y = r.Long(), l.Z = r.Long(), l.Intensity = r.Word(), l.Fade = r.Long();
            m.LightsTr1.push_back(l);
        } else {
            RoomLightTr3 l;
            l.X = r.Long(), l.Y = r.Long(), l.Z = r.Long(), l.Intensity1 = r.Word(), l.Intensity2 = r.Word();
            l.Fade1 = r.Long(), l.Fade2 = r.Long();
            m.LightsTr3.push_back(l);
        }
    }
    m.StaticMeshes.resize(static_cast<size_t>(m.NumStaticMeshes = r.Word()));
    for (auto& s : m.StaticMeshes) {
        s.X = r.Long(), s.Y = r.Long(), s.Z = r.Long(), s.Rotation = r.Word(), s.Intensity1 = r.Word();
        if (!tr1) s.Intensity2 = r.Word();
        s.ObjectId = r.Word();
    }
    m.AlternateRoom = r.Word(), m.Flags = r.Word();
    if (tr4 || layout == RoomLayout::Tr3) m.ExtraByte1 = r.Byte(), m.ExtraByte2 = r.Byte(), m.ExtraByte3 = r.Byte();
    p.end = r.pos;
    return p;
}

// A room section: lead word, word count, rooms.
struct ParsedRooms {
    int32_t leadWord = 0;
    std::vector<ParsedRoom> rooms;
    size_t end = 0;
};

inline ParsedRooms ParseRoomSection(const std::vector<uint8_t>& bytes, size_t offset, RoomLayout layout) {
    ByteReader r{bytes, offset};
    ParsedRooms out;
    out.leadWord = r.Long();
    int count = r.Word();
    for (int i = 0; i < count; ++i) out.rooms.push_back(ParseRoom(r, layout));
    out.end = r.pos;
    return out;
}
