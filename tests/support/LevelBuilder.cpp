#include "support/LevelBuilder.h"

#include <zlib.h>

#include <cstring>
#include <fstream>
#include <stdexcept>

ByteWriter& ByteWriter::Byte(uint8_t v) {
    bytes.push_back(v);
    return *this;
}
ByteWriter& ByteWriter::Word(int32_t v) {
    bytes.push_back(static_cast<uint8_t>(v));
    bytes.push_back(static_cast<uint8_t>(v >> 8));
    return *this;
}
ByteWriter& ByteWriter::Long(int64_t v) {
    for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<uint8_t>(v >> (8 * i)));
    return *this;
}
ByteWriter& ByteWriter::Float(float v) {
    uint32_t bits;
    std::memcpy(&bits, &v, 4);
    return Long(bits);
}
ByteWriter& ByteWriter::Bytes(const std::vector<uint8_t>& v) {
    bytes.insert(bytes.end(), v.begin(), v.end());
    return *this;
}
ByteWriter& ByteWriter::Zeros(size_t n) {
    bytes.insert(bytes.end(), n, 0);
    return *this;
}
ByteWriter& ByteWriter::Block(const std::vector<uint8_t>& uncompressed) {
    uLongf len = compressBound(static_cast<uLong>(uncompressed.size()));
    std::vector<uint8_t> z(len);
    if (compress(z.data(), &len, uncompressed.data(), static_cast<uLong>(uncompressed.size())) != Z_OK)
        throw std::runtime_error("compress failed");
    z.resize(len);
    Long(static_cast<int64_t>(uncompressed.size()));
    Long(static_cast<int64_t>(z.size()));
    return Bytes(z);
}

void WriteRoom(ByteWriter& w, const Room& r, RoomLayout layout) {
    w.Long(r.X).Long(r.Z).Long(r.YBottom).Long(r.YTop).Long(r.NumDataWords);
    w.Word(r.NumVertices);
    for (const auto& v : r.Vertices) {
        w.Word(v.X).Word(v.Y).Word(v.Z).Word(v.Lighting1);
        if (layout != RoomLayout::Tr1) w.Word(v.Attributes).Word(v.Lighting2);
    }
    w.Word(r.NumQuads);
    for (const auto& q : r.Quads) w.Word(q.Vertices[0]).Word(q.Vertices[1]).Word(q.Vertices[2]).Word(q.Vertices[3]).Word(q.Texture);
    w.Word(r.NumTriangles);
    for (const auto& t : r.Triangles) w.Word(t.Vertices[0]).Word(t.Vertices[1]).Word(t.Vertices[2]).Word(t.Texture);
    w.Word(r.NumSprites);
    for (const auto& s : r.Sprites) w.Word(s.Words[0]).Word(s.Words[1]);
    w.Word(r.NumPortals);
    for (const auto& p : r.Portals) {
        w.Word(p.AdjoiningRoom).Word(p.Normal[0]).Word(p.Normal[1]).Word(p.Normal[2]);
        for (const auto& v : p.Vertices) w.Word(v.X).Word(v.Y).Word(v.Z);
    }
    w.Word(r.NumZSectors).Word(r.NumXSectors);
    for (const auto& s : r.Sectors) {
        w.Word(s.FloorDataIndex).Word(s.BoxIndex);
        for (uint8_t b : s.Rest) w.Byte(b);
    }
    w.Word(r.AmbientIntensity1);
    if (layout != RoomLayout::Tr1) w.Word(r.AmbientIntensity2);
    if (layout == RoomLayout::Tr2) w.Word(r.ReservedTr2);
    w.Word(r.NumLights);
    switch (layout) {
        case RoomLayout::Tr4:
            for (const auto& l : r.LightsTr4) {
                w.Long(l.X).Long(l.Y).Long(l.Z).Byte(l.Red).Byte(l.Green).Byte(l.Blue).Byte(l.LightType);
                w.Word(l.Intensity).Float(l.In).Float(l.Out).Float(l.Length).Float(l.Cutoff);
                w.Float(l.DirectionX).Float(l.DirectionY).Float(l.DirectionZ);
            }
            break;
        case RoomLayout::Tr1:
            for (const auto& l : r.LightsTr1) w.Long(l.X).Long(l.Y).Long(l.Z).Word(l.Intensity).Long(l.Fade);
            break;
        case RoomLayout::Tr2:
        case RoomLayout::Tr3:
            for (const auto& l : r.LightsTr3)
                w.Long(l.X).Long(l.Y).Long(l.Z).Word(l.Intensity1).Word(l.Intensity2).Long(l.Fade1).Long(l.Fade2);
            break;
    }
    w.Word(r.NumStaticMeshes);
    for (const auto& m : r.StaticMeshes) {
        w.Long(m.X).Long(m.Y).Long(m.Z).Word(m.Rotation).Word(m.Intensity1);
        if (layout != RoomLayout::Tr1) w.Word(m.Intensity2);
        w.Word(m.ObjectId);
    }
    w.Word(r.AlternateRoom).Word(r.Flags);
    if (layout == RoomLayout::Tr4 || layout == RoomLayout::Tr3) w.Byte(r.ExtraByte1).Byte(r.ExtraByte2).Byte(r.ExtraByte3);
}

Room MakeRoom(int seed, int vertices, int quads, int triangles, int sprites, int portals, int lights, int statics,
              int zSectors, int xSectors) {
    auto w = [](int v) { return static_cast<int16_t>(v); };
    const int n = vertices ? vertices : 1;
    Room r;
    r.X = seed * 1024 + 1, r.Z = seed * 1024 + 2, r.YBottom = 256 + seed, r.YTop = -256 - seed;
    r.NumDataWords = 12345;
    r.NumVertices = w(vertices);
    for (int i = 0; i < vertices; ++i)
        r.Vertices.push_back({w(seed * 1000 + i), w(-i), w(i * 2), w(0x7C00 | i), w(0x10 + i), w(0x20 + i)});
    r.NumQuads = w(quads);
    for (int i = 0; i < quads; ++i)
        r.Quads.push_back({{w(i % n), w((i + 1) % n), w((i + 2) % n), w((i + 3) % n)}, w(100 + i)});
    r.NumTriangles = w(triangles);
    for (int i = 0; i < triangles; ++i) r.Triangles.push_back({{w(i % n), w((i + 1) % n), w((i + 2) % n)}, w(200 + i)});
    r.NumSprites = w(sprites);
    for (int i = 0; i < sprites; ++i) r.Sprites.push_back({{w(i), 7}});
    r.NumPortals = w(portals);
    for (int i = 0; i < portals; ++i) {
        RoomPortal p;
        p.AdjoiningRoom = w(i);
        p.Normal[1] = 1;
        for (int k = 0; k < 4; ++k) p.Vertices[k] = {w(k), w(-k), 3};
        r.Portals.push_back(p);
    }
    r.NumZSectors = w(zSectors), r.NumXSectors = w(xSectors);
    for (int i = 0; i < zSectors * xSectors; ++i) r.Sectors.push_back({w(i), 0x7FF6, {0x81, 1, 0x82, 2}});
    r.AmbientIntensity1 = 100, r.AmbientIntensity2 = 255;
    r.NumLights = w(lights);
    for (int i = 0; i < lights; ++i) {
        RoomLightTr4 l;
        l.X = 1000 + i, l.Y = -2000 - i, l.Z = 3000 + i;
        l.Red = 0x05, l.Green = 0x20, l.Blue = 0xFF, l.LightType = 1, l.Intensity = w(4000 + i);
        l.In = 512.0f, l.Out = 1536.0f, l.Length = 1, l.Cutoff = 2;
        r.LightsTr4.push_back(l);
        r.LightsTr1.push_back({l.X, l.Y, l.Z, l.Intensity, 1536});
        r.LightsTr3.push_back({l.X, l.Y, l.Z, l.Intensity, l.Intensity, 1024, 1024});
    }
    r.NumStaticMeshes = w(statics);
    for (int i = 0; i < statics; ++i) r.StaticMeshes.push_back({10 + i, 20 + i, 30 + i, 0x4000, 0x1234, 0x5678, w(i)});
    r.AlternateRoom = -1, r.Flags = 0x40;
    r.ExtraByte1 = 0xE1, r.ExtraByte2 = 0xE2, r.ExtraByte3 = 0xE3;
    return r;
}

std::vector<uint8_t> TilePattern(int tiles, size_t tileSize, uint8_t firstValue) {
    std::vector<uint8_t> out;
    out.reserve(static_cast<size_t>(tiles) * tileSize);
    for (int t = 0; t < tiles; ++t)
        for (size_t i = 0; i < tileSize; ++i) out.push_back(static_cast<uint8_t>(firstValue + t + (i % 7)));
    return out;
}

namespace {
std::vector<uint8_t> Padded(std::vector<uint8_t> v, size_t size) {
    v.resize(size, 0);
    return v;
}
}  // namespace

std::vector<uint8_t> Tr4SourceBuilder::Geometry() const {
    ByteWriter g;
    g.Long(RoomsLeadWord).Word(static_cast<int32_t>(Rooms.size()));
    for (const auto& r : Rooms) WriteRoom(g, r, RoomLayout::Tr4);
    g.Bytes(AfterRooms);
    return g.bytes;
}

size_t Tr4SourceBuilder::GeometryRoomsEnd() const { return Geometry().size() - AfterRooms.size(); }

std::vector<uint8_t> Tr4SourceBuilder::Build() const {
    ByteWriter w;
    w.Long(0x00345254).Word(NumRoomTiles).Word(OtherTileCounts[0]).Word(OtherTileCounts[1]);
    w.Block(Tiles32).Block(Tiles16).Block(Misc).Block(Geometry());
    return w.bytes;
}

int32_t ClassicBaseBuilder::Word() const {
    if (VersionWord) return VersionWord;
    switch (Version) {
        case 1:
        case 2: return 32;
        case 3: return 45;
        default: return static_cast<int32_t>(0xFF080038u);
    }
}

RoomLayout ClassicBaseBuilder::Layout() const {
    return Version <= 2 ? RoomLayout::Tr1 : Version == 3 ? RoomLayout::Tr2 : RoomLayout::Tr3;
}

size_t ClassicBaseBuilder::RoomsOffset() const {
    size_t n = static_cast<size_t>(TileCount);
    if (Version <= 2) return 8 + n * 65536;
    return 1800 + n * (65536 + 131072);
}

std::vector<uint8_t> ClassicBaseBuilder::Build() const {
    ByteWriter w;
    w.Long(Word());
    size_t n = static_cast<size_t>(TileCount);
    if (Version >= 3) w.Bytes(Padded(Palette8, 768)).Bytes(Padded(Palette16, 1024));
    w.Long(TileCount).Bytes(Padded(Tiles8, n * 65536));
    if (Version >= 3) w.Bytes(Padded(Tiles16, n * 131072));
    w.Long(RoomsLeadWord).Word(NumRoomsOverride >= 0 ? NumRoomsOverride : static_cast<int32_t>(Rooms.size()));
    for (const auto& r : Rooms) WriteRoom(w, r, Layout());
    w.Bytes(AfterRooms);
    return w.bytes;
}

std::vector<uint8_t> Tr5BaseBuilder::Build() const {
    ByteWriter w;
    w.Long(0x00345254).Word(NumRoomTiles).Word(OtherTileCounts[0]).Word(OtherTileCounts[1]);
    w.Block(Tiles32).Block(Tiles16).Block(Misc).Bytes(AfterTextures);
    return w.bytes;
}

void WriteLevel(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream f(path, std::ios::binary | std::ios::trunc);
    f.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}
