#include "support/LevelWalker.h"

#include <zlib.h>

#include "support/LevelBuilder.h"
#include "support/TestFolder.h"

namespace {
// One section: a 32-bit count (Long) or 16-bit count (Short) and count elements of `size`
// bytes; `size` plain bytes (Fixed); `size` bytes per box (Zones); or a packed block (Packed:
// UncompressedSize, then CompressedSize as the count of bytes).
enum Kind { Long32, Short, Fixed, Zones, Packed };
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
        if (n > b.size() - pos) throw std::runtime_error("walk past the end at " + std::to_string(pos));
        pos += n;
    }
    // An unsigned word (2) or long (4).
    uint32_t U(size_t width) {
        Skip(width);
        return width == 2 ? uint16_t(Word(b, pos - 2)) : uint32_t(Long(b, pos - 4));
    }
    void Walk(const Steps& steps) {
        for (const Step& s : steps) {
            const size_t at = pos;
            if (s.kind == Packed) Skip(4);
            const bool counted = s.kind == Long32 || s.kind == Packed;
            const int64_t count = counted ? int32_t(U(4)) : s.kind == Short ? U(2) : 0;
            if (count < 0) throw std::runtime_error(std::string(s.name) + ": negative count");
            const size_t n = s.kind == Fixed ? 1 : size_t(s.kind == Zones ? out["Boxes"].count : count);
            Skip(n * s.size);
            out.sections[s.name] = {at, count, n * s.size};
        }
    }
};

Steps Objects(size_t animationSize, size_t moveableSize) {
    return {{"FloorData", 2}, {"MeshData", 2}, {"MeshPointers", 4}, {"Animations", animationSize},
            {"AnimationTable6", 6}, {"AnimationTable8", 8}, {"AnimationTable2", 2}, {"MeshTrees", 4},
            {"Frames", 2}, {"Moveables", moveableSize}, {"StaticMeshes", 32}};
}

Steps Boxes(size_t boxSize, size_t zoneSize) {
    return {{"Boxes", boxSize}, {"Overlaps", 2}, {"Zones", zoneSize, Zones}, {"AnimatedTextures", 2}};
}

// The sections from the floor data to the sample indices in the TR4 source and TR5 layouts.
void WalkNewerSections(Reader& r, bool tr5) {
    r.Walk(Objects(40, tr5 ? 20 : 18));
    r.Walk({{"SpriteMarker", tr5 ? 4u : 3u, Fixed}, {"SpriteTextures", 16}, {"SpriteSequences", 8},
            {"Cameras", 16}, {"FlybyCameras", 40}, {"SoundSources", 16}});
    r.Walk(Boxes(8, 20));
    r.Walk({{"TextureMarker", tr5 ? 5u : 4u, Fixed}, {"ObjectTextures", tr5 ? 40u : 38u}, {"Items", 24},
            {"AiObjects", 24}, {"DemoData", tr5 ? 1u : 2u, Short}, {"SoundMap", tr5 ? 900u : 740u, Fixed},
            {"SoundDetails", 8}, {"SampleIndices", 4}});
}

// Rooms of the TR1 to TR4 layouts; the element sizes and the trailing bytes differ per format.
void WalkRooms(Reader& r, size_t vertexSize, size_t ambientBytes, size_t lightSize, size_t staticSize,
               size_t trailing) {
    const size_t at = r.pos;
    r.U(4);  // lead word
    r.out.numRooms = int32_t(r.U(2));
    for (int i = 0; i < r.out.numRooms; ++i) {
        r.Skip(16);
        const size_t dataBytes = size_t(r.U(4)) * 2, dataStart = r.pos;
        for (size_t size : {vertexSize, size_t(10), size_t(8), size_t(4)}) r.Skip(r.U(2) * size);
        if (r.pos - dataStart != dataBytes)
            throw std::runtime_error("room " + std::to_string(i) + ": NumDataWords does not fit");
        r.Skip(r.U(2) * 32u);  // portals
        const size_t sectors = r.U(2) * size_t(r.U(2));
        r.Skip(sectors * 8 + ambientBytes);
        r.Skip(r.U(2) * lightSize);
        r.Skip(r.U(2) * staticSize);
        r.Skip(4 + trailing);
    }
    r.out.sections["Rooms"] = {at, r.out.numRooms, r.pos - at - 6};
}

WalkedLevel WalkTr5Level(const std::vector<uint8_t>& file) {
    WalkedLevel out;
    Reader r{file, out};
    r.Walk({{"Version", 4, Fixed}, {"TileCounts", 6, Fixed}});
    r.Walk({{"Texture32", 1, Packed}, {"Texture16", 1, Packed}, {"TextureMisc", 1, Packed}});
    r.Walk({{"Flags", 32, Fixed}});
    const size_t sizeAt = r.pos;
    const uint32_t geometrySize = r.U(4);
    if (r.U(4) != geometrySize) throw std::runtime_error("the two geometry size words differ");
    out.sections["GeometrySize"] = {sizeAt, geometrySize, 8};
    const size_t samplesAt = r.pos + geometrySize;
    r.U(4);  // lead word
    const size_t at = r.pos;
    out.numRooms = int32_t(r.U(4));
    for (int i = 0; i < out.numRooms; ++i) {
        r.Skip(8);
        if (std::string(reinterpret_cast<const char*>(&file[r.pos - 8]), 4) != "XELA")
            throw std::runtime_error("room " + std::to_string(i) + " has no XELA label");
        r.Skip(uint32_t(Long(file, r.pos - 4)));
    }
    out.sections["Rooms"] = {at, out.numRooms, r.pos - at - 4};
    WalkNewerSections(r, true);
    if (samplesAt < r.pos || samplesAt > file.size())
        throw std::runtime_error("the geometry size points outside");
    // The samples are one block that runs to the end of the file.
    out.sections["Samples"] = {samplesAt, 0, file.size() - samplesAt};
    out.end = file.size();
    return out;
}
}  // namespace

std::vector<uint8_t> InflateBlockAt(const std::vector<uint8_t>& file, size_t offset, size_t& next) {
    const size_t packed = uint32_t(Long(file, offset + 4));
    next = offset + 8 + packed;
    std::vector<uint8_t> out(uint32_t(Long(file, offset)) + size_t(1024));
    uLongf len = out.size();
    if (next > file.size() || uncompress(out.data(), &len, file.data() + offset + 8, packed) != Z_OK)
        throw std::runtime_error("bad zlib block");
    out.resize(len);
    return out;
}

std::vector<uint8_t> WithGeometry(const std::vector<uint8_t>& source, const std::vector<uint8_t>& geometry) {
    const WalkedSection g = WalkTr4Source(source)["Geometry"];
    ByteWriter out;
    out.Bytes({source.begin(), source.begin() + long(g.offset)}).Block(geometry);
    return out.Bytes({source.begin() + long(g.offset + 8 + g.bytes), source.end()}).bytes;
}

WalkedLevel WalkLevel(const std::vector<uint8_t>& file, WalkFormat f, size_t itemSize, bool stopAfterItems) {
    if (f == WalkFormat::Tr5) return WalkTr5Level(file);
    WalkedLevel out;
    Reader r{file, out};
    const bool tr1 = f == WalkFormat::Tr1 || f == WalkFormat::Gold, tr3 = f == WalkFormat::Tr3;
    r.Walk({{"Version", 4, Fixed}});
    if (!tr1) r.Walk({{"Palette8", 768, Fixed}, {"Palette16", 1024, Fixed}});
    r.Walk({{"Tiles", tr1 ? 65536u : 65536u + 131072u}});
    WalkRooms(r, tr1 ? 8 : 12, tr1 ? 2 : tr3 ? 4 : 6, tr1 ? 18 : 24, tr1 ? 18 : 20, tr3 ? 3 : 0);
    r.Walk(Objects(32, 18));
    if (!tr3) r.Walk({{"ObjectTextures", 20}});
    r.Walk({{"SpriteTextures", 16}, {"SpriteSequences", 8}});
    if (f == WalkFormat::Gold) r.Walk({{"GoldPalette", 768, Fixed}});
    r.Walk({{"Cameras", 16}, {"SoundSources", 16}});
    r.Walk(Boxes(tr1 ? 20 : 8, tr1 ? 12 : 20));
    if (tr3) r.Walk({{"ObjectTextures", 20}});
    r.Walk({{"Items", itemSize}});
    out.end = r.pos;
    if (stopAfterItems) return out;
    r.Walk({{"ColourMap", 8192, Fixed}});
    if (f == WalkFormat::Tr1) r.Walk({{"Tr1Palette", 768, Fixed}});
    r.Walk({{"CinematicFrames", 16, Short}, {"DemoData", 1, Short}, {"SoundMap", tr1 ? 512u : 740u, Fixed},
            {"SoundDetails", 8}});
    if (tr1) r.Walk({{"Samples", 1}});
    r.Walk({{"SampleIndices", 4}});
    out.end = r.pos;
    return out;
}

WalkedLevel WalkTr4Source(const std::vector<uint8_t>& file) {
    WalkedLevel out;
    Reader r{file, out};
    r.Walk({{"Version", 4, Fixed}, {"TileCounts", 6, Fixed}});
    r.Walk({{"Texture32", 1, Packed}, {"Texture16", 1, Packed}, {"TextureMisc", 1, Packed},
            {"Geometry", 1, Packed}});
    size_t next = 0;
    out.inflated = InflateBlockAt(file, out["Geometry"].offset, next);
    // The samples: a count, then each as UncompressedSize, CompressedSize and its bytes.
    for (uint32_t i = 0, n = r.U(4); i < n; ++i) r.Walk({{"LastSample", 1, Packed}});
    out.end = r.pos;

    Reader q{out.inflated, out};
    WalkRooms(q, 12, 4, 46, 20, 3);
    WalkNewerSections(q, false);
    // What follows the last section; the real source ends on six zero bytes.
    q.Walk({{"GeometryTail", out.inflated.size() - q.pos, Fixed}});
    return out;
}
