#include "Tr4Mutator.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace fuzz {

uint32_t Get32(const Bytes& b, size_t at) {
    return b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) | (static_cast<uint32_t>(b[at + 3]) << 24);
}
void Put32(Bytes& b, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) b[at + i] = static_cast<uint8_t>(v >> (8 * i));
}

namespace {
constexpr size_t MaxRawGrowth = 48u << 10;

uint32_t GetN(const Bytes& b, size_t at, int width) {
    if (width == 1) return b[at];
    if (width == 2) return b[at] | (b[at + 1] << 8);
    return Get32(b, at);
}
void PutN(Bytes& b, size_t at, int width, uint32_t v) {
    for (int i = 0; i < width; ++i) b[at + i] = static_cast<uint8_t>(v >> (8 * i));
}

Bytes Compress(const Bytes& raw, int level) {
    uLongf size = compressBound(static_cast<uLong>(raw.size()));
    Bytes out(size);
    if (compress2(out.data(), &size, raw.data(), static_cast<uLong>(raw.size()), level) != Z_OK) return {};
    out.resize(size);
    return out;
}

// As much as the stream inflates to; a broken stream gives what came out before the break.
Bytes Inflate(const uint8_t* data, size_t size, size_t expected) {
    Bytes out;
    z_stream zs {};
    if (inflateInit(&zs) != Z_OK) return out;
    zs.next_in = const_cast<Bytef*>(data);
    zs.avail_in = static_cast<uInt>(size);
    // The size word says how large the block is, unless a mutation changed it: then it is
    // only trusted up to 64 times the stream (geometry deflates far less), and the buffer
    // doubles as needed. Clearing megabytes that the stream never fills slowed every mutation.
    out.resize(std::clamp<size_t>(expected, 1024, std::clamp<size_t>(64 * size, 1024, 8u << 20)));
    for (;;) {
        if (zs.total_out == out.size()) {
            if (out.size() >= (64u << 20)) break;
            out.resize(out.size() * 2);
        }
        zs.next_out = out.data() + zs.total_out;
        zs.avail_out = static_cast<uInt>(out.size() - zs.total_out);
        int rc = inflate(&zs, Z_NO_FLUSH);
        if (rc != Z_OK) break;
        if (zs.avail_out != 0 && zs.avail_in == 0) break;
    }
    out.resize(zs.total_out);
    inflateEnd(&zs);
    return out;
}

// ---- The walk of an inflated geometry block ------------------------------------------------

// A counted run of equal elements.
struct Run {
    size_t countAt;   // where the count stands (for the zones: the box count)
    int countWidth;   // 2 or 4
    size_t dataAt;
    size_t elemSize;
    size_t count;     // elements that the block holds in full
    int section;      // section number (behind the rooms), or -1 inside a room
    int linked = -1;  // the zones' run for the boxes
    bool ownCount = true;
};
// A field that names something else, or a coordinate.
struct Field {
    size_t at;
    int width;
};
// A self-contained piece: a room, or a section with its count.
struct Piece {
    size_t begin, end;
    int kind;  // section number, or RoomPiece
};
constexpr int RoomPiece = 1000;
// A room's sector grid.
struct Grid {
    size_t nzAt;  // nx stands behind it
    size_t sectorsAt;
    size_t count;
};

struct Walk {
    std::vector<Run> runs;
    std::vector<Field> fields;
    std::vector<size_t> markers;
    std::vector<Piece> pieces;
    std::vector<Grid> grids;
    bool haveRoomCount = false;
    size_t roomsBegin = 6, roomsEnd = 6;
};

struct Section {
    int width;      // count width; 0: the zones (no count, the box count)
    size_t elemSize;
    std::vector<int> refs;  // offsets of 2-byte fields worth aiming at
};
// Behind the rooms: floor data, meshes, animations, objects, "SPR", sprites, cameras, sound
// sources, boxes, overlaps, zones, animated textures, the UV byte, "TEX", object textures,
// items, AI objects, demo data, the sound map, sound details, sample indices.
const Section Sections[] = {
    {4, 2, {0}},             // 0 floor data
    {4, 2, {}},              // 1 mesh data
    {4, 4, {}},              // 2 mesh pointers
    {4, 40, {4, 6, 24, 26}}, // 3 animations: frame rate and size, frame start and end
    {4, 6, {2, 4}},          // 4 state changes
    {4, 8, {4}},             // 5 dispatches
    {4, 2, {}},              // 6 commands
    {4, 4, {}},              // 7 mesh trees
    {4, 2, {}},              // 8 frames
    {4, 18, {4, 6}},         // 9 moveables: meshes, first mesh
    {4, 32, {4}},            // 10 static meshes: mesh
    {-1, 0, {}},             // 11 "SPR"
    {4, 16, {0}},            // 12 sprite textures: tile
    {4, 8, {4, 6}},          // 13 sprite sequences
    {4, 16, {12}},           // 14 cameras: room
    {4, 40, {24, 26, 30}},   // 15 flyby cameras
    {4, 16, {12}},           // 16 sound sources
    {4, 8, {4, 6}},          // 17 boxes: floor, overlap index
    {4, 2, {0}},             // 18 overlaps
    {0, 20, {0, 10}},        // 19 zones
    {4, 2, {0, 2}},          // 20 animated textures
    {-2, 1, {}},             // 21 UV byte
    {-1, 0, {}},             // 22 "TEX"
    {4, 38, {0, 2, 4}},      // 23 object textures: attribute, tile, middle word
    {4, 24, {0, 2}},         // 24 items: object, room
    {4, 24, {0, 2}},         // 25 AI objects
    {2, 2, {}},              // 26 demo data
    {-3, 740, {}},           // 27 sound map
    {4, 8, {0}},             // 28 sound details
    {4, 4, {}},              // 29 sample indices
};

class Walker {
public:
    explicit Walker(const Bytes& g) : g_(g) {}

    Walk Go() {
        if (!Need(6)) return std::move(w_);
        pos_ = 4;
        const size_t countAt = pos_;
        const int16_t rooms = Word();
        w_.haveRoomCount = true;
        w_.roomsBegin = pos_;
        for (int r = 0; r < rooms; ++r) {
            const size_t begin = pos_;
            if (!RoomFields()) return std::move(w_);
            w_.pieces.push_back({begin, pos_, RoomPiece});
        }
        w_.roomsEnd = pos_;
        w_.pieces.push_back({countAt, pos_, RoomPiece + 1});
        SectionsBehindRooms();
        return std::move(w_);
    }

private:
    bool Need(size_t n) const { return pos_ <= g_.size() && g_.size() - pos_ >= n; }
    int16_t Word() {
        int16_t v = static_cast<int16_t>(g_[pos_] | (g_[pos_ + 1] << 8));
        pos_ += 2;
        return v;
    }
    void AddField(size_t at, int width) {
        if (at + width <= g_.size()) w_.fields.push_back({at, width});
    }
    // Fields of up to 8 elements of a run, spread over it.
    void AddFields(const Run& run, std::initializer_list<std::pair<int, int>> fields) {
        if (run.count == 0) return;
        const size_t step = std::max<size_t>(1, run.count / 8);
        for (size_t e = 0; e < run.count; e += step)
            for (auto [offset, width] : fields) AddField(run.dataAt + e * run.elemSize + offset, width);
    }
    // A count of the given width and the elements behind it; false when the block ends inside
    // or the count is negative.
    bool CountedRun(int width, size_t elemSize, int section, Run* out = nullptr) {
        if (!Need(static_cast<size_t>(width))) return false;
        const size_t countAt = pos_;
        const int64_t count = width == 2 ? static_cast<int64_t>(Word())
                                         : static_cast<int64_t>(static_cast<int32_t>(Get32(g_, pos_)));
        if (width == 4) pos_ += 4;
        Run run {countAt, width, pos_, elemSize, 0, section};
        if (count < 0) {
            w_.runs.push_back(run);
            return false;
        }
        const size_t whole = (g_.size() - pos_) / elemSize;
        run.count = std::min<size_t>(static_cast<size_t>(count), whole);
        w_.runs.push_back(run);
        if (out) *out = run;
        if (static_cast<size_t>(count) > whole) return false;
        pos_ += run.count * elemSize;
        return true;
    }

    bool RoomFields() {
        if (!Need(20)) return false;
        for (int i = 0; i < 4; ++i) AddField(pos_ + 4 * i, 4);  // position and heights
        pos_ += 20;
        Run run {};
        if (!CountedRun(2, 12, -1, &run)) return false;  // vertices
        AddFields(run, {{0, 2}, {2, 2}, {4, 2}});
        if (!CountedRun(2, 10, -1, &run)) return false;  // quads
        AddFields(run, {{0, 2}, {6, 2}, {8, 2}});
        if (!CountedRun(2, 8, -1, &run)) return false;  // triangles
        AddFields(run, {{0, 2}, {4, 2}, {6, 2}});
        if (!CountedRun(2, 4, -1, &run)) return false;  // sprites
        AddFields(run, {{0, 2}, {2, 2}});
        if (!CountedRun(2, 32, -1, &run)) return false;  // portals
        AddFields(run, {{0, 2}, {2, 2}});
        if (!Need(4)) return false;
        const size_t nzAt = pos_;
        AddField(nzAt, 2);
        AddField(nzAt + 2, 2);
        const int16_t nz = Word(), nx = Word();
        if (nz < 0 || nx < 0) return false;
        const size_t sectors = static_cast<size_t>(nz) * static_cast<size_t>(nx);
        if (!Need(sectors * 8)) return false;
        w_.grids.push_back({nzAt, pos_, sectors});
        Run grid {nzAt, 2, pos_, 8, sectors, -1};
        AddFields(grid, {{0, 2}, {2, 2}, {4, 1}, {5, 1}, {6, 1}});
        pos_ += sectors * 8;
        if (!Need(4)) return false;
        pos_ += 4;  // ambient colour
        if (!CountedRun(2, 46, -1, &run)) return false;  // lights
        AddFields(run, {{15, 1}, {16, 2}});
        if (!CountedRun(2, 20, -1, &run)) return false;  // static meshes
        AddFields(run, {{12, 2}, {18, 2}});
        if (!Need(7)) return false;
        AddField(pos_, 2);      // alternate room
        AddField(pos_ + 2, 2);  // flags
        AddField(pos_ + 4, 1);
        pos_ += 7;
        return true;
    }

    void SectionsBehindRooms() {
        int boxesRun = -1;
        size_t boxCount = 0;
        size_t boxesBegin = 0;
        for (int s = 0; s < static_cast<int>(std::size(Sections)); ++s) {
            const Section& sec = Sections[s];
            const size_t begin = pos_;
            if (sec.width == -1) {  // marker
                if (!Need(3)) return;
                w_.markers.push_back(pos_);
                pos_ += 3;
                continue;
            }
            if (sec.width == -2 || sec.width == -3) {  // fixed bytes
                if (!Need(sec.elemSize)) return;
                if (sec.width == -3) {  // the sound map: its first and last entries
                    AddField(pos_, 2);
                    AddField(pos_ + sec.elemSize - 2, 2);
                }
                pos_ += sec.elemSize;
                continue;
            }
            if (sec.width == 0) {  // zones: one record per box
                if (boxesRun < 0 || !Need(boxCount * sec.elemSize)) return;
                Run zones {w_.runs[static_cast<size_t>(boxesRun)].countAt, 4, pos_, sec.elemSize, boxCount, s};
                zones.ownCount = false;
                w_.runs.push_back(zones);
                w_.runs[static_cast<size_t>(boxesRun)].linked = static_cast<int>(w_.runs.size() - 1);
                pos_ += boxCount * sec.elemSize;
                w_.pieces.push_back({boxesBegin, pos_, 17});
                continue;
            }
            Run run {};
            const bool whole = CountedRun(sec.width, sec.elemSize, s, &run);
            if (!whole) return;
            if (!sec.refs.empty()) {
                const size_t step = std::max<size_t>(1, run.count / 8);
                for (size_t e = 0; e < run.count; e += step)
                    for (int offset : sec.refs) AddField(run.dataAt + e * run.elemSize + offset, 2);
            }
            if (s == 17) {
                boxesRun = static_cast<int>(w_.runs.size() - 1);
                boxCount = run.count;
                boxesBegin = begin;
            } else {
                w_.pieces.push_back({begin, pos_, s});
            }
        }
    }

    const Bytes& g_;
    size_t pos_ = 0;
    Walk w_;
};

// ---- Mutations of the inflated block ---------------------------------------------------------

size_t Pick(std::minstd_rand& rng, size_t n) { return n ? rng() % n : 0; }

uint32_t EdgeValue(std::minstd_rand& rng, int width, uint32_t current) {
    switch (rng() % 10) {
        case 0: return 0;
        case 1: return 1;
        case 2: return 0xFFFFFFFFu;  // -1 in every width
        case 3: return width == 1 ? 0x7F : width == 2 ? 0x7FFF : 0x7FFFFFFF;
        case 4: return width == 1 ? 0x80 : width == 2 ? 0x8000 : 0x80000000u;
        case 5: return current + 1;
        case 6: return current - 1;
        case 7: return current * 2 + (rng() % 2);
        case 8: return width == 4 ? (rng() % 2 ? 0x10000u : 0x8000u) : 0xFF + (rng() % 3);
        default: return static_cast<uint32_t>(rng() % 300);
    }
}

void SetCount(Bytes& g, const Walk& w, std::minstd_rand& rng) {
    std::vector<const Run*> counted;
    for (auto& r : w.runs)
        if (r.ownCount) counted.push_back(&r);
    if (counted.empty()) return;
    const Run& r = *counted[Pick(rng, counted.size())];
    PutN(g, r.countAt, r.countWidth, EdgeValue(rng, r.countWidth, GetN(g, r.countAt, r.countWidth)));
}

// Adds (delta > 0) or removes elements at the end of a run's data: copies of its elements, or
// zeros when it has none.
void ResizeRunData(Bytes& g, const Run& r, long delta, std::minstd_rand& rng) {
    if (delta < 0) {
        const size_t remove = std::min(r.count, static_cast<size_t>(-delta));
        const size_t from = r.dataAt + Pick(rng, r.count - remove + 1) * r.elemSize;
        g.erase(g.begin() + static_cast<long>(from), g.begin() + static_cast<long>(from + remove * r.elemSize));
        return;
    }
    Bytes add;
    for (long i = 0; i < delta; ++i) {
        if (r.count) {
            const size_t e = r.dataAt + Pick(rng, r.count) * r.elemSize;
            add.insert(add.end(), g.begin() + static_cast<long>(e), g.begin() + static_cast<long>(e + r.elemSize));
        } else {
            add.insert(add.end(), r.elemSize, 0);
        }
    }
    const size_t at = r.dataAt + Pick(rng, r.count + 1) * r.elemSize;
    g.insert(g.begin() + static_cast<long>(at), add.begin(), add.end());
}

bool Resize(Bytes& g, const Walk& w, std::minstd_rand& rng, size_t budget) {
    std::vector<const Run*> runs;
    for (auto& r : w.runs)
        if (r.ownCount) runs.push_back(&r);
    const size_t choices = runs.size() + w.grids.size() + (w.haveRoomCount ? 1 : 0);
    if (!choices) return false;
    size_t c = Pick(rng, choices);
    if (c < runs.size()) {
        const Run& r = *runs[c];
        long delta = rng() % 3 == 0 ? -static_cast<long>(1 + rng() % 4) : static_cast<long>(1 + rng() % 4);
        if (rng() % 8 == 0) delta = -static_cast<long>(r.count);  // empty it
        if (delta < 0 && r.count == 0) delta = 1;
        if (delta < 0) delta = -static_cast<long>(std::min<size_t>(r.count, static_cast<size_t>(-delta)));
        const Run* zones = r.linked >= 0 ? &w.runs[static_cast<size_t>(r.linked)] : nullptr;
        const size_t grow = static_cast<size_t>(std::max(delta, 0L)) * (r.elemSize + (zones ? zones->elemSize : 0));
        if (grow > budget) return false;
        const uint32_t count = GetN(g, r.countAt, r.countWidth);
        const int64_t next = static_cast<int64_t>(r.countWidth == 2 ? static_cast<int16_t>(count)
                                                                     : static_cast<int32_t>(count)) + delta;
        if (next < 0 || (r.countWidth == 2 && next > 0x7FFF)) return false;
        if (zones && zones->count == r.count) ResizeRunData(g, *zones, delta, rng);  // behind the boxes
        ResizeRunData(g, r, delta, rng);
        PutN(g, r.countAt, r.countWidth, static_cast<uint32_t>(next));
        return true;
    }
    c -= runs.size();
    if (c < w.grids.size()) {
        // One more or one less row or column of sectors, the grid's bytes following.
        const Grid& grid = w.grids[c];
        const size_t at = grid.nzAt + (rng() % 2 ? 2 : 0);
        int16_t nz = static_cast<int16_t>(GetN(g, grid.nzAt, 2)), nx = static_cast<int16_t>(GetN(g, grid.nzAt + 2, 2));
        int16_t& dim = at == grid.nzAt ? nz : nx;
        const int step = rng() % 2 ? 1 : -1;
        if ((step < 0 && dim == 0) || (step > 0 && dim == 0x7FFF)) return false;
        dim = static_cast<int16_t>(dim + step);
        const size_t next = static_cast<size_t>(nz) * static_cast<size_t>(nx);
        if (next > grid.count && (next - grid.count) * 8 > budget) return false;
        Run sectors {grid.nzAt, 2, grid.sectorsAt, 8, grid.count, -1};
        ResizeRunData(g, sectors, static_cast<long>(next) - static_cast<long>(grid.count), rng);
        PutN(g, grid.nzAt, 2, static_cast<uint16_t>(nz));
        PutN(g, grid.nzAt + 2, 2, static_cast<uint16_t>(nx));
        return true;
    }
    // A room more (a copy of one) or a room less.
    std::vector<const Piece*> rooms;
    for (auto& p : w.pieces)
        if (p.kind == RoomPiece) rooms.push_back(&p);
    const int16_t count = static_cast<int16_t>(GetN(g, 4, 2));
    if (!rooms.empty() && rng() % 3 == 0) {
        const Piece& p = *rooms[Pick(rng, rooms.size())];
        g.erase(g.begin() + static_cast<long>(p.begin), g.begin() + static_cast<long>(p.end));
        PutN(g, 4, 2, static_cast<uint16_t>(count - 1));
        return true;
    }
    if (rooms.empty() || count == 0x7FFF) return false;
    const Piece& p = *rooms[Pick(rng, rooms.size())];
    if (p.end - p.begin > budget) return false;
    Bytes copy(g.begin() + static_cast<long>(p.begin), g.begin() + static_cast<long>(p.end));
    const size_t at = rooms[Pick(rng, rooms.size())]->begin;
    g.insert(g.begin() + static_cast<long>(at), copy.begin(), copy.end());
    PutN(g, 4, 2, static_cast<uint16_t>(count + 1));
    return true;
}

void SetField(Bytes& g, const Walk& w, std::minstd_rand& rng) {
    if (w.fields.empty()) return;
    const Field& f = w.fields[Pick(rng, w.fields.size())];
    const uint32_t current = GetN(g, f.at, f.width);
    uint32_t v = EdgeValue(rng, f.width, current);
    if (rng() % 4 == 0) v = current ^ (f.width == 1 ? 0x80u : f.width == 2 ? 0x8000u : 0x80000000u);  // top bit
    PutN(g, f.at, f.width, v);
}

void DamageMarker(Bytes& g, const Walk& w, std::minstd_rand& rng) {
    if (w.markers.empty()) return;
    const size_t at = w.markers[Pick(rng, w.markers.size())];
    switch (rng() % 3) {
        case 0: g[at + rng() % 3] ^= static_cast<uint8_t>(1 + rng() % 255); break;
        case 1: std::memcpy(&g[at], rng() % 2 ? "SPR" : "TEX", 3); break;
        default: g.erase(g.begin() + static_cast<long>(at)); break;  // one byte short
    }
}

// libFuzzer's mutation on up to 64 bytes around a walked place (or anywhere).
void MutateWindow(Bytes& g, const Walk& w, std::minstd_rand& rng) {
    if (g.empty()) return;
    size_t at = Pick(rng, g.size());
    if (!w.fields.empty() && rng() % 2) at = w.fields[Pick(rng, w.fields.size())].at;
    const size_t len = std::min<size_t>(1 + rng() % 64, g.size() - at);
    Bytes window(g.begin() + static_cast<long>(at), g.begin() + static_cast<long>(at + len));
    PlainMutate(window, len + 16);
    g.erase(g.begin() + static_cast<long>(at), g.begin() + static_cast<long>(at + len));
    g.insert(g.begin() + static_cast<long>(at), window.begin(), window.end());
}

// The geometry of a level: its raw bytes, and where its block stands.
struct Opened {
    size_t at = 0;      // geometry size words
    size_t streamEnd = 0;
    Bytes raw;
};
bool Open(const Bytes& file, bool rawGeometry, Opened& o) {
    o.at = GeometryBlockAt(file);
    if (!o.at) return false;
    const size_t len = std::min<size_t>(Get32(file, o.at + 4), file.size() - o.at - 8);
    o.streamEnd = o.at + 8 + len;
    const uint8_t* stream = file.data() + o.at + 8;
    if (rawGeometry)
        o.raw.assign(stream, stream + len);
    else
        o.raw = Inflate(stream, len, Get32(file, o.at));
    return true;
}
// The file with new geometry, deflated unless stored raw.
Bytes Close(const Bytes& file, const Opened& o, const Bytes& raw, bool rawGeometry) {
    const Bytes stream = rawGeometry ? raw : Compress(raw, 1);
    Bytes out(file.begin(), file.begin() + static_cast<long>(o.at + 8));
    Put32(out, o.at, static_cast<uint32_t>(raw.size()));
    Put32(out, o.at + 4, static_cast<uint32_t>(stream.size()));
    out.insert(out.end(), stream.begin(), stream.end());
    out.insert(out.end(), file.begin() + static_cast<long>(o.streamEnd), file.end());
    return out;
}

// Edge values in the outer file: tile counts, the size words of the blocks.
void MutateOuter(Bytes& file, size_t geometryAt, std::minstd_rand& rng) {
    std::vector<Field> fields {{4, 2}, {6, 2}, {8, 2}, {geometryAt, 4}};
    size_t pos = 10;
    for (int i = 0; i < 3 && pos + 8 <= file.size(); ++i) {
        fields.push_back({pos, 4});
        fields.push_back({pos + 4, 4});
        pos += 8 + std::min<size_t>(Get32(file, pos + 4), file.size() - pos - 8);
    }
    const Field& f = fields[Pick(rng, fields.size())];
    uint32_t v = EdgeValue(rng, f.width, GetN(file, f.at, f.width));
    if (f.at == geometryAt && rng() % 2) v = GetN(file, f.at, 4) + static_cast<uint32_t>(rng() % 64) - 32;
    PutN(file, f.at, f.width, v);
}
}  // namespace

size_t GeometryBlockAt(const Bytes& f) {
    size_t pos = 10;
    for (int i = 0; i < 3; ++i) {
        if (pos + 8 > f.size()) return 0;
        uint32_t c = Get32(f, pos + 4);
        if (c > f.size() - pos - 8) return 0;
        pos += 8 + c;
    }
    return pos + 8 <= f.size() ? pos : 0;
}

Bytes DeflateGeometry(const Bytes& file, int level) {
    Opened o;
    if (!Open(file, true, o)) return file;
    Bytes out = Close(file, o, Compress(o.raw, level), true);
    Put32(out, o.at, Get32(file, o.at));  // the size word as it stood
    return out;
}

Bytes InflateGeometry(const Bytes& file) {
    Opened o;
    if (!Open(file, false, o)) return file;
    return Close(file, o, o.raw, true);
}

void PlainMutate(Bytes& bytes, size_t maxSize) {
    const size_t size = bytes.size();
    if (maxSize < size) maxSize = size;
    bytes.resize(std::max<size_t>(maxSize, 1));
    bytes.resize(LLVMFuzzerMutate(bytes.data(), size, maxSize));
}

bool MutateTr4Level(Bytes& file, size_t maxSize, bool rawGeometry, std::minstd_rand& rng) {
    Opened o;
    if (!Open(file, rawGeometry, o)) return false;
    Bytes g = o.raw;
    // Added elements stop where the inflated block would pass MaxRawGrowth: copies of rooms
    // deflate to almost nothing, and a level of a hundred rooms converts a hundred times slower
    // without testing much more.
    const size_t budget = g.size() < MaxRawGrowth ? MaxRawGrowth - g.size() : 0;
    const int rounds = 1 + static_cast<int>(rng() % 3);
    for (int i = 0; i < rounds; ++i) {
        const Walk w = Walker(g).Go();
        switch (rng() % 16) {
            case 0: case 1: case 2: case 3: SetCount(g, w, rng); break;
            case 4: case 5: case 6: case 7:
                if (!Resize(g, w, rng, budget)) SetField(g, w, rng);
                break;
            case 8: case 9: case 10: SetField(g, w, rng); break;
            case 11: DamageMarker(g, w, rng); break;
            default: MutateWindow(g, w, rng); break;
        }
    }
    Bytes out = Close(file, o, g, rawGeometry);
    if (rng() % 10 == 0) MutateOuter(out, o.at, rng);
    if (out.size() > maxSize) return false;
    file = std::move(out);
    return true;
}

bool CrossOverTr4Levels(const Bytes& a, const Bytes& b, Bytes& out, size_t maxSize, bool rawGeometry,
                        std::minstd_rand& rng) {
    Opened oa, ob;
    if (!Open(a, rawGeometry, oa) || !Open(b, rawGeometry, ob)) return false;
    const Walk wa = Walker(oa.raw).Go(), wb = Walker(ob.raw).Go();
    if (wa.pieces.empty() || wb.pieces.empty()) return false;
    const Piece& from = wb.pieces[Pick(rng, wb.pieces.size())];
    const Bytes piece(ob.raw.begin() + static_cast<long>(from.begin), ob.raw.begin() + static_cast<long>(from.end));
    Bytes g = oa.raw;
    std::vector<const Piece*> same;
    for (auto& p : wa.pieces)
        if (p.kind == from.kind) same.push_back(&p);
    if (from.kind == RoomPiece && wa.haveRoomCount && (same.empty() || rng() % 2)) {
        // A room of b added to a's rooms.
        const int16_t count = static_cast<int16_t>(GetN(g, 4, 2));
        if (count == 0x7FFF) return false;
        g.insert(g.begin() + static_cast<long>(wa.roomsEnd), piece.begin(), piece.end());
        PutN(g, 4, 2, static_cast<uint16_t>(count + 1));
    } else {
        if (same.empty()) return false;
        const Piece& to = *same[Pick(rng, same.size())];
        g.erase(g.begin() + static_cast<long>(to.begin), g.begin() + static_cast<long>(to.end));
        g.insert(g.begin() + static_cast<long>(to.begin), piece.begin(), piece.end());
    }
    out = Close(a, oa, g, rawGeometry);
    return out.size() <= maxSize;
}

}  // namespace fuzz
