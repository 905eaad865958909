#include "support/LevelWalker.h"

#include <zlib.h>

#include "support/LevelBuilder.h"
#include "support/TestFolder.h"

namespace {
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
    void Fixed(const std::string& name, size_t bytes) {
        Skip(bytes);
        Record(name, pos - bytes, 0, bytes);
    }
    // A count (32-bit, or 16-bit for wordCount) followed by count elements.
    void Counted(const std::string& name, size_t element, bool wordCount = false) {
        size_t at = pos;
        int64_t count = wordCount ? U16() : int64_t(static_cast<int32_t>(U32()));
        if (count < 0) throw std::runtime_error(name + ": negative count");
        Skip(static_cast<size_t>(count) * element);
        Record(name, at, count, static_cast<size_t>(count) * element);
    }
};

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
            throw std::runtime_error("room " + std::to_string(i) + ": NumDataWords does not match its geometry");
        r.Skip(r.U16() * 32u);  // portals
        uint16_t nz = r.U16(), nx = r.U16();
        r.Skip(size_t(nz) * nx * 8 + ambientBytes);
        r.Skip(r.U16() * lightSize);
        r.Skip(r.U16() * staticSize);
        r.Skip(4 + trailing);
    }
    r.Record("Rooms", at, r.out.numRooms, r.pos - at - 6);
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

// The head shared by the TR4 and TR5 files: version, tile counts and three texture blocks.
void WalkTextureBlocks(Reader& r) {
    r.Fixed("Version", 4);
    r.Fixed("TileCounts", 6);
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

WalkedLevel WalkLevel(const std::vector<uint8_t>& file, WalkFormat f, size_t itemSize, bool withCinematicFrames,
                      bool stopAfterItems) {
    if (f == WalkFormat::Tr5) throw std::runtime_error("use the TR5 walk");
    WalkedLevel out;
    Reader r{file, out};
    const bool tr1 = f == WalkFormat::Tr1 || f == WalkFormat::Gold;
    r.Fixed("Version", 4);
    if (!tr1) {
        r.Fixed("Palette8", 768);
        r.Fixed("Palette16", 1024);
    }
    r.Counted("Tiles", tr1 ? 65536 : 65536 + 131072);
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
    out.end = r.pos;
    if (stopAfterItems) return out;
    r.Fixed("ColourMap", 8192);
    if (f == WalkFormat::Tr1) r.Fixed("Tr1Palette", 768);
    if (withCinematicFrames) r.Counted("CinematicFrames", 16, true);
    r.Counted("DemoData", 1, true);
    r.Fixed("SoundMap", tr1 ? 512 : 740);
    r.Counted("SoundDetails", 8);
    if (tr1) r.Counted("Samples", 1);
    r.Counted("SampleIndices", 4);
    out.end = r.pos;
    return out;
}

WalkedLevel WalkTr5Level(const std::vector<uint8_t>& file) {
    WalkedLevel out;
    Reader r{file, out};
    WalkTextureBlocks(r);
    r.Fixed("Flags", 32);
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
    r.Counted("DemoData", 1, true);
    r.Fixed("SoundMap", 900);
    r.Counted("SoundDetails", 8);
    r.Counted("SampleIndices", 4);
    if (samplesAt < r.pos || samplesAt > file.size()) throw std::runtime_error("geometry size points outside");
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
    q.Counted("DemoData", 2, true);
    q.Fixed("SoundMap", 740);
    q.Counted("SoundDetails", 8);
    q.Counted("SampleIndices", 4);
    q.Fixed("GeometryTail", out.inflated.size() - q.pos);  // the real source ends on six zero bytes
    return out;
}
