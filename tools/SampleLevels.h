#pragma once
// Small but complete levels of our own: a TR4 source and TR1, Gold, TR2, TR3 and TR5 bases,
// with every section present and plausible content, plus a settings.dat writer. Used by the
// make_samples tool, the benchmark, the fuzz target and their tests. Output is deterministic.
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace samples {

// A growing little-endian byte buffer.
struct Bytes {
    std::vector<uint8_t> b;
    size_t Size() const { return b.size(); }
    void U8(int v) { b.push_back(static_cast<uint8_t>(v)); }
    void W(int v) {
        U8(v & 0xFF);
        U8((v >> 8) & 0xFF);
    }
    void L(long long v) {
        uint32_t u = static_cast<uint32_t>(v);
        for (int i = 0; i < 4; ++i) U8((u >> (8 * i)) & 0xFF);
    }
    void F(float v) {
        uint32_t u;
        std::memcpy(&u, &v, 4);
        L(u);
    }
    void Raw(const std::vector<uint8_t>& v) { b.insert(b.end(), v.begin(), v.end()); }
    void Raw(const Bytes& v) { Raw(v.b); }
    void Text(const char* s) {
        while (*s) U8(*s++);
    }
    void Fill(size_t n, uint8_t v = 0) { b.insert(b.end(), n, v); }
    void PatchL(size_t at, long long v) {
        uint32_t u = static_cast<uint32_t>(v);
        for (int i = 0; i < 4; ++i) b[at + i] = static_cast<uint8_t>((u >> (8 * i)) & 0xFF);
    }
};

inline std::vector<uint8_t> Deflate(const std::vector<uint8_t>& in) {
    uLongf size = compressBound(static_cast<uLong>(in.size()));
    std::vector<uint8_t> out(size);
    if (compress2(out.data(), &size, in.data(), static_cast<uLong>(in.size()), Z_DEFAULT_COMPRESSION) != Z_OK)
        throw std::runtime_error("deflate failed");
    out.resize(size);
    return out;
}

// A texture block: UncompressedSize, CompressedSize, zlib stream.
inline void TextureBlock(Bytes& out, const std::vector<uint8_t>& raw) {
    std::vector<uint8_t> z = Deflate(raw);
    out.L(static_cast<long long>(raw.size()));
    out.L(static_cast<long long>(z.size()));
    out.Raw(z);
}

// Tile pixels: a checker of 32-pixel squares in two shades of a colour that depends on the
// tile's number, so that tiles differ and still compress well.
inline uint8_t TileShade(int tile, int x, int y, int channel) {
    bool light = ((x / 32) + (y / 32)) % 2 == 0;
    int base = 40 + ((tile * 53 + channel * 71) % 150);
    return static_cast<uint8_t>(light ? base + 60 : base);
}
// rows: how many of a tile's 256 rows are made (a short block, for the small set).
inline std::vector<uint8_t> Tiles32(int count, int firstTile, int rows = 256) {
    std::vector<uint8_t> t;
    t.reserve(static_cast<size_t>(count) * rows * 1024);
    for (int n = 0; n < count; ++n)
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < 256; ++x) {
                t.push_back(TileShade(firstTile + n, x, y, 0));  // blue
                t.push_back(TileShade(firstTile + n, x, y, 1));  // green
                t.push_back(TileShade(firstTile + n, x, y, 2));  // red
                t.push_back(255);                                // alpha
            }
    return t;
}
inline std::vector<uint8_t> Tiles16(int count, int firstTile, int rows = 256) {
    std::vector<uint8_t> t;
    t.reserve(static_cast<size_t>(count) * rows * 512);
    for (int n = 0; n < count; ++n)
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < 256; ++x) {
                int r = TileShade(firstTile + n, x, y, 2) >> 3, g = TileShade(firstTile + n, x, y, 1) >> 3,
                    b = TileShade(firstTile + n, x, y, 0) >> 3;
                int v = 0x8000 | (r << 10) | (g << 5) | b;
                t.push_back(static_cast<uint8_t>(v & 0xFF));
                t.push_back(static_cast<uint8_t>(v >> 8));
            }
    return t;
}
inline std::vector<uint8_t> Tiles8(int count, int firstTile) {
    std::vector<uint8_t> t;
    t.reserve(static_cast<size_t>(count) * 65536);
    for (int n = 0; n < count; ++n)
        for (int y = 0; y < 256; ++y)
            for (int x = 0; x < 256; ++x) t.push_back(static_cast<uint8_t>(1 + (TileShade(firstTile + n, x, y, 1) % 254)));
    return t;
}
inline void Palette8(Bytes& out) {
    for (int i = 0; i < 256; ++i) {
        out.U8((i * 7) % 64);
        out.U8((i * 3) % 64);
        out.U8(i % 64);
    }
}
inline void Palette16(Bytes& out) {
    for (int i = 0; i < 256; ++i) {
        out.U8((i * 7) % 256);
        out.U8((i * 3) % 256);
        out.U8(i);
        out.U8(0);
    }
}

// ---- The place: rooms ----------------------------------------------------------------------

struct SampleVertex { int x, y, z, light; };
struct SampleQuad { int v[4]; int tex; };
struct SampleTriangle { int v[3]; int tex; };
struct SamplePortal { int adjoining; int normal[3]; int v[4][3]; };
struct SampleSector { int floorData, box, below, floor, above, ceiling; };
struct SampleLight {
    int x, y, z;
    int r, g, b, type, intensity;
    float in, out, length, cutoff, dx, dy, dz;
};
struct SampleStatic { int x, y, z, rotation, intensity1, intensity2, id; };
struct SampleRoom {
    int x, z, yBottom, yTop;
    std::vector<SampleVertex> vertices;
    std::vector<SampleQuad> quads;
    std::vector<SampleTriangle> triangles;
    std::vector<std::pair<int, int>> sprites;
    std::vector<SamplePortal> portals;
    int nz, nx;
    std::vector<SampleSector> sectors;
    int ambient1, ambient2;
    std::vector<SampleLight> lights;
    std::vector<SampleStatic> statics;
    int alternate, flags;
    int extra[3];
};

constexpr int SampleObjectTextures = 16;

// A row of rooms along X, each sharing its east wall with the next one through a portal.
// Every room has a floor and a ceiling of quads, two triangles, two lights (the first room
// has one of each type), and static meshes.
inline std::vector<SampleRoom> MakeRoomRow(int count) {
    const int perRow = 8;  // rows of eight rooms keep every box inside the 255-sector range
    auto sameRow = [&](int a, int b) { return b >= 0 && b < count && a / perRow == b / perRow; };
    std::vector<SampleRoom> rooms;
    int originX = 0;
    for (int r = 0; r < count; ++r) {
        SampleRoom room {};
        if (r % perRow == 0) originX = 0;
        // Room shapes repeat every five rooms, so a scaled level has exactly scale x the faces.
        room.nx = 5 + (r % 5) % 3;
        room.nz = 4 + (r % 5) % 2;
        room.x = originX;
        room.z = (r / perRow) * 6 * 1024;
        room.yBottom = 0 - (r % 3) * 256;
        room.yTop = room.yBottom - 2048 - (r % 2) * 1024;
        originX += (room.nx - 1) * 1024;
        const bool west = sameRow(r, r - 1), east = sameRow(r, r + 1);
        const int gx = room.nx - 1, gz = room.nz - 1;  // vertex grid over the inner sectors
        for (int level = 0; level < 2; ++level)
            for (int i = 0; i < gx; ++i)
                for (int k = 0; k < gz; ++k) {
                    int shade = 0x4210 + ((i + k + r) % 8) * 0x0421;
                    room.vertices.push_back({(i + 1) * 1024, level == 0 ? room.yBottom : room.yTop, (k + 1) * 1024,
                                             shade & 0x7FFF});
                }
        auto at = [&](int level, int i, int k) { return level * gx * gz + i * gz + k; };
        int face = 0;
        for (int level = 0; level < 2; ++level)
            for (int i = 0; i + 1 < gx; ++i)
                for (int k = 0; k + 1 < gz; ++k) {
                    int tex = (face++ + r) % 8;
                    if (level == 0)
                        room.quads.push_back({{at(0, i, k), at(0, i + 1, k), at(0, i + 1, k + 1), at(0, i, k + 1)}, tex});
                    else
                        room.quads.push_back({{at(1, i, k + 1), at(1, i + 1, k + 1), at(1, i + 1, k), at(1, i, k)}, tex});
                }
        // Two triangles on the corners; the second is double sided (top bit of the texture word).
        room.triangles.push_back({{at(0, 0, 0), at(1, 0, 0), at(0, 1, 0)}, 14});
        room.triangles.push_back({{at(0, gx - 1, gz - 1), at(1, gx - 1, gz - 1), at(0, gx - 1, gz - 2)},
                                  static_cast<int>(0x8000 | 15)});
        // Animated floor tiles use the ids of the animated ranges.
        if (!room.quads.empty()) room.quads[0].tex = 8 + r % 4;
        if (room.quads.size() > 1) room.quads[1].tex = 12 + r % 2;
        if (r % 2 == 1) room.sprites.push_back({at(0, 0, gz - 1), 0});
        if (west)
            room.portals.push_back({r - 1, {1, 0, 0},
                                    {{0, room.yTop, 1024}, {0, room.yTop, gz * 1024}, {0, room.yBottom, gz * 1024},
                                     {0, room.yBottom, 1024}}});
        if (east)
            room.portals.push_back({r + 1, {-1, 0, 0},
                                    {{gx * 1024, room.yTop, 1024}, {gx * 1024, room.yBottom, 1024},
                                     {gx * 1024, room.yBottom, gz * 1024}, {gx * 1024, room.yTop, gz * 1024}}});
        for (int i = 0; i < room.nx; ++i)
            for (int k = 0; k < room.nz; ++k) {
                bool wall = i == 0 || k == 0 || i == room.nx - 1 || k == room.nz - 1;
                bool door = (i == 0 && west) || (i == room.nx - 1 && east);
                SampleSector s {};
                s.floorData = (door && !(k == 0 || k == room.nz - 1)) ? (i == 0 ? 1 : 3) : 0;
                s.box = wall && !s.floorData ? 0xFFFF : (r << 4);
                s.below = 255;
                s.above = 255;
                s.floor = wall && !s.floorData ? -127 : room.yBottom / 256;
                s.ceiling = wall && !s.floorData ? -127 : room.yTop / 256;
                room.sectors.push_back(s);
            }
        room.ambient1 = 0x4040 + r;  // green and blue of the room colour
        room.ambient2 = 0x0040;      // red
        const int cx = room.nx * 512, cz = room.nz * 512;
        if (r == 0) {
            // One light of each kind: sun, point, spot, shadow and fog bulb.
            room.lights.push_back({room.x + cx, room.yTop + 256, room.z + cz, 255, 240, 200, 0, 8191, 0, 0, 0, 0, 0.3f,
                                   -0.9f, 0.3f});
            room.lights.push_back({room.x + 1536, room.yTop + 512, room.z + 1536, 255, 160, 64, 1, 8191, 1024, 4096, 0,
                                   0, 0, 0, 0});
            room.lights.push_back({room.x + cx, room.yTop + 256, room.z + 1536, 200, 200, 255, 2, 6000, 0.5f, 0.8f,
                                   6144, 4096, 0, -1, 0});
            room.lights.push_back({room.x + 2048, room.yBottom - 512, room.z + 2048, 0, 0, 0, 3, 4096, 512, 2048, 0, 0,
                                   0, 0, 0});
            room.lights.push_back({room.x + cx, room.yBottom - 1024, room.z + cz, 90, 90, 110, 4, 2048, 1024, 3072, 0,
                                   0, 0, 0, 0});
        } else {
            room.lights.push_back({room.x + cx, room.yTop + 512, room.z + cz, 128 + r % 128, 128, 96, 1, 6000 + r,
                                   1024, 3072.0f + 256 * (r % 4), 0, 0, 0, 0, 0});
            room.lights.push_back({room.x + 1536, room.yTop + 256, room.z + 1536, 64, 64, 255, r % 2 ? 2 : 3, 4000,
                                   r % 2 ? 0.5f : 512, r % 2 ? 0.9f : 2048, 4096, 2048, 0, -1, 0});
        }
        room.statics.push_back({room.x + 1536, room.yBottom, room.z + 1536, 0x4000 * (r % 4), 0x3000, 0x3000, r % 3});
        if (r % 2 == 0)
            room.statics.push_back({room.x + cx, room.yBottom, room.z + 2560, 0, 0x2000, 0x2000, 10 + r % 5});
        room.alternate = -1;
        room.flags = r == 0 ? 0x0020 : 0;  // the first room is open to the sky
        room.extra[0] = 0;
        room.extra[1] = r % 4;
        room.extra[2] = 0;
        rooms.push_back(room);
    }
    return rooms;
}
inline std::vector<SampleRoom> MakeRooms(int scale) { return MakeRoomRow(5 * scale); }

enum class RoomForm { Tr4, Tr1, Tr2, Tr3 };

inline void WriteRoom(Bytes& out, const SampleRoom& room, RoomForm form) {
    const bool tr1 = form == RoomForm::Tr1;
    out.L(room.x);
    out.L(room.z);
    out.L(room.yBottom);
    out.L(room.yTop);
    const int vertexSize = tr1 ? 8 : 12;
    long long dataBytes = 8 + static_cast<long long>(room.vertices.size()) * vertexSize +
                          static_cast<long long>(room.quads.size()) * 10 + static_cast<long long>(room.triangles.size()) * 8 +
                          static_cast<long long>(room.sprites.size()) * 4;
    out.L(dataBytes / 2);
    out.W(static_cast<int>(room.vertices.size()));
    for (auto& v : room.vertices) {
        out.W(v.x);
        out.W(v.y);
        out.W(v.z);
        if (tr1) {
            out.W(0x1FFF - (v.light & 0x1FFF) / 4);
        } else {
            out.W(v.light);
            out.W(0);  // attributes
            out.W(v.light);
        }
    }
    out.W(static_cast<int>(room.quads.size()));
    for (auto& q : room.quads) {
        for (int v : q.v) out.W(v);
        out.W(form == RoomForm::Tr4 ? q.tex : q.tex & 0x7FFF);
    }
    out.W(static_cast<int>(room.triangles.size()));
    for (auto& t : room.triangles) {
        for (int v : t.v) out.W(v);
        out.W(form == RoomForm::Tr4 ? t.tex : t.tex & 0x7FFF);
    }
    out.W(static_cast<int>(room.sprites.size()));
    for (auto& s : room.sprites) {
        out.W(s.first);
        out.W(s.second);
    }
    out.W(static_cast<int>(room.portals.size()));
    for (auto& p : room.portals) {
        out.W(p.adjoining);
        for (int n : p.normal) out.W(n);
        for (auto& v : p.v)
            for (int c : v) out.W(c);
    }
    out.W(room.nz);
    out.W(room.nx);
    for (auto& s : room.sectors) {
        out.W(s.floorData);
        out.W(s.box);
        out.U8(s.below);
        out.U8(s.floor);
        out.U8(s.above);
        out.U8(s.ceiling);
    }
    if (form == RoomForm::Tr4) {
        out.W(room.ambient1);
        out.W(room.ambient2);
    } else if (tr1) {
        out.W(0x1000);
    } else {
        out.W(0x1000);
        out.W(0x1000);
        if (form == RoomForm::Tr2) out.W(0);  // light mode
    }
    out.W(static_cast<int>(room.lights.size()));
    for (auto& l : room.lights) {
        out.L(l.x);
        out.L(l.y);
        out.L(l.z);
        if (form == RoomForm::Tr4) {
            out.U8(l.r);
            out.U8(l.g);
            out.U8(l.b);
            out.U8(l.type);
            out.W(l.intensity);
            out.F(l.in);
            out.F(l.out);
            out.F(l.length);
            out.F(l.cutoff);
            out.F(l.dx);
            out.F(l.dy);
            out.F(l.dz);
        } else if (tr1) {
            out.W(l.intensity);
            out.L(4096);
        } else {
            out.W(form == RoomForm::Tr3 ? l.g * 256 + l.r : l.intensity);
            out.W(form == RoomForm::Tr3 ? l.b : l.intensity);
            out.L(4096);
            out.L(4096);
        }
    }
    out.W(static_cast<int>(room.statics.size()));
    for (auto& s : room.statics) {
        out.L(s.x);
        out.L(s.y);
        out.L(s.z);
        out.W(s.rotation);
        out.W(s.intensity1);
        if (!tr1) out.W(s.intensity2);
        out.W(s.id);
    }
    out.W(room.alternate);
    out.W(room.flags);
    if (form == RoomForm::Tr4 || form == RoomForm::Tr3) {
        out.U8(room.extra[0]);
        out.U8(room.extra[1]);
        out.U8(room.extra[2]);
    }
}

// One room in the TR5 form: a 216-byte header with the "XELA" label and offsets into the
// body, then lights, fog bulbs, sectors, portals, static meshes, one layer, faces, vertices.
inline void WriteRoomTr5(Bytes& out, const SampleRoom& room) {
    const uint32_t filler = 0xCDCDCDCD;
    const uint32_t floatFiller = 0xCE48C8C9;
    Bytes body;
    std::vector<const SampleLight*> lights, fogs;
    for (auto& l : room.lights) (l.type == 4 ? fogs : lights).push_back(&l);
    // Lights (a fog bulb leaves a dead record among the lights, as the game's own levels do).
    for (auto& l : room.lights) {
        bool fog = l.type == 4;
        if (fog) {
            for (int i = 0; i < 3; ++i) body.L(floatFiller);
            for (int i = 0; i < 3; ++i) body.L(floatFiller);
            body.L(filler);
            for (int i = 0; i < 8; ++i) body.L(floatFiller);
            for (int i = 0; i < 6; ++i) body.L(filler);
            body.U8(205);
        } else {
            body.F(static_cast<float>(l.x));
            body.F(static_cast<float>(l.y));
            body.F(static_cast<float>(l.z));
            body.F(l.r / 255.0f);
            body.F(l.g / 255.0f);
            body.F(l.b / 255.0f);
            body.L(l.type == 3 ? l.intensity / 64 : 0);
            body.F(l.in);
            body.F(l.out);
            body.F(l.type == 2 || l.type == 0 ? l.in : 0.0f);
            body.F(l.type == 2 || l.type == 0 ? l.out : 0.0f);
            body.F(l.length);
            body.F(l.dx);
            body.F(l.dy);
            body.F(l.dz);
            body.L(l.x);
            body.L(l.y);
            body.L(l.z);
            body.L(static_cast<int>(l.dx * 16384));
            body.L(static_cast<int>(l.dy * 16384));
            body.L(static_cast<int>(l.dz * 16384));
            body.U8(l.type);
        }
        body.Fill(3, 205);
    }
    for (auto* f : fogs) {
        body.F(static_cast<float>(f->x));
        body.F(static_cast<float>(f->y));
        body.F(static_cast<float>(f->z));
        body.F(f->in);
        body.F(f->out);
        body.F(f->intensity / 8191.0f);
        body.F(f->r / 255.0f);
        body.F(f->g / 255.0f);
        body.F(f->b / 255.0f);
    }
    const size_t sectorsOffset = body.Size();
    for (auto& s : room.sectors) {
        body.W(s.floorData);
        body.W(s.box);
        body.U8(s.below);
        body.U8(s.floor);
        body.U8(s.above);
        body.U8(s.ceiling);
    }
    const size_t portalsOffset = body.Size();
    body.W(static_cast<int>(room.portals.size()));
    for (auto& p : room.portals) {
        body.W(p.adjoining);
        for (int n : p.normal) body.W(n);
        for (auto& v : p.v)
            for (int c : v) body.W(c);
    }
    body.W(0xCDCD);
    const size_t staticsOffset = body.Size();
    for (auto& s : room.statics) {
        body.L(s.x);
        body.L(s.y);
        body.L(s.z);
        body.W(s.rotation);
        body.W(s.intensity1);
        body.W(s.intensity2);
        body.W(s.id);
    }
    const size_t layersOffset = body.Size();
    body.L(static_cast<long long>(room.vertices.size()));
    body.W(0);
    body.W(static_cast<int>(room.quads.size()));
    body.W(static_cast<int>(room.triangles.size()));
    body.W(0);
    body.W(0);
    body.W(0);
    body.F(0);
    body.F(static_cast<float>(room.yTop));
    body.F(0);
    body.F(room.nx * 1024.0f);
    body.F(static_cast<float>(room.yBottom));
    body.F(room.nz * 1024.0f);
    body.L(0);
    body.L(0x36362C);
    body.L(0x22E1DE4);
    body.L(0x1651DB0);
    const size_t facesOffset = body.Size();
    for (auto& q : room.quads) {
        for (int v : q.v) body.W(v);
        body.W(q.tex);
        body.W(0);
    }
    for (auto& t : room.triangles) {
        for (int v : t.v) body.W(v);
        body.W(t.tex);
        body.W(0);
    }
    if (room.triangles.size() % 2) body.W(0xCDCD);
    const size_t verticesOffset = body.Size();
    for (auto& v : room.vertices) {
        body.F(static_cast<float>(v.x));
        body.F(static_cast<float>(v.y));
        body.F(static_cast<float>(v.z));
        body.F(0);
        body.F(-1);
        body.F(0);
        int r5 = (v.light >> 10) & 31, g5 = (v.light >> 5) & 31, b5 = v.light & 31;
        body.U8(b5 * 8);
        body.U8(g5 * 8);
        body.U8(r5 * 8);
        body.U8(255);
    }
    body.W(0xCDCD);
    const size_t verticesSize = body.Size() - verticesOffset;

    Bytes h;
    h.Text("XELA");
    h.L(static_cast<long long>(216 - 8 + body.Size()));
    h.L(filler);
    h.L(static_cast<long long>(portalsOffset));
    h.L(static_cast<long long>(sectorsOffset));
    h.L(0);
    h.L(static_cast<long long>(staticsOffset));
    h.L(room.x);
    h.L(0);
    h.L(room.z);
    h.L(room.yBottom);
    h.L(room.yTop);
    h.W(room.nz);
    h.W(room.nx);
    h.W(room.ambient1);
    h.W(room.ambient2);
    h.W(static_cast<int>(room.lights.size()));
    h.W(static_cast<int>(room.statics.size()));
    h.W(0x0001);  // reverb and water scheme
    h.W(0);
    h.L(0x7FFF);
    h.L(0x7FFF);
    h.L(filler);
    h.L(filler);
    h.L(0xFFFFFFFF);
    h.W(room.alternate);
    h.W(room.flags);
    h.W(0x40);
    h.Fill(10);
    h.L(filler);
    h.L(0);
    h.L(room.x);
    h.L(filler);
    h.L(room.z);
    for (int i = 0; i < 4; ++i) h.L(filler);
    h.L(0);
    h.L(filler);
    h.L(static_cast<long long>(room.triangles.size()));
    h.L(static_cast<long long>(room.quads.size()));
    h.L(0);
    h.L(static_cast<long long>(room.lights.size()) * 88);
    h.L(static_cast<long long>(room.lights.size()));
    h.L(static_cast<long long>(fogs.size()));
    h.L(room.yTop);
    h.L(room.yBottom);
    h.L(1);
    h.L(static_cast<long long>(layersOffset));
    h.L(static_cast<long long>(verticesOffset));
    h.L(static_cast<long long>(facesOffset));
    h.L(static_cast<long long>(facesOffset));
    h.L(static_cast<long long>(verticesSize));
    for (int i = 0; i < 4; ++i) h.L(filler);
    if (h.Size() != 216) throw std::logic_error("TR5 room header is not 216 bytes");
    out.Raw(h);
    out.Raw(body);
}

// ---- The game objects ----------------------------------------------------------------------

enum class Gen { Tr1, Tr2, Tr3, Tr4, Tr5 };

// A box-shaped mesh in the layout of the generation: centre, radius, vertices, normals (or
// shades), textured quads and triangles, coloured quads and triangles (not in TR4/TR5).
inline void WriteMesh(Bytes& out, Gen gen, int size, int firstTexture) {
    const bool modern = gen == Gen::Tr4 || gen == Gen::Tr5;
    out.W(0);
    out.W(-size / 2);
    out.W(0);
    out.W(size);
    out.W(0);
    out.W(8);
    for (int i = 0; i < 8; ++i) {
        out.W(i & 1 ? size / 2 : -size / 2);
        out.W(i & 2 ? -size : 0);
        out.W(i & 4 ? size / 2 : -size / 2);
    }
    out.W(8);
    for (int i = 0; i < 8; ++i) {
        out.W(i & 1 ? 9459 : -9459);
        out.W(i & 2 ? -9459 : 9459);
        out.W(i & 4 ? 9459 : -9459);
    }
    static const int faces[6][4] = {{0, 1, 3, 2}, {4, 6, 7, 5}, {0, 4, 5, 1}, {2, 3, 7, 6}, {0, 2, 6, 4}, {1, 5, 7, 3}};
    out.W(6);
    for (int f = 0; f < 6; ++f) {
        for (int v : faces[f]) out.W(v);
        out.W(firstTexture + f % 3);
        if (modern) out.W(0);
    }
    out.W(0);  // textured triangles
    if (!modern) {
        out.W(0);  // coloured quads
        out.W(0);  // coloured triangles
    }
    if (out.Size() % 4) out.W(0);
}

struct ObjectSections {
    Bytes meshData, meshPointers, animations, table6, table8, table2, meshTrees, frames, moveables, statics;
    int numMeshWords = 0, numMeshPointers = 0, numAnimations = 0, num6 = 0, num8 = 0, num2 = 0, numTrees = 0,
        numFrameWords = 0, numMoveables = 0, numStatics = 0;
};

// Meshes, animations, frames, moveables (Lara and one more) and static meshes.
inline ObjectSections MakeObjects(Gen gen) {
    ObjectSections o;
    const bool modern = gen == Gen::Tr4 || gen == Gen::Tr5;
    const int numMeshes = 4;
    for (int m = 0; m < numMeshes; ++m) {
        o.meshPointers.L(static_cast<long long>(o.meshData.Size()));
        WriteMesh(o.meshData, gen, 256 + 128 * m, m);
    }
    o.numMeshPointers = numMeshes;
    o.numMeshWords = static_cast<int>(o.meshData.Size() / 2);
    // Frames: bounding box, offset, one rotation per mesh, two frames.
    for (int f = 0; f < 2; ++f) {
        int bb[6] = {-128, 128, -768, 0, -128, 128};
        for (int v : bb) o.frames.W(v);
        o.frames.W(0);
        o.frames.W(-512);
        o.frames.W(0);
        if (!modern) o.frames.W(2);  // rotation count in the old frames
        o.frames.W(0x4000 | (f * 16));
        o.frames.W(0);
        o.frames.W(0);
        o.frames.W(f * 32);
    }
    o.numFrameWords = static_cast<int>(o.frames.Size() / 2);
    const int frameBytes = static_cast<int>(o.frames.Size() / 2);
    for (int a = 0; a < 2; ++a) {
        o.animations.L(a * frameBytes);  // frame offset
        o.animations.U8(1);               // frame rate
        o.animations.U8(frameBytes / 2);  // frame size in words
        o.animations.W(a);                // state
        o.animations.L(a == 0 ? 0 : 0x00020000);  // speed
        o.animations.L(0);                         // acceleration
        if (modern) {
            o.animations.L(0);  // lateral speed
            o.animations.L(0);  // lateral acceleration
        }
        o.animations.W(0);      // frame start
        o.animations.W(1);      // frame end
        o.animations.W(a);      // next animation
        o.animations.W(0);      // next frame
        o.animations.W(a == 0 ? 1 : 0);  // state changes
        o.animations.W(0);               // first state change
        o.animations.W(a == 0 ? 1 : 0);  // commands
        o.animations.W(0);               // first command
    }
    o.numAnimations = 2;
    o.table6.W(1);  // state change: to state 1 through one dispatch
    o.table6.W(1);
    o.table6.W(0);
    o.num6 = 1;
    o.table8.W(0);  // dispatch: frames 0 to 1 go to animation 1, frame 0
    o.table8.W(1);
    o.table8.W(1);
    o.table8.W(0);
    o.num8 = 1;
    o.table2.W(5);  // play sound
    o.table2.W(1);
    o.table2.W(0);
    o.num2 = 3;
    for (int m = 1; m < numMeshes - 1; ++m) {
        o.meshTrees.L(0);
        o.meshTrees.L(0);
        o.meshTrees.L(m * 256);
        o.meshTrees.L(0);
    }
    o.numTrees = 8;
    auto moveable = [&](int id, int meshes, int firstMesh, int tree, int frame, int anim) {
        o.moveables.L(id);
        o.moveables.W(meshes);
        o.moveables.W(firstMesh);
        o.moveables.L(tree);
        o.moveables.L(frame);
        o.moveables.W(anim);
        if (gen == Gen::Tr5) o.moveables.W(0xFFEF);
    };
    moveable(0, 3, 0, 0, 0, 0);     // Lara
    moveable(12, 1, 3, 0, 0, 1);    // a creature
    o.numMoveables = 2;
    for (int s = 0; s < 3; ++s) {
        o.statics.L(s);
        o.statics.W(s % numMeshes);
        int box[6] = {-256, 256, -512, 0, -256, 256};
        for (int v : box) o.statics.W(v);
        for (int v : box) o.statics.W(v);
        o.statics.W(2);
    }
    o.numStatics = 3;
    return o;
}

inline void WriteObjects(Bytes& out, const ObjectSections& o) {
    out.L(o.numMeshWords);
    out.Raw(o.meshData);
    out.L(o.numMeshPointers);
    out.Raw(o.meshPointers);
    out.L(o.numAnimations);
    out.Raw(o.animations);
    out.L(o.num6);
    out.Raw(o.table6);
    out.L(o.num8);
    out.Raw(o.table8);
    out.L(o.num2);
    out.Raw(o.table2);
    out.L(o.numTrees);
    out.Raw(o.meshTrees);
    out.L(o.numFrameWords);
    out.Raw(o.frames);
    out.L(o.numMoveables);
    out.Raw(o.moveables);
    out.L(o.numStatics);
    out.Raw(o.statics);
}

// Object textures. form: 38 (TR4), 20 (TR1 to TR3), 40 (TR5). The first ones map the room
// tiles; a few carry the triangle flag in the tile word, one has the attribute 2 and one a
// corner with zero bytes.
inline void WriteObjectTextures(Bytes& out, int form, int count, int numTiles) {
    out.L(count);
    for (int i = 0; i < count; ++i) {
        int tile = i % numTiles;
        bool triangle = i >= 14;
        out.W(i == 5 ? 2 : (i % 4 == 3 ? 1 : 0));
        out.W(triangle ? (0x8000 | tile) : tile);
        if (form != 20) out.W(triangle ? 1 : 0);
        int u = (i % 4) * 64, v = ((i / 4) % 4) * 64;
        int corners[4][2] = {{u, v}, {u + 63, v}, {u + 63, v + 63}, {u, v + 63}};
        for (int c = 0; c < 4; ++c) {
            bool zeroCorner = i == 0 && c == 0;
            out.U8(zeroCorner ? 0 : 255);
            out.U8(corners[c][0]);
            out.U8(zeroCorner ? 0 : 255);
            out.U8(corners[c][1]);
        }
        if (form != 20) {
            out.L(u);
            out.L(v);
            out.L(63);
            out.L(63);
        }
        if (form == 40) out.W(0);
    }
}

inline void WriteSprites(Bytes& out, int numTiles) {
    out.L(4);
    for (int i = 0; i < 4; ++i) {
        out.W(i % numTiles);
        out.U8(192 + (i % 2) * 32);
        out.U8(192 + (i / 2) * 32);
        out.W(31 * 256 + 255);
        out.W(31 * 256 + 255);
        out.W(-128);
        out.W(-256);
        out.W(128);
        out.W(0);
    }
    out.L(2);
    out.L(161);  // a plant
    out.W(-1);
    out.W(0);
    out.L(190);  // flames
    out.W(-3);
    out.W(1);
}

inline void WriteCameras(Bytes& out, const std::vector<SampleRoom>& rooms) {
    out.L(2);
    for (int c = 0; c < 2; ++c) {
        const SampleRoom& r = rooms[c % rooms.size()];
        out.L(r.x + 2048);
        out.L(r.yTop + 512);
        out.L(r.z + 1024);
        out.W(c % static_cast<int>(rooms.size()));
        out.W(0);
    }
}

// Flyby cameras: one sequence of three, with the three modes of the frames.
inline void WriteFlybyCameras(Bytes& out, const SampleRoom& room) {
    out.L(3);
    for (int c = 0; c < 3; ++c) {
        out.L(room.x + 1024 + c * 512);
        out.L(room.yTop + 768);
        out.L(room.z + 1024);
        out.L(room.x + 2048);
        out.L(room.yBottom - 512);
        out.L(room.z + 3072 + c * 128);
        out.U8(0);         // sequence
        out.U8(c);         // index
        out.W(0x2000);     // field of view
        out.W(0);          // roll
        out.W(20 + c * 10);  // frames
        out.W(c == 0 ? 0 : 2000 * c);  // turn over the frames
        out.W(c);          // flags
        out.L(0);          // room
    }
}

inline void WriteSoundSources(Bytes& out, const std::vector<SampleRoom>& rooms) {
    out.L(2);
    for (int s = 0; s < 2; ++s) {
        const SampleRoom& r = rooms[(s * 2) % rooms.size()];
        out.L(r.x + 1536);
        out.L(r.yBottom - 256);
        out.L(r.z + 1536);
        out.W(s == 0 ? 35 : 60);
        out.W(0x40);
    }
}

struct Layout {
    int boxes = 0;
    Bytes boxData8, overlaps, zones20;
    int numOverlaps = 0;
};

// One box per room, each overlapping its neighbours in the row.
inline Layout MakeLayout(const std::vector<SampleRoom>& rooms) {
    Layout l;
    const int n = static_cast<int>(rooms.size());
    l.boxes = n;
    for (int r = 0; r < n; ++r) {
        const SampleRoom& room = rooms[r];
        int x0 = room.x / 1024 + 1, z0 = room.z / 1024 + 1;
        l.boxData8.U8(z0);
        l.boxData8.U8(z0 + room.nz - 2);
        l.boxData8.U8(x0);
        l.boxData8.U8(x0 + room.nx - 2);
        l.boxData8.W(room.yBottom);
        l.boxData8.W(l.numOverlaps);
        std::vector<int> next;
        if (r > 0) next.push_back(r - 1);
        if (r + 1 < n) next.push_back(r + 1);
        if (next.empty()) next.push_back(r);
        for (size_t i = 0; i < next.size(); ++i) {
            l.overlaps.W(next[i] | (i + 1 == next.size() ? 0x8000 : 0));
            ++l.numOverlaps;
        }
        for (int w = 0; w < 10; ++w) l.zones20.W(w < 5 ? 1 + w % 4 : 1 + (w + r) % 4);
    }
    return l;
}

inline void WriteLayout(Bytes& out, const Layout& l, Gen gen) {
    out.L(l.boxes);
    if (gen == Gen::Tr1) {
        for (size_t i = 0; i + 8 <= l.boxData8.Size(); i += 8) {
            for (int k = 0; k < 4; ++k) out.L(l.boxData8.b[i + k] * 1024);
            out.W(static_cast<int16_t>(l.boxData8.b[i + 4] | (l.boxData8.b[i + 5] << 8)));
            out.W(static_cast<int16_t>(l.boxData8.b[i + 6] | (l.boxData8.b[i + 7] << 8)));
        }
    } else {
        out.Raw(l.boxData8);
    }
    out.L(l.numOverlaps);
    out.Raw(l.overlaps);
    if (gen == Gen::Tr1) {
        static const int keep[6] = {0, 1, 4, 5, 6, 9};
        for (size_t i = 0; i + 20 <= l.zones20.Size(); i += 20)
            for (int k : keep) {
                out.U8(l.zones20.b[i + 2 * k]);
                out.U8(l.zones20.b[i + 2 * k + 1]);
            }
    } else {
        out.Raw(l.zones20);
    }
}

// Two ranges of animated textures: ids 8 to 11 and 12 to 13.
inline void WriteAnimatedTextures(Bytes& out) {
    const int words[] = {2, 3, 8, 9, 10, 11, 1, 12, 13};
    out.L(static_cast<long long>(sizeof words / sizeof words[0]));
    for (int w : words) out.W(w);
}

// Items: Lara in the first room, a creature, a key and a door.
inline void WriteItems(Bytes& out, const std::vector<SampleRoom>& rooms) {
    const int n = static_cast<int>(rooms.size());
    struct It { int id, room, dx, dz, angle; };
    const It items[] = {{0, 0, 1536, 1536, 0x4000}, {12, n > 1 ? 1 : 0, 2048, 2048, 0},
                        {110, n > 2 ? 2 : 0, 1536, 2560, 0}, {120, n - 1, 1024, 1536, -0x4000}};
    out.L(4);
    for (auto& it : items) {
        const SampleRoom& r = rooms[it.room];
        out.W(it.id);
        out.W(it.room);
        out.L(r.x + it.dx);
        out.L(r.yBottom);
        out.L(r.z + it.dz);
        out.W(it.angle);
        out.W(-1);  // intensity
        out.W(0);   // third word (TR4: code bits)
        out.W(0x3E00);
    }
}

inline void WriteAiObjects(Bytes& out, const std::vector<SampleRoom>& rooms) {
    out.L(1);
    const SampleRoom& r = rooms.back();
    out.W(377);  // a guard point
    out.W(static_cast<int>(rooms.size()) - 1);
    out.L(r.x + 2048);
    out.L(r.yBottom);
    out.L(r.z + 2048);
    out.W(0);
    out.W(0);
    out.L(0);
}

inline void WriteSoundMap(Bytes& out, int words) {
    for (int i = 0; i < words; ++i) out.W(i == 0 ? 0 : i == 35 ? 1 : i == 60 ? 2 : -1);
}
inline void WriteSoundDetails(Bytes& out) {
    out.L(3);
    for (int s = 0; s < 3; ++s) {
        out.W(s);
        out.U8(200);
        out.U8(8);
        out.U8(0);
        out.U8(0);
        out.W(0x0004);
    }
}

// A short mono 22050 Hz wave file: a tone.
// length: ticks of sound; 0 for the regular tone of a tenth of a second and more.
inline std::vector<uint8_t> WaveSample(int n, int length = 0) {
    Bytes w;
    const int samplesCount = length ? length : 2205 + 441 * n;
    w.Text("RIFF");
    w.L(36 + samplesCount * 2);
    w.Text("WAVEfmt ");
    w.L(16);
    w.W(1);
    w.W(1);
    w.L(22050);
    w.L(44100);
    w.W(2);
    w.W(16);
    w.Text("data");
    w.L(samplesCount * 2);
    int period = 40 + 10 * n;
    for (int i = 0; i < samplesCount; ++i) w.W((i % period) < period / 2 ? 4000 : -4000);
    return w.b;
}

// ---- Whole levels ----------------------------------------------------------------------------

// How much a sample level holds. The defaults make the regular samples. Small() makes the
// fuzz program's seeds, which convert in well under a millisecond: two rooms, a source with one
// room tile whose blocks hold only its first rows (the converter fills the rest of a tile with
// zeros), bases without tiles of their own (a TR5 base keeps a few rows of one tile, since its
// merge needs some), empty misc blocks and one short sound.
struct Shape {
    int rooms = 5;              // rooms of the source
    int baseRooms = 3;          // rooms of a base
    int roomTiles = 2;          // tiles of the source: room and object tiles
    int objectTiles = 1;
    int sourceMiscTiles = 2;    // the source's misc block: font and sky
    int baseTiles = 2;          // tiles of a TR1 to TR3 base
    int tr5RoomTiles = 1;       // tiles of a TR5 base
    int tr5ObjectTiles = 2;
    int tr5MiscTiles = 3;       // font, sky and shine
    int tileRows = 256;         // rows of each tile that the blocks hold
    int sounds = 3;             // sound samples in the levels
    int soundLength = 0;        // ticks of each; 0: the regular tones

    static Shape Small() {
        Shape s;
        s.rooms = 2;
        s.baseRooms = 2;
        s.roomTiles = 1;
        s.objectTiles = 0;
        s.sourceMiscTiles = 0;
        s.baseTiles = 0;
        s.tr5ObjectTiles = 0;
        s.tr5MiscTiles = 0;
        s.tileRows = 4;
        s.sounds = 1;
        s.soundLength = 32;
        return s;
    }
};

// A TR4 source level.
inline std::vector<uint8_t> MakeSourceTr4(const Shape& shape) {
    const auto rooms = MakeRoomRow(shape.rooms);
    const int roomTiles = shape.roomTiles, objectTiles = shape.objectTiles, bumpTiles = 0;
    Bytes f;
    f.L(0x00345254);
    f.W(roomTiles);
    f.W(objectTiles);
    f.W(bumpTiles);
    const int tiles = roomTiles + objectTiles + bumpTiles;
    TextureBlock(f, Tiles32(tiles, 0, shape.tileRows));
    TextureBlock(f, Tiles16(tiles, 0, shape.tileRows));
    TextureBlock(f, Tiles32(shape.sourceMiscTiles, 40, shape.tileRows));  // font and sky

    Bytes g;
    g.L(0);
    g.W(static_cast<int>(rooms.size()));
    for (auto& r : rooms) WriteRoom(g, r, RoomForm::Tr4);
    // Floor data: the dummy entry, then the portal entries that the door sectors name.
    const int floorData[] = {0, 0x8001, 1, 0x8001, 0};
    g.L(5);
    for (int w : floorData) g.W(w);
    WriteObjects(g, MakeObjects(Gen::Tr4));
    g.Text("SPR");
    WriteSprites(g, roomTiles + objectTiles);
    WriteCameras(g, rooms);
    WriteFlybyCameras(g, rooms[0]);
    WriteSoundSources(g, rooms);
    WriteLayout(g, MakeLayout(rooms), Gen::Tr4);
    WriteAnimatedTextures(g);
    g.U8(7);
    g.Text("TEX");
    WriteObjectTextures(g, 38, SampleObjectTextures, roomTiles);
    WriteItems(g, rooms);
    WriteAiObjects(g, rooms);
    g.W(0);  // demo data
    WriteSoundMap(g, 370);
    WriteSoundDetails(g);
    g.L(3);
    for (int i = 0; i < 3; ++i) g.L(i);
    TextureBlock(f, g.b);

    f.L(shape.sounds);  // samples
    for (int i = 0; i < shape.sounds; ++i) {
        auto wav = WaveSample(i, shape.soundLength);
        f.L(static_cast<long long>(wav.size()));
        f.L(static_cast<long long>(wav.size()));
        f.Raw(wav);
    }
    return f.b;
}
// scale multiplies the rooms (and with them the faces).
inline std::vector<uint8_t> MakeSourceTr4(int scale = 1) {
    Shape shape;
    shape.rooms = 5 * scale;
    return MakeSourceTr4(shape);
}

// Base rooms: rooms of their own, unlike the source's, the last one without its east portal.
inline std::vector<SampleRoom> BaseRooms(const Shape& shape) {
    auto rooms = MakeRooms(1);
    rooms.resize(static_cast<size_t>(shape.baseRooms));
    rooms.back().portals.pop_back();
    return rooms;
}

// A TR1 base level; gold moves its palette from behind the colour map to behind the sprite
// sequences, as Unfinished Business keeps it.
inline std::vector<uint8_t> MakeBaseTr1(bool gold = false, const Shape& shape = {}) {
    const auto rooms = BaseRooms(shape);
    const int tiles = shape.baseTiles;
    Bytes f;
    f.L(0x20);
    f.L(tiles);
    f.Raw(Tiles8(tiles, 10));
    f.L(0);
    f.W(static_cast<int>(rooms.size()));
    for (auto& r : rooms) WriteRoom(f, r, RoomForm::Tr1);
    f.L(3);
    f.W(0);
    f.W(0x8001);
    f.W(1);
    WriteObjects(f, MakeObjects(Gen::Tr1));
    WriteObjectTextures(f, 20, 6, std::max(tiles, 1));
    WriteSprites(f, std::max(tiles, 1));
    if (gold) Palette8(f);
    WriteCameras(f, rooms);
    WriteSoundSources(f, rooms);
    WriteLayout(f, MakeLayout(rooms), Gen::Tr1);
    WriteAnimatedTextures(f);
    WriteItems(f, rooms);
    for (int i = 0; i < 8192; ++i) f.U8(i % 256 / 8 * 8);  // colour map
    if (!gold) Palette8(f);
    f.W(0);  // cinematic frames
    f.W(0);  // demo data
    WriteSoundMap(f, 256);
    WriteSoundDetails(f);
    Bytes samplesData;
    std::vector<long long> offsets;
    for (int i = 0; i < shape.sounds; ++i) {
        offsets.push_back(static_cast<long long>(samplesData.Size()));
        samplesData.Raw(WaveSample(i, shape.soundLength));
    }
    f.L(static_cast<long long>(samplesData.Size()));
    f.Raw(samplesData);
    f.L(shape.sounds);
    for (long long o : offsets) f.L(o);
    return f.b;
}

// TR2 and TR3 base levels.
inline std::vector<uint8_t> MakeBaseTr23(bool tr3, const Shape& shape = {}) {
    const auto rooms = BaseRooms(shape);
    const int tiles = shape.baseTiles;
    Bytes f;
    f.L(tr3 ? 0xFF080038 : 0x2D);
    Palette8(f);
    Palette16(f);
    f.L(tiles);
    f.Raw(Tiles8(tiles, 20));
    f.Raw(Tiles16(tiles, 20));
    f.L(0);
    f.W(static_cast<int>(rooms.size()));
    for (auto& r : rooms) WriteRoom(f, r, tr3 ? RoomForm::Tr3 : RoomForm::Tr2);
    f.L(3);
    f.W(0);
    f.W(0x8001);
    f.W(1);
    WriteObjects(f, MakeObjects(tr3 ? Gen::Tr3 : Gen::Tr2));
    if (!tr3) WriteObjectTextures(f, 20, 6, std::max(tiles, 1));
    WriteSprites(f, std::max(tiles, 1));
    WriteCameras(f, rooms);
    WriteSoundSources(f, rooms);
    WriteLayout(f, MakeLayout(rooms), Gen::Tr2);
    WriteAnimatedTextures(f);
    if (tr3) WriteObjectTextures(f, 20, 6, std::max(tiles, 1));
    WriteItems(f, rooms);
    for (int i = 0; i < 8192; ++i) f.U8(i % 256 / 8 * 8);
    f.W(0);  // cinematic frames
    f.W(0);  // demo data
    WriteSoundMap(f, 370);
    WriteSoundDetails(f);
    f.L(3);
    for (int i = 0; i < 3; ++i) f.L(i * 4000);
    return f.b;
}

// A TR5 base level: texture blocks, the flags, the geometry part with its size words, rooms
// with "XELA" labels, all sections up to the sample indices, then the samples.
inline std::vector<uint8_t> MakeBaseTr5(const Shape& shape = {}) {
    const auto rooms = BaseRooms(shape);
    const int roomTiles = shape.tr5RoomTiles, objectTiles = shape.tr5ObjectTiles;
    Bytes f;
    f.L(0x00345254);
    f.W(roomTiles);
    f.W(objectTiles);
    f.W(0);
    TextureBlock(f, Tiles32(roomTiles + objectTiles, 30, shape.tileRows));
    TextureBlock(f, Tiles16(roomTiles + objectTiles, 30, shape.tileRows));
    TextureBlock(f, Tiles32(shape.tr5MiscTiles, 50, shape.tileRows));  // font, sky and shine
    f.W(0);  // Lara type
    f.W(0);  // weather
    f.Fill(28);
    const size_t sizePos = f.Size();
    f.L(0);
    f.L(0);
    const size_t geometryStart = f.Size();
    f.L(0);
    f.L(static_cast<long long>(rooms.size()));
    for (auto& r : rooms) WriteRoomTr5(f, r);
    f.L(3);
    f.W(0);
    f.W(0x8001);
    f.W(1);
    WriteObjects(f, MakeObjects(Gen::Tr5));
    f.Text("SPR");
    f.U8(0);
    WriteSprites(f, roomTiles + objectTiles);
    WriteCameras(f, rooms);
    WriteFlybyCameras(f, rooms[0]);
    WriteSoundSources(f, rooms);
    WriteLayout(f, MakeLayout(rooms), Gen::Tr5);
    WriteAnimatedTextures(f);
    f.U8(0);
    f.Text("TEX");
    f.U8(0);
    WriteObjectTextures(f, 40, 6, roomTiles + objectTiles);
    WriteItems(f, rooms);
    WriteAiObjects(f, rooms);
    f.W(0);  // demo data
    WriteSoundMap(f, 450);
    WriteSoundDetails(f);
    f.L(3);
    for (int i = 0; i < 3; ++i) f.L(i);
    f.Fill(6, 0xCD);
    const long long geometrySize = static_cast<long long>(f.Size() - geometryStart);
    f.PatchL(sizePos, geometrySize);
    f.PatchL(sizePos + 4, geometrySize);
    for (int i = 0; i < shape.sounds; ++i) {
        auto wav = WaveSample(i, shape.soundLength);
        f.L(static_cast<long long>(wav.size()));
        f.L(static_cast<long long>(wav.size()));
        f.Raw(wav);
    }
    return f.b;
}

// ---- settings.dat ----------------------------------------------------------------------------

struct SampleJob {
    std::string JobName, SourceLevel, BaseLevel, NewLevel;
    int Weather = 0, LaraType = 0;
    bool OptimizeTextures = false, Cutscene = false, EraseStaticMeshes = false, EraseItems = false;
    int UvRange = 0;
};

inline void TextField(Bytes& out, const std::string& text) {
    if (text.size() > 256) throw std::runtime_error("text longer than 256 characters: " + text);
    out.Text(text.c_str());
    out.Fill(256 - text.size(), ' ');
}

// The job table file: magic, job count, 1293-byte job records, the editor's folder.
inline std::vector<uint8_t> MakeSettings(const std::vector<SampleJob>& jobs, const std::string& trleFolder) {
    if (jobs.size() > 255) throw std::runtime_error("at most 255 jobs");
    Bytes f;
    f.L(0xCD0000CD);
    f.U8(static_cast<int>(jobs.size()));
    for (auto& j : jobs) {
        TextField(f, j.SourceLevel);
        TextField(f, j.BaseLevel);
        TextField(f, j.NewLevel);
        TextField(f, j.JobName);
        f.W(j.Weather);
        f.W(j.LaraType);
        f.W(j.OptimizeTextures ? -1 : 0);
        f.W(j.Cutscene ? -1 : 0);
        f.W(j.EraseStaticMeshes ? -1 : 0);
        f.W(j.EraseItems ? -1 : 0);
        f.U8(j.UvRange);
        f.Fill(256);
    }
    TextField(f, trleFolder);
    return f.b;
}

// ---- The sample set --------------------------------------------------------------------------

struct SampleFile {
    std::string Name;
    std::vector<uint8_t> Bytes;
};

struct SampleTarget {
    const char* Label;    // job name
    const char* Base;     // base file name
    const char* NewLevel; // new level file name
};

inline const std::vector<SampleTarget>& SampleTargets() {
    static const std::vector<SampleTarget> t = {
        {"Sample to Tomb Raider", "base-tr1.PHD", "new-tr1.PHD"},
        {"Sample to Unfinished Business", "base-gold.TUB", "new-gold.TUB"},
        {"Sample to Tomb Raider 2", "base-tr2.TR2", "new-tr2.TR2"},
        {"Sample to Tomb Raider 3", "base-tr3.TR2", "new-tr3.TR2"},
        {"Sample to Chronicles", "base-tr5.TRC", "new-tr5.TRC"},
    };
    return t;
}
constexpr const char* SampleSourceName = "source.TR4";

inline std::vector<SampleFile> MakeSampleSet(const Shape& shape = {}) {
    return {{SampleSourceName, MakeSourceTr4(shape)},     {"base-tr1.PHD", MakeBaseTr1(false, shape)},
            {"base-gold.TUB", MakeBaseTr1(true, shape)},  {"base-tr2.TR2", MakeBaseTr23(false, shape)},
            {"base-tr3.TR2", MakeBaseTr23(true, shape)},  {"base-tr5.TRC", MakeBaseTr5(shape)}};
}
// The same files, small (see Shape::Small), under the same names.
inline std::vector<SampleFile> MakeSmallSampleSet() { return MakeSampleSet(Shape::Small()); }

// One job per target, with the files in folder (given with its trailing separator, or empty
// for names relative to the working directory).
inline std::vector<SampleJob> SampleJobs(const std::string& folder) {
    std::vector<SampleJob> jobs;
    for (auto& t : SampleTargets()) {
        SampleJob j;
        j.JobName = t.Label;
        j.SourceLevel = folder + SampleSourceName;
        j.BaseLevel = folder + t.Base;
        j.NewLevel = folder + t.NewLevel;
        j.UvRange = 7;
        jobs.push_back(j);
    }
    return jobs;
}

}  // namespace samples
