#include "support/LevelBuilder.h"

#include "../../tools/SampleLevels.h"

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
    for (const auto& t : r.Triangles) w.Word(t.Vertices[0]).Word(t.Vertices[1]).Word(t.Vertices[2]).Word(t.Texture);
    w.Word(r.NumSprites);
    for (const auto& s : r.Sprites) w.Word(s.Words[0]).Word(s.Words[1]);
    w.Word(r.NumPortals);
    for (const auto& p : r.Portals) {
        w.Word(p.AdjoiningRoom).Word(p.Normal[0]).Word(p.Normal[1]).Word(p.Normal[2]);
        for (const auto& v : p.Vertices) w.Word(v.X).Word(v.Y).Word(v.Z);
    }
    w.Word(r.NumZSectors).Word(r.NumXSectors);
    for (const auto& s : r.Sectors) w.Word(s.FloorDataIndex).Word(s.BoxIndex).Bytes({s.Rest, s.Rest + 4});
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
        const RoomLightTr4 l{1000 + i, -2000 - i, 3000 + i, 0x05, 0x20, 0xFF, 1, w(4000 + i), 512, 1536, 1, 2};
        r.LightsTr4.push_back(l);
        r.LightsTr1.push_back({l.X, l.Y, l.Z, l.Intensity, 1536});
        r.LightsTr3.push_back({l.X, l.Y, l.Z, l.Intensity, l.Intensity, 1024, 1024});
    }
    for (int i = 0; i < statics; ++i)
        r.StaticMeshes.push_back({10 + i, 20 + i, 30 + i, 0x4000, 0x1234, 0x5678, w(i)});
    r.NumVertices = w(vertices), r.NumQuads = w(quads), r.NumTriangles = w(triangles);
    r.NumSprites = w(sprites), r.NumPortals = w(portals), r.NumLights = w(lights);
    r.NumStaticMeshes = w(statics), r.AlternateRoom = -1, r.Flags = 0x40;
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
    return ByteWriter{TextureHead::Build()}.Block(Geometry()).bytes;
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

std::vector<uint8_t> BuildLevel(WalkFormat f, const LevelShape& s) {
    using F = WalkFormat;
    const bool tr1 = f == F::Tr1 || f == F::Gold, tr3 = f == F::Tr3, newer = f == F::Tr4 || f == F::Tr5;
    const bool tr5 = f == F::Tr5;
    ByteWriter w;  // the sections behind the rooms
    auto none = [&w](size_t) { w.Long(0); };
    auto section = [&w](int count, size_t size) { w.Long(count).Zeros(size_t(count) * size); };
    section(s.floorDataWords, 2);
    if (s.meshVertices >= 0)  // MeshData: centre, radius, vertex count; MeshPointers: 0
        w.Long(6).Zeros(10).Word(s.meshVertices).Long(1).Long(0);
    else
        none(2), none(4);
    for (size_t size : {newer ? 40 : 32, 6, 8, 2, 4, 2, tr5 ? 20 : 18}) none(size);  // animations .. moveables
    if (s.tableStaticId >= 0)
        w.Long(1).Long(s.tableStaticId).Zeros(28);
    else
        none(32);
    if (newer) w.Bytes({'S', 'P', 'R'}).Zeros(tr5 ? 1 : 0);
    if (!newer && !tr3) section(s.objectTextures, 20);
    section(s.spriteTextures, 16), none(8);
    if (f == F::Gold) w.Zeros(768);
    section(s.cameras, 16);
    if (newer) none(40);  // flyby cameras
    for (size_t size : {16, tr1 ? 20 : 8, 2, 2}) none(size);  // sound sources, boxes, overlaps, animated textures
    if (newer) w.Byte(0).Bytes({'T', 'E', 'X'}).Zeros(tr5 ? 1 : 0);
    if (newer || tr3) section(s.objectTextures, tr5 ? 40 : f == F::Tr4 ? 38 : 20);
    section(s.items, tr1 ? 22 : 24);
    if (newer) {
        none(24), w.Word(0).Zeros(tr5 ? 900 : 740), none(8), none(4);  // AI objects .. sample indices
    } else {
        w.Zeros(8192 + (f == F::Tr1 ? 768 : 0)).Word(0).Word(0).Zeros(tr1 ? 512 : 740), none(8);
        if (tr1) none(1);
        none(4);
    }

    if (tr5) {  // rooms of a header and a body that holds the portals
        ByteWriter g;
        g.Long(0).Long(s.rooms);
        for (int i = 0; i < s.rooms; ++i) {
            const bool portal = i == 0 && s.floorPortalTo >= 0;
            g.Bytes({'X', 'E', 'L', 'A'}).Long(208 + 2 + (portal ? 32 : 0)).Zeros(208).Word(portal);
            if (portal) g.Word(s.floorPortalTo).Word(0).Word(-1).Word(0).Zeros(24);
        }
        g.Bytes(w.bytes);
        ByteWriter out{TextureHead{0}.Build()};
        return out.Zeros(32).Long(int64_t(g.Size())).Long(int64_t(g.Size())).Bytes(g.bytes).Long(0).bytes;
    }
    std::vector<Room> rooms;
    for (int i = 0; i < s.rooms; ++i) {
        const bool first = i == 0;
        Room r = MakeRoom(i, first ? s.roomVertices : 0, 0, 0, 0, first && s.floorPortalTo >= 0, 0,
                          first && s.roomStaticId >= 0);
        r.NumDataWords = (8 + r.NumVertices * (tr1 ? 8 : 12)) / 2;
        if (!r.Portals.empty()) r.Portals[0].AdjoiningRoom = int16_t(s.floorPortalTo);
        if (!r.StaticMeshes.empty()) r.StaticMeshes[0].ObjectId = int16_t(s.roomStaticId);
        rooms.push_back(r);
    }
    if (f == F::Tr4) {
        Tr4SourceBuilder b;
        b.NumRoomTiles = 0, b.Rooms = rooms, b.AfterRooms = w.bytes;
        return ByteWriter{b.Build()}.Long(0).bytes;  // no samples
    }
    ClassicBaseBuilder b;
    b.Version = f == F::Tr1 ? 1 : f == F::Gold ? 2 : f == F::Tr2 ? 3 : 4;
    b.TileCount = s.tiles, b.Rooms = rooms, b.AfterRooms = w.bytes;
    return b.Build();
}
