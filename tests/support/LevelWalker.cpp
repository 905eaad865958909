#include "support/LevelWalker.h"

#include <zlib.h>

#include "support/LevelBuilder.h"
#include "support/TestFolder.h"

namespace {
// One section: a 32-bit count (Long) or 16-bit count (Short) and count elements of `size`
// bytes; `size` plain bytes (Fixed); or `size` bytes per box (Zones).
enum Kind { Long32, Short, Fixed, Zones };
struct Step {
    const char* name;
    size_t size;
    Kind kind = Long32;
};
using Steps = std::vector<Step>;

struct Reader {
    const std::vector<uint8_t>& b;
    WalkedLevel& out;
    size_t pos = 0;
    void Skip(size_t n) {
        if (n > b.size() || pos > b.size() - n)
            throw std::runtime_error("walk ran past the end at " + std::to_string(pos) + " needing " +
                                     std::to_string(n));
        pos += n;
    }
    uint32_t U32() {
        Skip(4);
        return static_cast<uint32_t>(Long(b, pos - 4));
    }
    uint16_t U16() {
        Skip(2);
        return static_cast<uint16_t>(Word(b, pos - 2));
    }
    void Record(const std::string& name, size_t at, int64_t count, size_t bytes) {
        out.sections[name] = {at, count, bytes};
    }
    void Walk(const Steps& steps) {
        for (const Step& s : steps) {
            size_t at = pos;
            int64_t count = s.kind == Long32 ? static_cast<int32_t>(U32()) : s.kind == Short ? U16() : 0;
            if (count < 0) throw std::runtime_error(std::string(s.name) + ": negative count");
            size_t bytes = s.kind == Fixed ? s.size
                         : s.kind == Zones ? static_cast<size_t>(out["Boxes"].count) * s.size
                                           : static_cast<size_t>(count) * s.size;
            Skip(bytes);
            Record(s.name, at, count, bytes);
        }
    }
};

Steps operator+(Steps a, const Steps& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Steps Objects(size_t animationSize, size_t moveableSize) {
    return {{"FloorData", 2},       {"MeshData", 2},        {"MeshPointers", 4},
            {"Animations", animationSize}, {"AnimationTable6", 6}, {"AnimationTable8", 8},
            {"AnimationTable2", 2}, {"MeshTrees", 4},       {"Frames", 2},
            {"Moveables", moveableSize},   {"StaticMeshes", 32}};
}

Steps Boxes(size_t boxSize, size_t zoneSize) {
    return {{"Boxes", boxSize}, {"Overlaps", 2}, {"Zones", zoneSize, Zones}, {"AnimatedTextures", 2}};
}

// The sections from the floor data to the sample indices in the TR4 source and TR5 layouts.
Steps NewerSections(bool tr5) {
    return Objects(40, tr5 ? 20 : 18) +
           Steps{{"SpriteMarker", tr5 ? 4u : 3u, Fixed}, {"SpriteTextures", 16}, {"SpriteSequences", 8},
                 {"Cameras", 16}, {"FlybyCameras", 40}, {"SoundSources", 16}} +
           Boxes(8, 20) +
           Steps{{"TextureMarker", tr5 ? 5u : 4u, Fixed}, {"ObjectTextures", tr5 ? 40u : 38u}, {"Items", 24},
                 {"AiObjects", 24}, {"DemoData", tr5 ? 1u : 2u, Short},
                 {"SoundMap", tr5 ? 900u : 740u, Fixed}, {"SoundDetails", 8}, {"SampleIndices", 4}};
}

// Rooms of the TR1 to TR4 layouts; the element sizes and the trailing bytes differ per format.
void WalkRooms(Reader& r, size_t vertexSize, size_t ambientBytes, size_t lightSize, size_t staticSize,
               size_t trailing) {
    size_t at = r.pos;
    r.U32();  // lead word
    r.out.numRooms = r.U16();
    for (int i = 0; i < r.out.numRooms; ++i) {
        r.Skip(16);
        uint32_t dataWords = r.U32();
        size_t dataStart = r.pos;
        r.Skip(r.U16() * vertexSize);
        r.Skip(r.U16() * 10u);  // quads
        r.Skip(r.U16() * 8u);   // triangles
        r.Skip(r.U16() * 4u);   // sprites
        if (r.pos - dataStart != size_t(dataWords) * 2)
            throw std::runtime_error("room " + std::to_string(i) + ": NumDataWords does not fit");
        r.Skip(r.U16() * 32u);  // portals
        uint16_t nz = r.U16(), nx = r.U16();
        r.Skip(size_t(nz) * nx * 8 + ambientBytes);
        r.Skip(r.U16() * lightSize);
        r.Skip(r.U16() * staticSize);
        r.Skip(4 + trailing);
    }
    r.Record("Rooms", at, r.out.numRooms, r.pos - at - 6);
}

// The head shared by the TR4 and TR5 files: version, tile counts and three texture blocks.
void WalkTextureBlocks(Reader& r) {
    r.Walk({{"Version", 4, Fixed}, {"TileCounts", 6, Fixed}});
    for (const char* name : {"Texture32", "Texture16", "TextureMisc"}) {
        size_t at = r.pos;
        r.U32();
        uint32_t packed = r.U32();
        r.Skip(packed);
        r.Record(name, at, 0, packed);
    }
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
    size_t plain = static_cast<uint32_t>(Long(file, offset));
    size_t packed = static_cast<uint32_t>(Long(file, offset + 4));
    next = offset + 8 + packed;
    return Inflate(file.data() + offset + 8, packed, plain);
}

std::vector<uint8_t> WithGeometry(const std::vector<uint8_t>& source, const std::vector<uint8_t>& geometry) {
    const WalkedLevel walked = WalkTr4Source(source);
    const WalkedSection& g = walked["Geometry"];
    ByteWriter out;
    out.bytes.assign(source.begin(), source.begin() + long(g.offset));
    out.Block(geometry);
    out.bytes.insert(out.bytes.end(), source.begin() + long(g.offset + 8 + g.bytes), source.end());
    return out.bytes;
}

WalkedLevel WalkLevel(const std::vector<uint8_t>& file, WalkFormat f, size_t itemSize,
                      bool withCinematicFrames, bool stopAfterItems) {
    if (f == WalkFormat::Tr5) throw std::runtime_error("use the TR5 walk");
    WalkedLevel out;
    Reader r{file, out};
    const bool tr1 = f == WalkFormat::Tr1 || f == WalkFormat::Gold, tr3 = f == WalkFormat::Tr3;
    r.Walk({{"Version", 4, Fixed}});
    if (!tr1) r.Walk({{"Palette8", 768, Fixed}, {"Palette16", 1024, Fixed}});
    r.Walk({{"Tiles", tr1 ? 65536u : 65536u + 131072u}});
    if (tr1)
        WalkRooms(r, 8, 2, 18, 18, 0);
    else
        WalkRooms(r, 12, tr3 ? 4 : 6, 24, 20, tr3 ? 3 : 0);
    r.Walk(Objects(32, 18));
    if (!tr3) r.Walk({{"ObjectTextures", 20}});
    r.Walk({{"SpriteTextures", 16}, {"SpriteSequences", 8}});
    if (f == WalkFormat::Gold) r.Walk({{"GoldPalette", 768, Fixed}});
    r.Walk(Steps{{"Cameras", 16}, {"SoundSources", 16}} + Boxes(tr1 ? 20 : 8, tr1 ? 12 : 20));
    if (tr3) r.Walk({{"ObjectTextures", 20}});
    r.Walk({{"Items", itemSize}});
    out.end = r.pos;
    if (stopAfterItems) return out;
    r.Walk({{"ColourMap", 8192, Fixed}});
    if (f == WalkFormat::Tr1) r.Walk({{"Tr1Palette", 768, Fixed}});
    if (withCinematicFrames) r.Walk({{"CinematicFrames", 16, Short}});
    r.Walk({{"DemoData", 1, Short}, {"SoundMap", tr1 ? 512u : 740u, Fixed}, {"SoundDetails", 8}});
    if (tr1) r.Walk({{"Samples", 1}});
    r.Walk({{"SampleIndices", 4}});
    out.end = r.pos;
    return out;
}

WalkedLevel WalkTr5Level(const std::vector<uint8_t>& file) {
    WalkedLevel out;
    Reader r{file, out};
    WalkTextureBlocks(r);
    r.Walk({{"Flags", 32, Fixed}});
    size_t sizeAt = r.pos;
    uint32_t geometrySize = r.U32();
    if (r.U32() != geometrySize) throw std::runtime_error("the two geometry size words differ");
    r.Record("GeometrySize", sizeAt, geometrySize, 8);
    size_t samplesAt = r.pos + geometrySize;
    r.U32();  // lead word
    size_t at = r.pos;
    out.numRooms = static_cast<int32_t>(r.U32());
    for (int i = 0; i < out.numRooms; ++i) {
        r.Skip(8);
        if (std::string(reinterpret_cast<const char*>(&file[r.pos - 8]), 4) != "XELA")
            throw std::runtime_error("room " + std::to_string(i) + " has no XELA label");
        r.Skip(static_cast<uint32_t>(Long(file, r.pos - 4)));
    }
    r.Record("Rooms", at, out.numRooms, r.pos - at - 4);
    r.Walk(NewerSections(true));
    if (samplesAt < r.pos || samplesAt > file.size())
        throw std::runtime_error("the geometry size points outside");
    // The samples are one block that runs to the end of the file.
    r.Record("Samples", samplesAt, 0, file.size() - samplesAt);
    out.end = file.size();
    return out;
}

WalkedLevel WalkTr4Source(const std::vector<uint8_t>& file) {
    WalkedLevel out;
    Reader r{file, out};
    WalkTextureBlocks(r);
    size_t at = r.pos;
    uint32_t plain = r.U32(), packed = r.U32();
    r.Skip(packed);
    r.Record("Geometry", at, 0, packed);
    out.inflated = Inflate(file.data() + r.pos - packed, packed, plain);
    // The samples: a count, then each as UncompressedSize, CompressedSize and its bytes.
    for (uint32_t i = 0, n = r.U32(); i < n; ++i) {
        r.U32();
        r.Skip(r.U32());
    }
    out.end = r.pos;

    Reader q{out.inflated, out};
    WalkRooms(q, 12, 4, 46, 20, 3);
    q.Walk(NewerSections(false));
    // What follows the last section; the real source ends on six zero bytes.
    q.Walk({{"GeometryTail", out.inflated.size() - q.pos, Fixed}});
    return out;
}
