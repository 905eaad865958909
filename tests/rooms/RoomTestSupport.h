#pragma once
// Shared pieces of the room tests: a program that converts levels written into its folder, and
// a reader of the source's rooms that walks the bytes by the layout, independently of the
// converter's own reader.
#include <bit>

#include "driver/ConvertLevel.h"
#include "core/records/Room.h"
#include "support/LevelBuilder.h"
#include "inspection/LevelWalker.h"
#include "support/PackedBlocks.h"
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
    std::vector<uint8_t> ConvertFiles(const std::string& source, const std::string& base,
                                      const std::string& out) {
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
    float Float() { return std::bit_cast<float>(Long()); }
};

// The rooms of a TR4 room section (lead word, word count, rooms) at `offset`.
inline std::vector<Room> ParseSourceRooms(const std::vector<uint8_t>& bytes, size_t offset) {
    ByteReader r{bytes, offset + 4};
    std::vector<Room> rooms(static_cast<size_t>(r.Word()));
    for (Room& m : rooms) {
        m.X = r.Long(), m.Z = r.Long(), m.YBottom = r.Long(), m.YTop = r.Long(), m.NumDataWords = r.Long();
        m.Vertices.resize(static_cast<size_t>(m.NumVertices = r.Word()));
        for (auto& v : m.Vertices)
            v = {r.Word(), r.Word(), r.Word(), r.Word(), r.Word(), r.Word()};
        m.Quads.resize(static_cast<size_t>(m.NumQuads = r.Word()));
        for (auto& q : m.Quads) q = {{r.Word(), r.Word(), r.Word(), r.Word()}, r.Word()};
        m.Triangles.resize(static_cast<size_t>(m.NumTriangles = r.Word()));
        for (auto& t : m.Triangles) t = {{r.Word(), r.Word(), r.Word()}, r.Word()};
        m.NumSprites = r.Word();
        r.pos += 4 * static_cast<size_t>(m.NumSprites);
        m.NumPortals = r.Word();
        r.pos += 32 * static_cast<size_t>(m.NumPortals);
        m.NumZSectors = r.Word(), m.NumXSectors = r.Word();
        m.Sectors.resize(static_cast<size_t>(m.NumZSectors * m.NumXSectors));
        for (auto& s : m.Sectors) s = {r.Word(), r.Word(), {r.Byte(), r.Byte(), r.Byte(), r.Byte()}};
        m.AmbientIntensity1 = r.Word(), m.AmbientIntensity2 = r.Word();
        m.LightsTr4.resize(static_cast<size_t>(m.NumLights = r.Word()));
        for (auto& l : m.LightsTr4) {
            l.X = r.Long(), l.Y = r.Long(), l.Z = r.Long();
            l.Red = r.Byte(), l.Green = r.Byte(), l.Blue = r.Byte(), l.LightType = r.Byte();
            l.Intensity = r.Word();
            l.In = r.Float(), l.Out = r.Float(), l.Length = r.Float(), l.Cutoff = r.Float();
            l.DirectionX = r.Float(), l.DirectionY = r.Float(), l.DirectionZ = r.Float();
        }
        m.StaticMeshes.resize(static_cast<size_t>(m.NumStaticMeshes = r.Word()));
        for (auto& s : m.StaticMeshes)
            s = {r.Long(), r.Long(), r.Long(), r.Word(), r.Word(), r.Word(), r.Word()};
        m.AlternateRoom = r.Word(), m.Flags = r.Word();
        m.ExtraByte1 = r.Byte(), m.ExtraByte2 = r.Byte(), m.ExtraByte3 = r.Byte();
    }
    return rooms;
}
