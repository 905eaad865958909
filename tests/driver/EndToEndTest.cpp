// Converts the real source level against every real base and walks each new level section by
// section, in the layout that the conversion produces, to its exact last byte. Every section
// is compared with the input it comes from.
#include <gtest/gtest.h>

#include <algorithm>

#include "rooms/RoomTestSupport.h"

namespace {
using Bytes = std::vector<uint8_t>;

struct Target {
    const char* baseName;
    int version;
    RoomLayout layout;
};

// A cursor over one file, with a name for the failure messages.
struct Cursor {
    const Bytes& b;
    size_t at;
    int32_t Long() {
        int32_t v = ::Long(b, at);
        at += 4;
        return v;
    }
    int16_t Word() {
        int16_t v = ::Word(b, at);
        at += 2;
        return v;
    }
    Bytes Take(size_t n) {
        if (at + n > b.size()) throw std::runtime_error("walked past the end");
        Bytes out(b.begin() + long(at), b.begin() + long(at + n));
        at += n;
        return out;
    }
};

struct Walk {
    Cursor src, base, out;
    // A counted section whose content comes from the base.
    void FromBase(size_t sourceSize, size_t baseSize, const char* name) {
        SCOPED_TRACE(name);
        int32_t n = src.Long();
        src.Take(size_t(n) * sourceSize);
        int32_t b = base.Long();
        ASSERT_EQ(out.Long(), b);
        EXPECT_EQ(out.Take(size_t(b) * baseSize), base.Take(size_t(b) * baseSize));
    }
    // A counted section whose content comes from the source.
    int32_t FromSource(size_t size, const char* name) {
        SCOPED_TRACE(name);
        int32_t b = base.Long();
        base.Take(size_t(b) * size);
        int32_t n = src.Long();
        EXPECT_EQ(out.Long(), n);
        EXPECT_EQ(out.Take(size_t(n) * size), src.Take(size_t(n) * size));
        return n;
    }
};

struct Conversion {
    TestFolder dir;
    ScriptedPlatform platform;
    Program prog{platform, dir.str()};
    Conversion() { prog.channels.Open(LogChannel, dir / "morv.log", OpenMode::TextOutput); }
    std::vector<std::string> Messages() const {
        std::vector<std::string> out;
        for (auto& line : prog.form.l.Items()) out.push_back(line.substr(line.find("] ") + 2));
        return out;
    }
    bool Logged(const std::string& m) const {
        auto all = Messages();
        return std::find(all.begin(), all.end(), m) != all.end();
    }
    Bytes Convert(const std::string& base, const std::string& newName) {
        ConvertLevel(prog, SharedLevel("source-tr4.TR4"), SharedLevel(base), dir / newName);
        prog.channels.CloseAllChannels();
        return ReadFileBytes(dir / newName);
    }
};

// The source's geometry block, inflated, and where its rooms end.
struct Source {
    Bytes geometry;
    size_t roomsEnd = 0;
    int32_t numRooms = 0;
};
Source LoadSource() {
    Source s;
    Bytes file = ReadFileBytes(SharedLevel("source-tr4.TR4"));
    size_t next = 10;
    for (int i = 0; i < 3; ++i) InflateBlockAt(file, next, next);
    s.geometry = InflateBlockAt(file, next, next);
    ParsedRooms rooms = ParseRoomSection(s.geometry, 0, RoomLayout::Tr4);
    s.roomsEnd = rooms.end;
    s.numRooms = int32_t(rooms.rooms.size());
    return s;
}

// First byte of the room section (the lead word) of a TR1 to TR3 level.
size_t ClassicRoomsOffset(const Bytes& level, int version) {
    if (version <= 2) return 8 + size_t(Long(level, 4)) * 65536;
    return 1800 + size_t(Long(level, 1796)) * 196608;
}

// Offset of the TR5 geometry size words: behind three texture blocks and the flags.
size_t Tr5GeometryHeader(const Bytes& level) {
    size_t at = 10;
    for (int i = 0; i < 3; ++i) at += 8 + size_t(Long(level, at + 4));
    return at + 32;
}

void WalkNewLevel(const Target& t, Conversion& c, const Bytes& out, bool eraseItems) {
    const auto& s = c.prog.state;
    const bool tr5 = t.version == 6;
    Source src = LoadSource();
    Bytes base = ReadFileBytes(SharedLevel(t.baseName));

    size_t baseAt, outAt, samplesAt = 0, outGeometry = 0;
    if (tr5) {
        size_t bh = Tr5GeometryHeader(base);
        samplesAt = bh + 8 + size_t(Long(base, bh + 4));
        baseAt = bh + 8 + 4;
        int32_t baseRooms = Long(base, baseAt);
        baseAt += 4;
        for (int32_t i = 0; i < baseRooms; ++i) baseAt += 8 + size_t(Long(base, baseAt + 4));
        outGeometry = Tr5GeometryHeader(out);
        EXPECT_EQ(size_t(s.GeometryHeaderPos - 1), outGeometry);
        outAt = outGeometry + 8 + 4;
        EXPECT_EQ(Long(out, outAt), src.numRooms);
        outAt += 4;
        for (int32_t i = 0; i < src.numRooms; ++i) {
            ASSERT_EQ(std::string(out.begin() + long(outAt), out.begin() + long(outAt) + 4), "XELA");
            outAt += 8 + size_t(Long(out, outAt + 4));
        }
    } else {
        baseAt = ParseRoomSection(base, ClassicRoomsOffset(base, t.version), t.layout).end;
        ParsedRooms rooms = ParseRoomSection(out, ClassicRoomsOffset(out, t.version), t.layout);
        ASSERT_EQ(int32_t(rooms.rooms.size()), src.numRooms);
        outAt = rooms.end;
    }

    Walk w{{src.geometry, src.roomsEnd}, {base, baseAt}, {out, outAt}};
    w.FromSource(2, "floor data");
    w.FromBase(2, 2, "mesh data");
    w.FromBase(4, 4, "mesh pointers");
    w.FromBase(40, tr5 ? 40 : 32, "animations");
    w.FromBase(6, 6, "state changes");
    w.FromBase(8, 8, "ranges");
    w.FromBase(2, 2, "commands");
    w.FromBase(4, 4, "mesh trees");
    w.FromBase(2, 2, "frames");
    w.FromBase(18, tr5 ? 20 : 18, "moveables");
    w.FromBase(32, 32, "static meshes");
    const int32_t rows = s.NumRoomTextureIds;
    EXPECT_GT(rows, 0);
    if (t.version < 4) {
        int32_t b = w.base.Long();
        EXPECT_EQ(w.out.Long(), b + rows);
        EXPECT_EQ(w.out.Take(size_t(b) * 20), w.base.Take(size_t(b) * 20));
        w.out.Take(size_t(rows) * 20);
    }
    Bytes marker = w.src.Take(3);
    if (tr5) {
        w.base.Take(4);
        Bytes written = w.out.Take(4);
        EXPECT_EQ(Bytes(written.begin(), written.begin() + 3), marker);
        EXPECT_EQ(written[3], 0);
    }
    w.FromBase(16, 16, "sprite textures");
    w.FromBase(8, 8, "sprite sequences");
    if (t.version == 2) EXPECT_EQ(w.out.Take(768), w.base.Take(768));
    w.FromSource(16, "cameras");
    if (tr5) {
        w.FromSource(40, "flyby cameras");
    } else {
        w.src.Take(size_t(w.src.Long()) * 40);
    }
    w.FromSource(16, "sound sources");

    // Boxes, overlaps, zones.
    if (t.version < 3) {
        int32_t bb = w.base.Long();
        w.base.Take(size_t(bb) * 20);
        int32_t n = w.src.Long();
        EXPECT_EQ(w.out.Long(), n);
        Bytes boxes = w.src.Take(size_t(n) * 8);
        Bytes wide = w.out.Take(size_t(n) * 20);
        for (size_t i = 0; i < size_t(n); ++i)
            for (size_t k = 0; k < 4; ++k) ASSERT_EQ(Long(wide, i * 20 + k * 4), boxes[i * 8 + k] * 1024);
        w.FromSource(2, "overlaps");
        w.base.Take(size_t(bb) * 12);
        Bytes zones = w.src.Take(size_t(n) * 20);
        Bytes narrow = w.out.Take(size_t(n) * 12);
        EXPECT_EQ(Word(narrow, 8), Word(zones, 12));
    } else {
        int32_t bb = w.base.Long();
        w.base.Take(size_t(bb) * 8);
        int32_t n = w.src.Long();
        EXPECT_EQ(w.out.Long(), n);
        EXPECT_EQ(w.out.Take(size_t(n) * 8), w.src.Take(size_t(n) * 8));
        w.FromSource(2, "overlaps");
        w.base.Take(size_t(bb) * 20);
        EXPECT_EQ(w.out.Take(size_t(n) * 20), w.src.Take(size_t(n) * 20));
    }

    // Animated textures: same length, ids renumbered.
    w.base.Take(size_t(w.base.Long()) * 2);
    int32_t words = w.src.Long();
    EXPECT_EQ(w.out.Long(), words);
    w.src.Take(size_t(words) * 2);
    w.out.Take(size_t(words) * 2);

    // The source's object textures; the late table of TR3 and TR5.
    w.src.Take(4);
    w.src.Take(size_t(w.src.Long()) * 38);
    if (t.version == 4) {
        int32_t b = w.base.Long();
        EXPECT_EQ(w.out.Long(), b + rows);
        EXPECT_EQ(w.out.Take(size_t(b) * 20), w.base.Take(size_t(b) * 20));
        w.out.Take(size_t(rows) * 20);
    } else if (tr5) {
        Bytes head = w.out.Take(5);  // UV byte, the source's marker, UV byte
        EXPECT_EQ(head[0], head[4]);
        w.base.Take(5);
        int32_t b = w.base.Long();
        EXPECT_EQ(w.out.Long(), b + rows);
        EXPECT_EQ(w.out.Take(size_t(b) * 40), w.base.Take(size_t(b) * 40));
        w.out.Take(size_t(rows) * 40);
    }

    // Items.
    w.base.Take(size_t(w.base.Long()) * 24);
    int32_t items = w.src.Long();
    Bytes sourceItems = w.src.Take(size_t(items) * 24);
    int32_t written = w.out.Long();
    if (eraseItems) {
        ASSERT_EQ(written, 1);
        Bytes lara = w.out.Take(24);
        EXPECT_EQ(Word(lara, 0), 0);
    } else {
        ASSERT_EQ(written, items);
        Bytes outItems = w.out.Take(size_t(items) * 24);
        for (size_t i = 0; i < size_t(items); ++i) {
            EXPECT_TRUE(std::equal(outItems.begin() + long(i * 24), outItems.begin() + long(i * 24 + 20),
                                   sourceItems.begin() + long(i * 24)));
            EXPECT_EQ(Word(outItems, i * 24 + 20), tr5 ? Word(sourceItems, i * 24 + 20) : Word(sourceItems, i * 24 + 18));
        }
    }
    int32_t ai = w.src.Long();
    if (tr5) {
        EXPECT_EQ(w.out.Long(), ai);
        EXPECT_EQ(w.out.Take(size_t(ai) * 24), w.src.Take(size_t(ai) * 24));
        w.base.Take(size_t(w.base.Long()) * 24);
        EXPECT_EQ(w.out.Word(), 0);
        w.base.Take(size_t(w.base.Word()));
        EXPECT_EQ(w.out.Take(900), w.base.Take(900));
        int32_t details = w.base.Long();
        EXPECT_EQ(w.out.Long(), details);
        EXPECT_EQ(w.out.Take(size_t(details) * 8), w.base.Take(size_t(details) * 8));
        int32_t indices = w.base.Long();
        EXPECT_EQ(w.out.Long(), indices);
        EXPECT_EQ(w.out.Take(size_t(indices) * 4), w.base.Take(size_t(indices) * 4));
        // The geometry part ends here; the samples of the base close the file.
        size_t geometryEnd = w.out.at;
        EXPECT_EQ(Long(out, outGeometry), int32_t(geometryEnd - outGeometry - 8));
        EXPECT_EQ(Long(out, outGeometry + 4), int32_t(geometryEnd - outGeometry - 8));
        EXPECT_EQ(Bytes(out.begin() + long(geometryEnd), out.end()), Bytes(base.begin() + long(samplesAt), base.end()));
        // Each sample: sizes and data, to the last byte.
        Cursor samples{out, geometryEnd};
        int32_t count = samples.Long();
        for (int32_t i = 0; i < count; ++i) {
            samples.Long();
            samples.Take(size_t(samples.Long()));
        }
        EXPECT_EQ(samples.at, out.size());
    } else {
        w.src.Take(size_t(ai) * 24);
        EXPECT_EQ(w.out.Take(8192), w.base.Take(8192));
        // The rest of the base, to the last byte of both files.
        EXPECT_EQ(out.size() - w.out.at, base.size() - w.base.at);
        EXPECT_TRUE(std::equal(out.begin() + long(w.out.at), out.end(), base.begin() + long(w.base.at)));
    }
}

const Target Targets[] = {{"base-tr1.PHD", 1, RoomLayout::Tr1},
                          {"base-gold.TUB", 2, RoomLayout::Tr1},
                          {"base-tr2.TR2", 3, RoomLayout::Tr2},
                          {"base-tr3.TR2", 4, RoomLayout::Tr3},
                          {"base-tr5.TRC", 6, RoomLayout::Tr2}};

class EndToEnd : public ::testing::TestWithParam<Target> {};
}  // namespace

TEST_P(EndToEnd, DefaultOptionsWalkToTheLastByte) {
    Conversion c;
    c.prog.form.Check3.SetValue(0);
    Bytes out = c.Convert(GetParam().baseName, "new.lvl");
    ASSERT_TRUE(c.Logged("Conversion done")) << c.Messages().back();
    EXPECT_TRUE(c.platform.boxes.empty());
    WalkNewLevel(GetParam(), c, out, false);
}

TEST_P(EndToEnd, EraseItemsAndStaticMeshesWalkToTheLastByte) {
    Conversion c;
    c.prog.form.Check1.SetValue(1);
    c.prog.form.Check2.SetValue(1);
    c.prog.form.Check3.SetValue(1);
    Bytes out = c.Convert(GetParam().baseName, "new.lvl");
    ASSERT_TRUE(c.Logged("Conversion done")) << c.Messages().back();
    ASSERT_EQ(c.platform.started.size(), 1u);
    EXPECT_EQ(c.platform.started[0], c.dir / "toptimizer.exe" + " " + (c.dir / "new.lvl"));
    WalkNewLevel(GetParam(), c, out, true);
}

TEST_P(EndToEnd, CutsceneOnTheRealSourceStopsOnItsEmptyFlybyCameras) {
    Conversion c;
    c.prog.form.Check3.SetValue(0);
    c.prog.form.Check4.SetValue(1);
    Bytes out = c.Convert(GetParam().baseName, "new.lvl");
    if (GetParam().version == 6) {
        // The option has no effect on TR5.
        ASSERT_TRUE(c.Logged("Conversion done"));
        WalkNewLevel(GetParam(), c, out, false);
        return;
    }
    // Every flyby camera of this source has a frame count of 0.
    EXPECT_FALSE(c.Logged("Conversion done"));
    EXPECT_EQ(c.Messages().back(), "Division by zero (11)");
    ASSERT_EQ(c.platform.boxes.size(), 1u);
    EXPECT_EQ(c.platform.boxes[0].text, "Division by zero");
}

INSTANTIATE_TEST_SUITE_P(RealLevels, EndToEnd, ::testing::ValuesIn(Targets),
                         [](const auto& info) { return std::to_string(info.param.version); });

namespace {
// The real source with its flyby cameras given a frame count, and Lara's item moved along X;
// the geometry block is packed again.
struct PatchedSource {
    int32_t numCameras = 0;
    int32_t laraX = 0, laraY = 0, laraZ = 0;
    std::vector<int32_t> cameraAX;
    std::vector<uint16_t> cameraFlags;
};

PatchedSource WriteCutsceneSource(const std::string& path, int16_t frameCount, int32_t moveLara) {
    PatchedSource p;
    Bytes file = ReadFileBytes(SharedLevel("source-tr4.TR4"));
    size_t block = 10;
    for (int i = 0; i < 3; ++i) InflateBlockAt(file, block, block);
    size_t behind = 0;
    Bytes g = InflateBlockAt(file, block, behind);

    Cursor c{g, ParseRoomSection(g, 0, RoomLayout::Tr4).end};
    auto skip = [&](size_t size) { c.Take(size_t(c.Long()) * size); };
    for (size_t size : {2, 2, 4, 40, 6, 8, 2, 4, 2, 18, 32}) skip(size);
    c.Take(3);
    skip(16);
    skip(8);
    skip(16);
    p.numCameras = c.Long();
    for (int32_t i = 0; i < p.numCameras; ++i) {
        size_t cam = c.at + size_t(i) * 40;
        g[cam + 30] = uint8_t(frameCount);
        g[cam + 31] = uint8_t(uint16_t(frameCount) >> 8);
        p.cameraAX.push_back(Long(g, cam));
        p.cameraFlags.push_back(uint16_t(Word(g, cam + 34)));
    }
    c.Take(size_t(p.numCameras) * 40);
    skip(16);
    int32_t boxes = c.Long();
    c.Take(size_t(boxes) * 8);
    skip(2);
    c.Take(size_t(boxes) * 20);
    skip(2);
    c.Take(4);
    skip(38);
    int32_t items = c.Long();
    for (int32_t i = 0; i < items; ++i) {
        size_t item = c.at + size_t(i) * 24;
        if (Word(g, item) != 0) continue;
        int32_t x = Long(g, item + 4) + moveLara;
        for (int k = 0; k < 4; ++k) g[item + 4 + size_t(k)] = uint8_t(uint32_t(x) >> (8 * k));
        p.laraX = x, p.laraY = Long(g, item + 8), p.laraZ = Long(g, item + 12);
    }

    uLongf packedSize = compressBound(uLong(g.size()));
    Bytes packed(packedSize);
    compress(packed.data(), &packedSize, g.data(), uLong(g.size()));
    packed.resize(packedSize);
    ByteWriter w;
    w.Bytes(Bytes(file.begin(), file.begin() + long(block)));
    w.Long(int64_t(g.size())).Long(int64_t(packed.size())).Bytes(packed);
    w.Bytes(Bytes(file.begin() + long(behind), file.end()));
    WriteLevel(path, w.bytes);
    return p;
}

// The cinematic frame table behind the colour map of a TR3 level made from the real source.
Bytes FrameTable(Conversion& c, const Bytes& out) {
    Bytes base = ReadFileBytes(SharedLevel("base-tr3.TR2"));
    size_t size = 2 + size_t(c.prog.state.NumCinematicFrames) * 16;
    // The new table is followed by the rest of the base behind the base's own table, so it is
    // found from the end of the file.
    size_t restOfBase = 0;
    {
        // The base's frame table: behind the colour map, which follows the items.
        Cursor b{base, ParseRoomSection(base, ClassicRoomsOffset(base, 4), RoomLayout::Tr3).end};
        auto skip = [&](size_t sz) { b.Take(size_t(b.Long()) * sz); };
        for (size_t sz : {2, 2, 4, 32, 6, 8, 2, 4, 2, 18, 32}) skip(sz);
        skip(16);
        skip(8);
        skip(16);
        skip(16);
        int32_t boxes = b.Long();
        b.Take(size_t(boxes) * 8);
        skip(2);
        b.Take(size_t(boxes) * 20);
        skip(2);
        skip(20);
        skip(24);
        b.Take(8192);
        int16_t frames = b.Word();
        restOfBase = base.size() - (b.at + size_t(frames) * 16);
    }
    size_t start = out.size() - restOfBase - size;
    return Bytes(out.begin() + long(start), out.begin() + long(start + size));
}
}  // namespace

TEST(EndToEndCutscene, LaraPositionOfOneConversionServesTheNextWithErasedItems) {
    Conversion c;
    c.prog.form.Check3.SetValue(0);
    c.prog.form.Check4.SetValue(1);
    PatchedSource first = WriteCutsceneSource(c.dir / "first.tr4", 3, 0);
    ASSERT_GT(first.numCameras, 0);
    ConvertLevel(c.prog, c.dir / "first.tr4", SharedLevel("base-tr3.TR2"), c.dir / "first.tr2");
    c.prog.channels.CloseAllChannels();
    ASSERT_TRUE(c.Logged("Conversion done")) << c.Messages().back();
    EXPECT_EQ(c.prog.state.LaraPosition.X, first.laraX);
    EXPECT_EQ(c.prog.state.LaraPosition.Z, first.laraZ);
    ASSERT_EQ(c.prog.state.NumCinematicFrames, first.numCameras * 3);
    Bytes firstOut = ReadFileBytes(c.dir / "first.tr2");
    Bytes firstFrames = FrameTable(c, firstOut);
    EXPECT_EQ(Word(firstFrames, 0), first.numCameras * 3);
    // A camera whose first point stays put carries it relative to Lara.
    for (int32_t i = 0; i < first.numCameras; ++i)
        if (!(first.cameraFlags[size_t(i)] & 2))
            EXPECT_EQ(Word(firstFrames, 2 + size_t(i) * 3 * 16 + 6), first.cameraAX[size_t(i)] - first.laraX);

    // Second source: Lara stands elsewhere, but with her items erased her position is not
    // taken again, and the frames come out as before.
    c.prog.form.Check1.SetValue(1);
    PatchedSource second = WriteCutsceneSource(c.dir / "second.tr4", 3, 512);
    ASSERT_NE(second.laraX, first.laraX);
    ConvertLevel(c.prog, c.dir / "second.tr4", SharedLevel("base-tr3.TR2"), c.dir / "second.tr2");
    c.prog.channels.CloseAllChannels();
    EXPECT_EQ(c.prog.state.LaraPosition.X, first.laraX);
    EXPECT_EQ(FrameTable(c, ReadFileBytes(c.dir / "second.tr2")), firstFrames);
}
