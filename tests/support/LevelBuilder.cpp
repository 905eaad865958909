#include "support/LevelBuilder.h"

#include "../../tools/SampleLevels.h"

ByteWriter& ByteWriter::Int(int64_t v, int size) {
    for (int i = 0; i < size; ++i) bytes.push_back(static_cast<uint8_t>(v >> (8 * i)));
    return *this;
}
ByteWriter& ByteWriter::Bytes(const std::vector<uint8_t>& v) {
    bytes.insert(bytes.end(), v.begin(), v.end());
    return *this;
}
ByteWriter& ByteWriter::Block(const std::vector<uint8_t>& uncompressed) {
    const std::vector<uint8_t> z = samples::Deflate(uncompressed);
    return Long(static_cast<int64_t>(uncompressed.size())).Long(static_cast<int64_t>(z.size())).Bytes(z);
}

void WriteRoom(ByteWriter& w, const Room& r, RoomLayout layout) {
    w.Long(r.X).Long(r.Z).Long(r.YBottom).Long(r.YTop).Long(r.NumDataWords);
    w.Word(r.NumVertices);
    for (const auto& v : r.Vertices) {
        w.Word(v.X).Word(v.Y).Word(v.Z).Word(v.Lighting1);
        if (layout != RoomLayout::Tr1) w.Word(v.Attributes).Word(v.Lighting2);
    }
    w.Word(r.NumQuads);
    for (const auto& q : r.Quads)
        w.Word(q.Vertices[0]).Word(q.Vertices[1]).Word(q.Vertices[2]).Word(q.Vertices[3]).Word(q.Texture);
    w.Word(r.NumTriangles);
    for (const auto& t : r.Triangles)
        w.Word(t.Vertices[0]).Word(t.Vertices[1]).Word(t.Vertices[2]).Word(t.Texture);
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
    if (layout == RoomLayout::Tr4) {
        for (const auto& l : r.LightsTr4) {
            w.Long(l.X).Long(l.Y).Long(l.Z).Byte(l.Red).Byte(l.Green).Byte(l.Blue).Byte(l.LightType);
            w.Word(l.Intensity).Float(l.In).Float(l.Out).Float(l.Length).Float(l.Cutoff);
            w.Float(l.DirectionX).Float(l.DirectionY).Float(l.DirectionZ);
        }
    } else if (layout == RoomLayout::Tr1) {
        for (const auto& l : r.LightsTr1) w.Long(l.X).Long(l.Y).Long(l.Z).Word(l.Intensity).Long(l.Fade);
    } else {
        for (const auto& l : r.LightsTr3)
            w.Long(l.X).Long(l.Y).Long(l.Z).Word(l.Intensity1).Word(l.Intensity2).Long(l.Fade1).Long(l.Fade2);
    }
    w.Word(r.NumStaticMeshes);
    for (const auto& m : r.StaticMeshes) {
        w.Long(m.X).Long(m.Y).Long(m.Z).Word(m.Rotation).Word(m.Intensity1);
        if (layout != RoomLayout::Tr1) w.Word(m.Intensity2);
        w.Word(m.ObjectId);
    }
    w.Word(r.AlternateRoom).Word(r.Flags);
    if (layout == RoomLayout::Tr4 || layout == RoomLayout::Tr3)
        w.Byte(r.ExtraByte1).Byte(r.ExtraByte2).Byte(r.ExtraByte3);
}

Room MakeRoom(int seed, int vertices, int quads, int triangles, int sprites, int portals, int lights,
              int statics, int zSectors, int xSectors) {
    auto w = [](int v) { return int16_t(v); };
    const int n = vertices ? vertices : 1;
    Room r;
    r.X = seed * 1024 + 1, r.Z = seed * 1024 + 2, r.YBottom = 256 + seed, r.YTop = -256 - seed;
    r.NumDataWords = 12345;
    for (int i = 0; i < vertices; ++i)
        r.Vertices.push_back({w(seed * 1000 + i), w(-i), w(i * 2), w(0x7C00 | i), w(0x10 + i), w(0x20 + i)});
    for (int i = 0; i < quads; ++i)
        r.Quads.push_back({{w(i % n), w((i + 1) % n), w((i + 2) % n), w((i + 3) % n)}, w(100 + i)});
    for (int i = 0; i < triangles; ++i)
        r.Triangles.push_back({{w(i % n), w((i + 1) % n), w((i + 2) % n)}, w(200 + i)});
    for (int i = 0; i < sprites; ++i) r.Sprites.push_back({{w(i), 7}});
    for (int i = 0; i < portals; ++i) {
        RoomPortal p{w(i), {0, 1, 0}};
        for (int k = 0; k < 4; ++k) p.Vertices[k] = {w(k), w(-k), 3};
        r.Portals.push_back(p);
    }
    r.NumZSectors = w(zSectors), r.NumXSectors = w(xSectors);
    for (int i = 0; i < zSectors * xSectors; ++i) r.Sectors.push_back({w(i), 0x7FF6, {0x81, 1, 0x82, 2}});
    r.AmbientIntensity1 = 100, r.AmbientIntensity2 = 255;
    for (int i = 0; i < lights; ++i) {
        RoomLightTr4 l;
        l.X = 1000 + i, l.Y = -2000 - i, l.Z = 3000 + i;
        l.Red = 0x05, l.Green = 0x20, l.Blue = 0xFF, l.LightType = 1, l.Intensity = w(4000 + i);
        l.In = 512.0f, l.Out = 1536.0f, l.Length = 1, l.Cutoff = 2;
        r.LightsTr4.push_back(l);
        r.LightsTr1.push_back({l.X, l.Y, l.Z, l.Intensity, 1536});
        r.LightsTr3.push_back({l.X, l.Y, l.Z, l.Intensity, l.Intensity, 1024, 1024});
    }
    for (int i = 0; i < statics; ++i)
        r.StaticMeshes.push_back({10 + i, 20 + i, 30 + i, 0x4000, 0x1234, 0x5678, w(i)});
    r.NumVertices = w(vertices), r.NumQuads = w(quads), r.NumTriangles = w(triangles);
    r.NumSprites = w(sprites), r.NumPortals = w(portals), r.NumLights = w(lights);
    r.NumStaticMeshes = w(statics);
    r.AlternateRoom = -1, r.Flags = 0x40;
    r.ExtraByte1 = 0xE1, r.ExtraByte2 = 0xE2, r.ExtraByte3 = 0xE3;
    return r;
}

std::vector<uint8_t> TilePattern(int tiles, size_t tileSize, uint8_t firstValue) {
    std::vector<uint8_t> out(size_t(tiles) * tileSize);
    for (size_t i = 0; i < out.size(); ++i) out[i] = uint8_t(firstValue + i / tileSize + i % tileSize % 7);
    return out;
}

std::vector<uint8_t> Tr4SourceBuilder::Geometry() const {
    ByteWriter g;
    g.Long(RoomsLeadWord).Word(static_cast<int32_t>(Rooms.size()));
    for (const auto& r : Rooms) WriteRoom(g, r, RoomLayout::Tr4);
    return g.Bytes(AfterRooms).bytes;
}

std::vector<uint8_t> TextureHead::Build() const {
    ByteWriter w;
    w.Long(0x00345254).Word(NumRoomTiles).Word(OtherTileCounts[0]).Word(OtherTileCounts[1]);
    return w.Block(Tiles32).Block(Tiles16).Block(Misc).bytes;
}

std::vector<uint8_t> Tr4SourceBuilder::Build() const {
    ByteWriter w;
    return w.Bytes(TextureHead::Build()).Block(Geometry()).bytes;
}

std::vector<uint8_t> ClassicBaseBuilder::Build() const {
    std::vector<uint8_t> tiles8 = Tiles8, tiles16 = Tiles16;  // padded with zeros
    tiles8.resize(size_t(TileCount) * 65536);
    tiles16.resize(size_t(TileCount) * 131072);
    const auto layout = Version <= 2 ? RoomLayout::Tr1 : Version == 3 ? RoomLayout::Tr2 : RoomLayout::Tr3;
    ByteWriter w;
    w.Long(Version <= 2 ? 32 : Version == 3 ? 45 : 0xFF080038u);
    if (Version >= 3) w.Zeros(768 + 1024);  // the 8-bit and 16-bit palettes
    w.Long(TileCount).Bytes(tiles8);
    if (Version >= 3) w.Bytes(tiles16);
    w.Long(RoomsLeadWord).Word(static_cast<int32_t>(Rooms.size()));
    for (const auto& r : Rooms) WriteRoom(w, r, layout);
    return w.Bytes(AfterRooms).bytes;
}
