#include "inspection/LevelWalker.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

#include "core/LittleEndian.h"

const WalkedSection* WalkedLevel::Find(const std::string& name) const {
    for (const WalkedSection& s : sections)
        if (s.name == name) return &s;
    return nullptr;
}

const WalkedSection& WalkedLevel::operator[](const std::string& name) const {
    if (const WalkedSection* s = Find(name)) return *s;
    throw std::out_of_range("the walk has no section " + name);
}

namespace {
// Thrown inside a walk at its first problem, which is already recorded; caught where it began.
struct Stop {};

constexpr uint64_t Tile32Bytes = 262144, Tile16Bytes = 131072;
// No level comes near this; a size word beyond it is taken as damage, not inflated.
constexpr uint64_t MaxInflatedBytes = 512ull << 20;
constexpr size_t Tr5RoomHeaderBytes = 216, Tr5LayerBytes = 56, Tr5VertexBytes = 28;

// One section: a 32-bit count (Long32) or 16-bit count (Short) and count elements of `size`
// bytes; `size` plain bytes (Fixed); `size` bytes per box (Zones); or a packed block (Packed:
// UncompressedSize, then CompressedSize as the count of bytes).
enum Kind { Long32, Short, Fixed, Zones, Packed };
struct Step {
    const char* name;
    size_t size;
    Kind kind = Long32;
};
using Steps = std::vector<Step>;

std::string Num(uint64_t v) { return std::to_string(v); }

std::string Hex(uint32_t v) {
    static const char digits[] = "0123456789ABCDEF";
    std::string s = "0x";
    for (int shift = 28; shift >= 0; shift -= 4) s += digits[(v >> shift) & 15];
    return s;
}

// Bytes a zlib stream inflates to, counted in a small buffer and not kept. Counting stops once
// more than `limit` came out. -1 when the stream is damaged or ends early.
int64_t InflatedSize(std::span<const uint8_t> packed, uint64_t limit) {
    z_stream z {};
    if (inflateInit(&z) != Z_OK) return -1;
    std::vector<uint8_t> scratch(1 << 16);
    z.next_in = const_cast<Bytef*>(packed.data());
    z.avail_in = static_cast<uInt>(packed.size());
    uint64_t total = 0;
    int rc = Z_OK;
    while (rc == Z_OK && total <= limit) {
        z.next_out = scratch.data();
        z.avail_out = static_cast<uInt>(scratch.size());
        rc = inflate(&z, Z_NO_FLUSH);
        total += scratch.size() - z.avail_out;
    }
    inflateEnd(&z);
    if (rc == Z_STREAM_END || (rc == Z_OK && total > limit)) return static_cast<int64_t>(total);
    return -1;
}

struct Reader {
    std::span<const uint8_t> b;
    WalkedLevel& out;
    WalkOptions options;
    bool geometry = false;  // walking a TR4 source's inflated geometry block
    size_t pos = 0;

    [[noreturn]] void Fail(const std::string& problem) {
        out.problem = problem;
        throw Stop {};
    }
    std::string Where(const std::string& name, size_t at) const {
        return name + " at " + Num(at) + (geometry ? " of the inflated geometry" : "");
    }
    size_t Left() const { return b.size() - pos; }
    uint16_t U16At(size_t at) const { return LoadU16(&b[at]); }
    uint32_t U32At(size_t at) const { return LoadU32(&b[at]); }

    // Moves over n bytes of the part `name` that began at `at`.
    void Take(uint64_t n, const std::string& name, size_t at) {
        if (n > Left()) Fail(Where(name, at) + ": needs " + Num(n) + " bytes, " + Num(Left()) + " are left");
        pos += static_cast<size_t>(n);
    }
    // An unsigned word (2) or long (4).
    uint32_t U(size_t width, const std::string& name, size_t at) {
        Take(width, name, at);
        return width == 2 ? U16At(pos - 2) : U32At(pos - 4);
    }
    // `count` records of `size` bytes behind a count word.
    void TakeRecords(uint64_t count, uint64_t size, const std::string& name, size_t at) {
        if (count * size > Left())
            Fail(Where(name, at) + ": " + Num(count) + " records of " + Num(size) + " bytes run past the end (" +
                 Num(Left()) + " bytes left)");
        pos += static_cast<size_t>(count * size);
    }
    int64_t SignedCount(const std::string& name, size_t at) {
        const auto count = static_cast<int32_t>(U(4, name, at));
        if (count < 0) Fail(Where(name, at) + ": negative count " + std::to_string(count));
        return count;
    }
    const WalkedSection& Add(const std::string& name, size_t at, int64_t count, size_t head) {
        out.sections.push_back({name, at, count, pos - at - head, head, geometry});
        if (!geometry) out.end = pos;
        return out.sections.back();
    }

    const WalkedSection& Walk(const Step& s) {
        const size_t at = pos;
        switch (s.kind) {
            case Fixed:
                Take(s.size, s.name, at);
                return Add(s.name, at, 0, 0);
            case Short: {
                const uint32_t count = U(2, s.name, at);
                TakeRecords(count, s.size, s.name, at);
                return Add(s.name, at, count, 2);
            }
            case Zones: {
                const WalkedSection* boxes = out.Find("Boxes");
                TakeRecords(boxes ? static_cast<uint64_t>(boxes->count) : 0, s.size, s.name, at);
                return Add(s.name, at, 0, 0);
            }
            case Packed: {
                Take(4, s.name, at);
                const int64_t packed = SignedCount(s.name, at);
                Take(static_cast<uint64_t>(packed), s.name, at);
                return Add(s.name, at, packed, 8);
            }
            case Long32:
            default: {
                const int64_t count = SignedCount(s.name, at);
                TakeRecords(static_cast<uint64_t>(count), s.size, s.name, at);
                return Add(s.name, at, count, 4);
            }
        }
    }
    void Walk(const Steps& steps) {
        for (const Step& s : steps) Walk(s);
    }

    // A packed block whose stream must inflate to the size its first word gives; returns that size.
    uint64_t ZlibBlock(const char* name) {
        const WalkedSection& s = Walk(Step {name, 1, Packed});
        const uint64_t stated = U32At(s.offset);
        if (stated > MaxInflatedBytes)
            Fail(Where(name, s.offset) + ": its size word says " + Num(stated) + " bytes, more than a level holds");
        const int64_t inflated = InflatedSize(b.subspan(s.offset + 8, s.bytes), stated);
        if (inflated < 0) Fail(Where(name, s.offset) + ": the zlib stream is damaged");
        if (static_cast<uint64_t>(inflated) != stated)
            Fail(Where(name, s.offset) + ": inflates to " + (static_cast<uint64_t>(inflated) > stated ? "more than " : "") +
                 Num(std::min<uint64_t>(static_cast<uint64_t>(inflated), stated)) + " bytes, its size word says " +
                 Num(stated));
        return stated;
    }

    // Marker bytes that must hold `text` from `from` on.
    void Marker(const char* name, size_t size, const char* text, size_t from) {
        const WalkedSection& s = Walk(Step {name, size, Fixed});
        if (std::memcmp(&b[s.offset + from], text, std::strlen(text)) != 0)
            Fail(Where(name, s.offset) + ": no \"" + text + "\" label");
    }

    // Every item must stand in a room the level has.
    void CheckItemRooms(const WalkedSection& items, size_t itemSize, bool tr1) {
        if (itemSize < 4) return;  // no room word to look at
        const auto rooms = static_cast<uint32_t>(out.numRooms);
        auto firstStray = [&](size_t size) -> int64_t {
            for (int64_t k = 0; k < items.count; ++k)
                if (U16At(items.offset + 4 + static_cast<size_t>(k) * size + 2) >= rooms) return k;
            return -1;
        };
        const int64_t stray = firstStray(itemSize);
        if (stray < 0) return;
        const size_t record = items.offset + 4 + static_cast<size_t>(stray) * itemSize;
        std::string problem = Where("Items", items.offset) + ": item " + Num(static_cast<uint64_t>(stray)) +
                              " stands in room " + Num(U16At(record + 2)) + ", the level has " + Num(rooms) +
                              " rooms";
        // The converter's default layout writes 24-byte items into TR1 and Gold levels too.
        const uint64_t as24 = static_cast<uint64_t>(items.count) * 24;
        if (tr1 && itemSize == 22 && as24 <= b.size() - items.offset - 4 && firstStray(24) < 0)
            problem += "; read as 24-byte records every item stands in a room: these are items of the TR2 and "
                       "later layout, and TR1 and Gold engines read 22-byte items";
        Fail(problem);
    }
};

// Rooms of the TR1 to TR4 layouts; the element sizes and the trailing bytes differ per format.
struct ClassicRoomLayout {
    size_t vertex, ambient, light, staticMesh, trailing;
};

void WalkClassicRooms(Reader& r, const ClassicRoomLayout& l) {
    r.Walk(Step {"LeadWord", 4, Fixed});
    const size_t at = r.pos;
    r.out.numRooms = static_cast<int32_t>(r.U(2, "Rooms", at));
    for (int32_t i = 0; i < r.out.numRooms; ++i) {
        const size_t roomAt = r.pos;
        const std::string name = "Rooms: room " + std::to_string(i);
        WalkedRoom room {roomAt};
        r.Take(16, name, roomAt);
        const uint64_t dataBytes = uint64_t {r.U(4, name, roomAt)} * 2;
        const size_t dataStart = r.pos;
        // Vertices, quads, triangles, sprites.
        const size_t dataSizes[] = {l.vertex, 10, 8, 4};
        for (size_t k = 0; k < 4; ++k) {
            const uint32_t count = r.U(2, name, roomAt);
            if (k == 0) room.numVertices = count;
            r.Take(uint64_t {count} * dataSizes[k], name, roomAt);
        }
        if (r.pos - dataStart != dataBytes)
            r.Fail(r.Where(name, roomAt) + ": NumDataWords says " + Num(dataBytes) +
                   " bytes, its vertices, faces and sprites take " + Num(r.pos - dataStart));
        room.numPortals = r.U(2, name, roomAt);
        room.portals = r.pos;
        r.Take(uint64_t {room.numPortals} * 32, name, roomAt);
        const uint64_t zSectors = r.U(2, name, roomAt);
        const uint64_t xSectors = r.U(2, name, roomAt);
        r.Take(zSectors * xSectors * 8 + l.ambient, name, roomAt);
        r.Take(uint64_t {r.U(2, name, roomAt)} * l.light, name, roomAt);
        room.numStaticMeshes = r.U(2, name, roomAt);
        room.staticMeshes = r.pos, room.staticMeshBytes = l.staticMesh;
        r.Take(uint64_t {room.numStaticMeshes} * l.staticMesh, name, roomAt);
        r.Take(4 + l.trailing, name, roomAt);  // alternate room, flags and what the format adds
        r.out.rooms.push_back(room);
    }
    r.Add("Rooms", at, r.out.numRooms, 2);
}

// A TR5 room: the label, its size, and far enough into its body to compare VerticesSize with the
// vertices its layers hold.
void WalkTr5Room(Reader& r, int32_t index) {
    const size_t at = r.pos;
    const std::string name = "Rooms: room " + std::to_string(index);
    r.Take(8, name, at);
    if (std::memcmp(&r.b[at], "XELA", 4) != 0) r.Fail(r.Where(name, at) + ": no XELA label");
    const uint64_t roomSize = r.U32At(at + 4);
    r.Take(roomSize, name, at);
    if (roomSize < Tr5RoomHeaderBytes - 8)
        r.Fail(r.Where(name, at) + ": RoomSize " + Num(roomSize) + " is shorter than a room header");
    const size_t body = at + Tr5RoomHeaderBytes;
    const uint64_t bodyBytes = roomSize - (Tr5RoomHeaderBytes - 8);
    const uint64_t numLayers = r.U32At(at + 176), layersOffset = r.U32At(at + 180);
    const uint64_t verticesOffset = r.U32At(at + 184), verticesSize = r.U32At(at + 196);
    if (layersOffset > bodyBytes || numLayers > (bodyBytes - layersOffset) / Tr5LayerBytes)
        r.Fail(r.Where(name, at) + ": its " + Num(numLayers) + " layers run past the room's end");
    uint64_t vertices = 0;
    for (uint64_t k = 0; k < numLayers; ++k)
        vertices += r.U32At(body + static_cast<size_t>(layersOffset + k * Tr5LayerBytes));
    const uint64_t filler = r.options.verticesSizeWithFiller ? 2 : 0;
    if (verticesSize != vertices * Tr5VertexBytes + filler)
        r.Fail(r.Where(name, at) + ": VerticesSize is " + Num(verticesSize) + ", NumVertices x 28 is " +
               Num(vertices * Tr5VertexBytes) + (filler ? " (and 2 filler bytes)" : ""));
    if (verticesOffset > bodyBytes || verticesSize > bodyBytes - verticesOffset)
        r.Fail(r.Where(name, at) + ": its vertices run past the room's end");

    // The portals, where PortalsOffset leads to a count whose records lie in the room.
    WalkedRoom room {at, static_cast<uint32_t>(std::min<uint64_t>(vertices, UINT32_MAX))};
    const uint64_t portalsOffset = r.U32At(at + 12);
    if (portalsOffset + 2 <= bodyBytes) {
        const uint32_t count = r.U16At(body + static_cast<size_t>(portalsOffset));
        if (count * 32ull <= bodyBytes - portalsOffset - 2)
            room.portals = body + static_cast<size_t>(portalsOffset) + 2, room.numPortals = count;
    }
    r.out.rooms.push_back(room);
}

Steps Objects(size_t animationSize, size_t moveableSize) {
    return {{"FloorData", 2},       {"MeshData", 2},  {"MeshPointers", 4},       {"Animations", animationSize},
            {"AnimationTable6", 6}, {"AnimationTable8", 8}, {"AnimationTable2", 2}, {"MeshTrees", 4},
            {"Frames", 2},          {"Moveables", moveableSize}, {"StaticMeshes", 32}};
}

Steps Boxes(size_t boxSize, size_t zoneSize) {
    return {{"Boxes", boxSize}, {"Overlaps", 2}, {"Zones", zoneSize, Zones}, {"AnimatedTextures", 2}};
}

void WalkItems(Reader& r, size_t itemSize, bool tr1) {
    const WalkedSection& items = r.Walk(Step {"Items", itemSize});
    r.CheckItemRooms(items, itemSize, tr1);
}

// The sections from the floor data to the sample indices in the TR4 source and TR5 layouts.
void WalkNewerSections(Reader& r, bool tr5) {
    r.Walk(Objects(40, tr5 ? 20 : 18));
    r.Marker("SpriteMarker", tr5 ? 4 : 3, "SPR", 0);
    r.Walk({{"SpriteTextures", 16}, {"SpriteSequences", 8}, {"Cameras", 16}, {"FlybyCameras", 40},
            {"SoundSources", 16}});
    r.Walk(Boxes(8, 20));
    r.Marker("TextureMarker", tr5 ? 5 : 4, "TEX", 1);  // behind the UV byte
    r.Walk(Step {"ObjectTextures", tr5 ? 40u : 38u});
    WalkItems(r, 24, false);
    r.Walk({{"AiObjects", 24}, {"DemoData", tr5 ? 1u : 2u, Short}, {"SoundMap", tr5 ? 900u : 740u, Fixed},
            {"SoundDetails", 8}, {"SampleIndices", 4}});
}

// The tile counts of a TR4 or TR5 head against the sizes of the two tile blocks behind them.
void WalkTextureHead(Reader& r, bool withGeometry) {
    r.Walk({{"Version", 4, Fixed}, {"TileCounts", 6, Fixed}});
    uint64_t tiles = 0;
    for (size_t k = 0; k < 3; ++k) tiles += r.U16At(4 + 2 * k);
    const std::pair<const char*, uint64_t> blocks[] = {{"Texture32", Tile32Bytes}, {"Texture16", Tile16Bytes}};
    for (auto [name, tileBytes] : blocks) {
        const size_t at = r.pos;
        const uint64_t bytes = r.ZlibBlock(name);
        if (bytes != tiles * tileBytes)
            r.Fail(r.Where(name, at) + ": holds " + Num(bytes) + " bytes, the tile counts call for " +
                   Num(tiles) + " tiles of " + Num(tileBytes));
    }
    r.ZlibBlock("TextureMisc");
    if (withGeometry) r.ZlibBlock("Geometry");
}

// Samples of TR4 and TR5: a count, then each sample as two size words and its bytes.
void WalkSamples(Reader& r, bool counted = true) {
    const size_t at = r.pos;
    const uint32_t count = counted ? r.U(4, "Samples", at) : UINT32_MAX;
    for (uint32_t i = 0; i < count && (counted || r.Left() > 0); ++i) {
        const size_t sampleAt = r.pos;
        const std::string name = "Samples: sample " + std::to_string(i);
        r.Take(4, name, sampleAt);
        const auto bytes = static_cast<int32_t>(r.U(4, name, sampleAt));
        if (bytes < 0) r.Fail(r.Where(name, sampleAt) + ": negative size " + std::to_string(bytes));
        r.Take(static_cast<uint64_t>(bytes), name, sampleAt);
    }
    if (counted)
        r.Add("Samples", at, count, 4);
    else
        r.Add("Samples", at, 0, 0);
}

void WalkTr4(Reader& r) {
    WalkTextureHead(r, true);
    WalkSamples(r);

    const WalkedSection geometry = r.out["Geometry"];
    r.out.inflated.resize(r.U32At(geometry.offset));  // its stream was seen to inflate to this size
    uLongf length = r.out.inflated.size();
    uncompress(r.out.inflated.data(), &length, r.b.data() + geometry.offset + 8, geometry.bytes);

    Reader g {r.out.inflated, r.out, r.options, true};
    WalkClassicRooms(g, {12, 4, 46, 20, 3});
    WalkNewerSections(g, false);
    // What follows the last section in the block; the real source has six zero bytes there.
    g.Walk(Step {"GeometryTail", g.Left(), Fixed});
}

void WalkTr5(Reader& r) {
    WalkTextureHead(r, false);
    r.Walk(Step {"Flags", 32, Fixed});
    const size_t sizeAt = r.pos;
    const uint32_t geometrySize = r.U(4, "GeometrySize", sizeAt);
    if (r.U(4, "GeometrySize", sizeAt) != geometrySize) r.Fail(r.Where("GeometrySize", sizeAt) + ": the two size words differ");
    r.Add("GeometrySize", sizeAt, geometrySize, 8);
    const uint64_t samplesAt = uint64_t {r.pos} + geometrySize;

    r.Walk(Step {"LeadWord", 4, Fixed});
    const size_t at = r.pos;
    r.out.numRooms = static_cast<int32_t>(r.SignedCount("Rooms", at));
    for (int32_t i = 0; i < r.out.numRooms; ++i) WalkTr5Room(r, i);
    r.Add("Rooms", at, r.out.numRooms, 4);
    WalkNewerSections(r, true);

    // The samples stand where the geometry size points; real levels hold a few filler bytes
    // between the sample indices and that place.
    if (samplesAt < r.pos || samplesAt > r.b.size())
        r.Fail(r.Where("GeometrySize", sizeAt) + ": points at " + Num(samplesAt) + ", the sample indices end at " +
               Num(r.pos) + " and the file at " + Num(r.b.size()));
    r.Walk(Step {"GeometryPadding", static_cast<size_t>(samplesAt - r.pos), Fixed});
    WalkSamples(r, !r.options.uncountedSamples);
}

void WalkClassic(Reader& r, WalkFormat f) {
    const WalkOptions& options = r.options;
    const bool tr1 = f == WalkFormat::Tr1 || f == WalkFormat::Gold, tr3 = f == WalkFormat::Tr3;
    const bool paletteBehindColourMap =
        f == WalkFormat::Tr1 || (f == WalkFormat::Gold && options.goldPaletteBehindColourMap);
    r.Walk(Step {"Version", 4, Fixed});
    if (!tr1) r.Walk({{"Palette8", 768, Fixed}, {"Palette16", 1024, Fixed}});
    r.Walk(Step {"Tiles", tr1 ? 65536u : 65536u + 131072u});
    if (tr1)
        WalkClassicRooms(r, {8, 2, 18, 18, 0});
    else
        WalkClassicRooms(r, {12, tr3 ? 4u : 6u, 24, 20, tr3 ? 3u : 0u});
    r.Walk(Objects(32, 18));
    if (!tr3) r.Walk(Step {"ObjectTextures", 20});
    r.Walk({{"SpriteTextures", 16}, {"SpriteSequences", 8}});
    if (f == WalkFormat::Gold && !paletteBehindColourMap) r.Walk(Step {"GoldPalette", 768, Fixed});
    r.Walk({{"Cameras", 16}, {"SoundSources", 16}});
    r.Walk(Boxes(tr1 ? 20 : 8, tr1 ? 12 : 20));
    if (tr3) r.Walk(Step {"ObjectTextures", 20});
    WalkItems(r, options.itemSize != 0 ? options.itemSize : tr1 ? 22 : 24, tr1);
    if (options.stopAfterItems) return;
    r.Walk(Step {"ColourMap", 8192, Fixed});
    if (paletteBehindColourMap) r.Walk(Step {"Tr1Palette", 768, Fixed});
    r.Walk({{"CinematicFrames", 16, Short}, {"DemoData", 1, Short}, {"SoundMap", tr1 ? 512u : 740u, Fixed},
            {"SoundDetails", 8}});
    if (tr1) r.Walk(Step {"Samples", 1});
    r.Walk(Step {"SampleIndices", 4});
}

bool VersionFits(uint32_t word, WalkFormat f) {
    switch (f) {
        case WalkFormat::Tr1:
        case WalkFormat::Gold: return word == 0x20;
        case WalkFormat::Tr2: return word == 0x2D;
        case WalkFormat::Tr3: return word == 0xFF080038 || word == 0xFF180038;
        case WalkFormat::Tr4:
        case WalkFormat::Tr5: return word == 0x00345254;
        default: return false;
    }
}
}  // namespace

WalkedLevel WalkLevel(std::span<const uint8_t> file, WalkFormat format, WalkOptions options) noexcept {
    WalkedLevel out;
    out.format = format;
    try {
        out.problem.reserve(64);  // so that running out of memory can still be told below
        Reader r {file, out, options};
        const uint32_t word = r.U(4, "Version", 0);
        r.pos = 0;
        if (!VersionFits(word, format)) r.Fail("Version at 0: " + Hex(word) + " is not a version word of this format");
        if (format == WalkFormat::Tr4)
            WalkTr4(r);
        else if (format == WalkFormat::Tr5)
            WalkTr5(r);
        else
            WalkClassic(r, format);
        if (!options.stopAfterItems && out.end != file.size()) {
            std::string last;
            for (const WalkedSection& s : out.sections)
                if (!s.inGeometry) last = s.name;
            r.Fail("the file goes on for " + Num(file.size() - out.end) + " bytes behind its last section (" + last +
                   ", which ends at " + Num(out.end) + ")");
        }
    } catch (const Stop&) {
        // The problem is recorded.
    } catch (...) {
        // Only memory can run out here; the sections found so far stay.
        out.problem = "not enough memory to walk the level";
    }
    return out;
}
