#include "support/LevelWalker.h"

#include <zlib.h>

namespace {
struct Reader {
    const std::vector<uint8_t>& b;
    size_t pos = 0;
    WalkedLevel& out;
    void Need(size_t n) {
        if (n > b.size() || pos > b.size() - n)
            throw std::runtime_error("walk ran past the end at " + std::to_string(pos) + " needing " +
                                     std::to_string(n));
    }
    uint32_t U32() {
        Need(4);
        uint32_t v = b[pos] | (b[pos + 1] << 8) | (b[pos + 2] << 16) | (uint32_t(b[pos + 3]) << 24);
        pos += 4;
        return v;
    }
    uint16_t U16() {
        Need(2);
        uint16_t v = static_cast<uint16_t>(b[pos] | (b[pos + 1] << 8));
        pos += 2;
        return v;
    }
    void Skip(size_t n) {
        Need(n);
        pos += n;
    }
    void Add(const std::string& name, size_t offset, int64_t count, size_t bytes) {
        out.order.push_back(name);
        out.sections[name] = {offset, count, bytes};
    }
    // A 32-bit count followed by count elements.
    void Counted(const std::string& name, size_t element) {
        size_t at = pos;
        int64_t count = static_cast<int32_t>(U32());
        if (count < 0) throw std::runtime_error(name + ": negative count");
        Skip(static_cast<size_t>(count) * element);
        Add(name, at, count, static_cast<size_t>(count) * element);
    }
    void Counted16(const std::string& name, size_t element) {
        size_t at = pos;
        int64_t count = U16();
        Skip(static_cast<size_t>(count) * element);
        Add(name, at, count, static_cast<size_t>(count) * element);
    }
    void Fixed(const std::string& name, size_t bytes) {
        size_t at = pos;
        Skip(bytes);
        Add(name, at, 0, bytes);
    }
};

// Rooms of the TR1 to TR4 layouts. V: vertex size; ambientBytes, light and static mesh sizes and
// the number of trailing bytes differ per format.
void WalkRooms(Reader& r, size_t vertexSize, size_t ambientBytes, size_t lightSize, size_t staticSize,
               size_t trailing) {
    size_t at = r.pos;
    r.U32();  // lead word
    r.out.numRooms = r.U16();
    for (int i = 0; i < r.out.numRooms; ++i) {
        r.Skip(16);
        uint32_t dataWords = r.U32();
        size_t dataStart = r.pos;
        uint16_t nv = r.U16();
        r.Skip(nv * vertexSize);
        r.out.roomQuadWordOffsets.push_back(r.pos);
        uint16_t nq = r.U16();
        r.Skip(nq * 10u);
        uint16_t nt = r.U16();
        r.Skip(nt * 8u);
        uint16_t ns = r.U16();
        r.Skip(ns * 4u);
        if (r.pos - dataStart != size_t(dataWords) * 2)
            throw std::runtime_error("room " + std::to_string(i) + ": NumDataWords does not match its geometry");
        uint16_t np = r.U16();
        r.Skip(np * 32u);
        uint16_t nz = r.U16(), nx = r.U16();
        r.Skip(size_t(nz) * nx * 8);
        r.Skip(ambientBytes);
        uint16_t nl = r.U16();
        r.Skip(nl * lightSize);
        uint16_t nsm = r.U16();
        r.Skip(nsm * staticSize);
        r.Skip(4 + trailing);
    }
    r.Add("Rooms", at, r.out.numRooms, r.pos - at - 6);
}

void WalkObjects(Reader& r, size_t animationSize, size_t moveableSize) {
    r.Counted("FloorData", 2);
    r.Counted("MeshData", 2);
    r.Counted("MeshPointers", 4);
    r.Counted("Animations", animationSize);
    r.Counted("AnimationTable6", 6);
    r.Counted("AnimationTable8", 8);
    r.Counted("AnimationTable2", 2);
    r.Counted("MeshTrees", 4);
    r.Counted("Frames", 2);
    r.Counted("Moveables", moveableSize);
    r.Counted("StaticMeshes", 32);
}

void WalkBoxes(Reader& r, size_t boxSize, size_t zoneSize) {
    r.Counted("Boxes", boxSize);
    r.Counted("Overlaps", 2);
    r.Fixed("Zones", static_cast<size_t>(r.out.sections["Boxes"].count) * zoneSize);
    r.Counted("AnimatedTextures", 2);
}
}  // namespace

std::vector<uint8_t> Inflate(const uint8_t* data, size_t size, size_t expected) {
    std::vector<uint8_t> out(expected + 1024);
    uLongf len = out.size();
    if (uncompress(out.data(), &len, data, size) != Z_OK) throw std::runtime_error("bad zlib block");
    out.resize(len);
    return out;
}

std::vector<uint8_t> InflateBlockAt(const std::vector<uint8_t>& file, size_t offset, size_t& next) {
    size_t packed = static_cast<uint32_t>(file.at(offset + 4) | (file.at(offset + 5) << 8) |
                                          (file.at(offset + 6) << 16) | (uint32_t(file.at(offset + 7)) << 24));
    size_t plain = static_cast<uint32_t>(file[offset] | (file[offset + 1] << 8) | (file[offset + 2] << 16) |
                                         (uint32_t(file[offset + 3]) << 24));
    next = offset + 8 + packed;
    return Inflate(file.data() + offset + 8, packed, plain);
}

std::vector<uint8_t> WithGeometry(const std::vector<uint8_t>& source, const std::vector<uint8_t>& geometry) {
    WalkedLevel w = WalkTr4Source(source);
    const WalkedSection& g = w["Geometry"];
    uLongf size = compressBound(uLong(geometry.size()));
    std::vector<uint8_t> packed(size);
    compress(packed.data(), &size, geometry.data(), uLong(geometry.size()));
    packed.resize(size);
    std::vector<uint8_t> out(source.begin(), source.begin() + long(g.offset));
    for (uint32_t v : {uint32_t(geometry.size()), uint32_t(size)})
        for (int k = 0; k < 4; ++k) out.push_back(uint8_t(v >> (8 * k)));
    out.insert(out.end(), packed.begin(), packed.end());
    out.insert(out.end(), source.begin() + long(g.offset + 8 + g.bytes), source.end());
    return out;
}

WalkedLevel WalkLevel(const std::vector<uint8_t>& file, WalkFormat f, size_t itemSize, bool withCinematicFrames,
                      bool stopAfterItems) {
    WalkedLevel out;
    Reader r{file, 0, out};
    if (f == WalkFormat::Tr5) throw std::runtime_error("use the TR5 walk");
    bool tr1 = f == WalkFormat::Tr1 || f == WalkFormat::Gold;
    r.Fixed("Version", 4);
    if (!tr1) {
        r.Fixed("Palette8", 768);
        r.Fixed("Palette16", 1024);
    }
    size_t at = r.pos;
    uint32_t tiles = r.U32();
    r.Skip(size_t(tiles) * (tr1 ? 65536 : 65536 + 131072));
    r.Add("Tiles", at, tiles, size_t(tiles) * (tr1 ? 65536 : 65536 + 131072));
    if (tr1)
        WalkRooms(r, 8, 2, 18, 18, 0);
    else if (f == WalkFormat::Tr2)
        WalkRooms(r, 12, 6, 24, 20, 0);
    else
        WalkRooms(r, 12, 4, 24, 20, 3);
    WalkObjects(r, 32, 18);
    if (f != WalkFormat::Tr3) r.Counted("ObjectTextures", 20);
    r.Counted("SpriteTextures", 16);
    r.Counted("SpriteSequences", 8);
    if (f == WalkFormat::Gold) r.Fixed("GoldPalette", 768);
    r.Counted("Cameras", 16);
    r.Counted("SoundSources", 16);
    WalkBoxes(r, tr1 ? 20 : 8, tr1 ? 12 : 20);
    if (f == WalkFormat::Tr3) r.Counted("ObjectTextures", 20);
    r.Counted("Items", itemSize);
    if (stopAfterItems) {
        out.end = r.pos;
        return out;
    }
    r.Fixed("ColourMap", 8192);
    if (f == WalkFormat::Tr1) r.Fixed("Tr1Palette", 768);
    if (withCinematicFrames) r.Counted16("CinematicFrames", 16);
    r.Counted16("DemoData", 1);
    r.Fixed("SoundMap", tr1 ? 512 : 740);
    r.Counted("SoundDetails", 8);
    if (tr1) r.Counted("Samples", 1);
    r.Counted("SampleIndices", 4);
    out.end = r.pos;
    return out;
}

WalkedLevel WalkTr5Level(const std::vector<uint8_t>& file) {
    WalkedLevel out;
    Reader r{file, 0, out};
    r.Fixed("Version", 4);
    r.Fixed("TileCounts", 6);
    for (const char* name : {"Texture32", "Texture16", "TextureMisc"}) {
        size_t at = r.pos;
        r.U32();
        uint32_t packed = r.U32();
        r.Skip(packed);
        r.Add(name, at, 0, packed);
    }
    r.Fixed("Flags", 32);
    size_t sizeAt = r.pos;
    uint32_t geometrySize = r.U32();
    if (r.U32() != geometrySize) throw std::runtime_error("the two geometry size words differ");
    r.Add("GeometrySize", sizeAt, geometrySize, 8);
    size_t geometryStart = r.pos;
    r.U32();  // lead word
    size_t at = r.pos;
    out.numRooms = static_cast<int32_t>(r.U32());
    for (int i = 0; i < out.numRooms; ++i) {
        r.Need(8);
        if (std::string(reinterpret_cast<const char*>(&file[r.pos]), 4) != "XELA")
            throw std::runtime_error("room " + std::to_string(i) + " has no XELA label");
        r.pos += 4;
        uint32_t roomSize = r.U32();
        r.Skip(roomSize);
    }
    r.Add("Rooms", at, out.numRooms, r.pos - at - 4);
    WalkObjects(r, 40, 20);
    r.Fixed("SpriteMarker", 4);
    r.Counted("SpriteTextures", 16);
    r.Counted("SpriteSequences", 8);
    r.Counted("Cameras", 16);
    r.Counted("FlybyCameras", 40);
    r.Counted("SoundSources", 16);
    WalkBoxes(r, 8, 20);
    r.Fixed("TextureHead", 5);
    r.Counted("ObjectTextures", 40);
    r.Counted("Items", 24);
    r.Counted("AiObjects", 24);
    r.Counted16("DemoData", 1);
    r.Fixed("SoundMap", 900);
    r.Counted("SoundDetails", 8);
    r.Counted("SampleIndices", 4);
    size_t samplesAt = geometryStart + geometrySize;
    if (samplesAt < r.pos || samplesAt > file.size()) throw std::runtime_error("geometry size points outside");
    r.pos = samplesAt;
    r.Add("Samples", samplesAt, 0, file.size() - samplesAt);
    r.pos = file.size();
    out.end = r.pos;
    return out;
}

WalkedLevel WalkTr4Source(const std::vector<uint8_t>& file) {
    WalkedLevel out;
    Reader r{file, 0, out};
    r.Fixed("Version", 4);
    r.Fixed("TileCounts", 6);
    for (const char* name : {"Texture32", "Texture16", "TextureMisc"}) {
        size_t at = r.pos;
        r.U32();
        uint32_t packed = r.U32();
        r.Skip(packed);
        r.Add(name, at, 0, packed);
    }
    size_t at = r.pos;
    uint32_t plain = r.U32(), packed = r.U32();
    r.Need(packed);
    std::vector<uint8_t> geometry = Inflate(file.data() + r.pos, packed, plain);
    r.Skip(packed);
    r.Add("Geometry", at, 0, packed);
    out.end = r.pos;

    WalkedLevel g;
    Reader q{geometry, 0, g};
    WalkRooms(q, 12, 4, 46, 20, 3);
    WalkObjects(q, 40, 18);
    q.Fixed("SpriteMarker", 3);
    q.Counted("SpriteTextures", 16);
    q.Counted("SpriteSequences", 8);
    q.Counted("Cameras", 16);
    q.Counted("FlybyCameras", 40);
    q.Counted("SoundSources", 16);
    WalkBoxes(q, 8, 20);
    q.Fixed("TextureMarker", 4);
    q.Counted("ObjectTextures", 38);
    q.Counted("Items", 24);
    q.Counted("AiObjects", 24);
    g.end = q.pos;
    for (auto& name : g.order) {
        out.order.push_back(name);
        out.sections[name] = g.sections[name];
    }
    out.numRooms = g.numRooms;
    out.roomQuadWordOffsets = g.roomQuadWordOffsets;
    out.inflated = std::move(geometry);
    return out;
}
