#include "inspection/LevelMeasures.h"

#include "core/LittleEndian.h"

namespace {
struct Bytes {
    std::span<const uint8_t> b;
    uint32_t U16(size_t at) const { return LoadU16(&b[at]); }
    int32_t S16(size_t at) const { return static_cast<int16_t>(U16(at)); }
    uint32_t U32(size_t at) const { return LoadU32(&b[at]); }
};

// Takes `value` when it is larger than what the figure holds; `where` names its holder.
template <class Where>
void Most(Figure& f, int64_t value, Where where) {
    if (value <= f.value) return;
    f.value = value;
    f.where = where();
}

auto Room(size_t index) {
    return [index] { return "room " + std::to_string(index); };
}

void Count(LevelMeasures& m, Measure what, const WalkedLevel& level, const char* section) {
    if (const WalkedSection* s = level.Find(section)) m[what].value = s->count;
}

// A mesh of the TR1 to TR3 layouts: its centre (three words), its radius (a long), then the
// vertex count. MeshPointers hold byte offsets into MeshData.
void MeasureMeshes(LevelMeasures& m, const WalkedLevel& level, Bytes file) {
    const WalkedSection *data = level.Find("MeshData"), *pointers = level.Find("MeshPointers");
    if (!data || !pointers) return;
    Figure& vertices = m[Measure::Vertices];
    for (int64_t k = 0; k < pointers->count; ++k) {
        const uint64_t at = file.U32(pointers->offset + 4 + static_cast<size_t>(k) * 4);
        if (at + 12 > data->bytes) continue;  // a pointer outside the meshes holds no mesh an engine could draw
        Most(vertices, file.U16(data->offset + 4 + static_cast<size_t>(at) + 10),
             [k] { return "mesh " + std::to_string(k); });
    }
}
}  // namespace

LevelMeasures MeasureLevel(const WalkedLevel& level, std::span<const uint8_t> file) noexcept {
    LevelMeasures m;
    try {
        const bool classic = level.format != WalkFormat::Tr4 && level.format != WalkFormat::Tr5;
        // A TR4 source keeps its rooms and everything behind them in the inflated geometry.
        const Bytes rooms {level.format == WalkFormat::Tr4 ? std::span<const uint8_t>(level.inflated) : file};
        if (classic) Count(m, Measure::Tiles, level, "Tiles");
        Count(m, Measure::ObjectTextures, level, "ObjectTextures");
        Count(m, Measure::SpriteTextures, level, "SpriteTextures");
        Count(m, Measure::Rooms, level, "Rooms");
        Count(m, Measure::Items, level, "Items");
        Count(m, Measure::Cameras, level, "Cameras");
        Count(m, Measure::FloorDataWords, level, "FloorData");

        for (size_t i = 0; i < level.rooms.size(); ++i) {
            const WalkedRoom& r = level.rooms[i];
            Most(m[Measure::Vertices], r.numVertices, Room(i));
            // A portal whose normal points straight up or down is a hole in a floor or ceiling.
            // (A sector's RoomBelow and RoomAbove bytes can't name more than 254 by their width,
            // so the portals are what can ask for more.)
            for (size_t k = 0; k < r.numPortals; ++k) {
                const size_t at = r.portals + k * 32;
                if (rooms.S16(at + 2) == 0 && rooms.S16(at + 4) != 0 && rooms.S16(at + 6) == 0)
                    Most(m[Measure::FloorPortalRooms], rooms.U16(at), Room(i));
            }
            // The object id is the last word of a room's static mesh in every layout.
            for (size_t k = 0; k < r.numStaticMeshes; ++k)
                Most(m[Measure::StaticMeshIds], rooms.U16(r.staticMeshes + (k + 1) * r.staticMeshBytes - 2), Room(i));
        }
        if (const WalkedSection* table = level.Find("StaticMeshes")) {
            const Bytes bytes {table->inGeometry ? std::span<const uint8_t>(level.inflated) : file};
            for (int64_t k = 0; k < table->count; ++k)
                Most(m[Measure::StaticMeshIds], bytes.U32(table->offset + 4 + static_cast<size_t>(k) * 32),
                     [k] { return "entry " + std::to_string(k) + " of the StaticMeshes table"; });
        }
        if (classic) MeasureMeshes(m, level, Bytes {file});
    } catch (...) {
        // Only memory for a text can run out; the figures taken so far stay.
    }
    return m;
}
