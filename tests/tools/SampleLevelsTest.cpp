// The sample levels must follow the layouts the converter reads, section by section, to their
// last byte. The walkers here read each file independently of the sample writer.
#include <gtest/gtest.h>
#include <zlib.h>

#include "../../tools/SampleLevels.h"
#include "driver/ConvertLevel.h"
#include "frontend/Program.h"
#include "support/ScriptedPlatform.h"
#include "support/TestFolder.h"

namespace {
struct Walker {
    const std::vector<uint8_t>& b;
    size_t pos = 0;
    explicit Walker(const std::vector<uint8_t>& bytes) : b(bytes) {}
    int32_t L() {
        int32_t v = Long(b, pos);
        pos += 4;
        return v;
    }
    int16_t W() {
        int16_t v = Word(b, pos);
        pos += 2;
        return v;
    }
    uint8_t U8() { return b.at(pos++); }
    std::string Text(size_t n) {
        std::string s(reinterpret_cast<const char*>(&b.at(pos)), n);
        pos += n;
        return s;
    }
    void Skip(long long n) {
        ASSERT_GE(n, 0);
        pos += static_cast<size_t>(n);
        ASSERT_LE(pos, b.size());
    }
    // A section: 32-bit count, count elements.
    int32_t Section(int elementSize) {
        int32_t n = L();
        Skip(static_cast<long long>(n) * elementSize);
        return n;
    }
    std::vector<uint8_t> Block(int32_t* uncompressed = nullptr) {
        int32_t u = L(), c = L();
        std::vector<uint8_t> out(static_cast<size_t>(u));
        uLongf size = static_cast<uLongf>(u);
        EXPECT_EQ(uncompress(out.data(), &size, &b.at(pos), static_cast<uLong>(c)), Z_OK);
        EXPECT_EQ(size, static_cast<uLongf>(u));
        pos += static_cast<size_t>(c);
        if (uncompressed) *uncompressed = u;
        return out;
    }
};

enum class Form { Tr4, Tr1, Tr2, Tr3 };

// One room in the layout of the generation; returns the number of quads and triangles.
int WalkRoom(Walker& w, Form f) {
    w.Skip(16);
    int32_t dataWords = w.L();
    size_t geometryStart = w.pos;
    int nv = w.W();
    w.Skip(nv * (f == Form::Tr1 ? 8 : 12));
    int nq = w.W();
    w.Skip(nq * 10);
    int nt = w.W();
    w.Skip(nt * 8);
    int ns = w.W();
    w.Skip(ns * 4);
    EXPECT_EQ(static_cast<long long>(w.pos - geometryStart), dataWords * 2LL);
    int np = w.W();
    w.Skip(np * 32);
    int nz = w.W(), nx = w.W();
    w.Skip(nz * nx * 8);
    w.Skip(f == Form::Tr1 ? 2 : f == Form::Tr2 ? 6 : 4);
    int nl = w.W();
    w.Skip(nl * (f == Form::Tr4 ? 46 : f == Form::Tr1 ? 18 : 24));
    int nm = w.W();
    w.Skip(nm * (f == Form::Tr1 ? 18 : 20));
    w.Skip(4);
    if (f == Form::Tr4 || f == Form::Tr3) w.Skip(3);
    return nq + nt;
}

struct SourceFacts {
    int rooms = 0, faces = 0, lightTypes = 0, flybys = 0, items = 0, objectTextures = 0;
    bool laraFirst = false;
};

SourceFacts WalkSource(const std::vector<uint8_t>& file) {
    SourceFacts facts;
    Walker w(file);
    EXPECT_EQ(w.L(), 0x00345254);
    EXPECT_GT(w.W(), 0);
    w.Skip(4);
    for (int i = 0; i < 3; ++i) w.Block();
    auto geometry = w.Block();
    int samples = w.L();
    for (int i = 0; i < samples; ++i) {
        w.L();
        w.Skip(w.L());
    }
    EXPECT_EQ(w.pos, file.size());

    Walker g(geometry);
    g.L();
    facts.rooms = g.W();
    for (int r = 0; r < facts.rooms; ++r) {
        // Collect the light types of the room as well.
        Walker probe(geometry);
        probe.pos = g.pos;
        facts.faces += WalkRoom(g, Form::Tr4);
        probe.Skip(20);
        probe.Skip(probe.W() * 12);
        probe.Skip(probe.W() * 10);
        probe.Skip(probe.W() * 8);
        probe.Skip(probe.W() * 4);
        probe.Skip(probe.W() * 32);
        int nz = probe.W(), nx = probe.W();
        probe.Skip(nz * nx * 8 + 4);
        int nl = probe.W();
        for (int l = 0; l < nl; ++l) {
            facts.lightTypes |= 1 << geometry.at(probe.pos + 15);
            probe.Skip(46);
        }
    }
    g.Section(2);  // floor data
    g.Section(2);  // mesh data
    g.Section(4);
    g.Section(40);
    g.Section(6);
    g.Section(8);
    g.Section(2);
    g.Section(4);
    g.Section(2);
    g.Section(18);
    g.Section(32);
    EXPECT_EQ(g.Text(3), "SPR");
    g.Section(16);
    g.Section(8);
    g.Section(16);
    int flybyAt = static_cast<int>(g.pos);
    facts.flybys = g.Section(40);
    for (int c = 0; c < facts.flybys; ++c) EXPECT_GT(Word(geometry, flybyAt + 4 + c * 40 + 30), 0);
    g.Section(16);
    int boxes = g.Section(8);
    EXPECT_GT(boxes, 0);
    EXPECT_GT(g.Section(2), 0);
    g.Skip(boxes * 20LL);
    EXPECT_GT(g.Section(2), 1);  // animated textures
    g.U8();
    EXPECT_EQ(g.Text(3), "TEX");
    facts.objectTextures = g.Section(38);
    int itemsAt = static_cast<int>(g.pos);
    facts.items = g.Section(24);
    facts.laraFirst = facts.items > 0 && Word(geometry, itemsAt + 4) == 0;
    g.Section(24);
    g.Skip(g.W() * 2LL);
    g.Skip(740);
    g.Section(8);
    g.Section(4);
    EXPECT_EQ(g.pos, geometry.size());
    return facts;
}

// The sections behind the rooms of a TR1 to TR3 base, up to the end of the file.
void WalkBaseTail(Walker& w, int target) {
    const bool tr1 = target <= 2, tr3 = target == 4;
    w.Section(2);
    w.Section(2);
    w.Section(4);
    w.Section(32);
    w.Section(6);
    w.Section(8);
    w.Section(2);
    w.Section(4);
    w.Section(2);
    w.Section(18);
    w.Section(32);
    if (!tr3) EXPECT_GT(w.Section(20), 0);
    w.Section(16);
    w.Section(8);
    if (target == 2) w.Skip(768);
    w.Section(16);
    w.Section(16);
    int boxes = w.Section(tr1 ? 20 : 8);
    EXPECT_GT(boxes, 0);
    EXPECT_GT(w.Section(2), 0);
    w.Skip(boxes * (tr1 ? 12LL : 20LL));
    w.Section(2);
    if (tr3) EXPECT_GT(w.Section(20), 0);
    EXPECT_GT(w.Section(24), 0);
    w.Skip(8192);
    if (target == 1) w.Skip(768);
    w.Skip(w.W() * 16LL);
    w.Skip(w.W() * 2LL);
    w.Skip(tr1 ? 512 : 740);
    w.Section(8);
    if (tr1) w.Section(1);
    w.Section(4);
    EXPECT_EQ(w.pos, w.b.size());
}

std::vector<uint8_t> SampleNamed(const std::string& name) {
    for (auto& f : samples::MakeSampleSet())
        if (f.Name == name) return f.Bytes;
    return {};
}
}  // namespace

TEST(SampleLevels, SourceFollowsTheTr4LayoutToItsLastByte) {
    SourceFacts f = WalkSource(SampleNamed("source.TR4"));
    EXPECT_EQ(f.rooms, 5);
    EXPECT_EQ(f.lightTypes, 0x1F);  // sun, point, spot, shadow and fog bulb
    EXPECT_EQ(f.flybys, 3);
    EXPECT_EQ(f.objectTextures, samples::SampleObjectTextures);
    EXPECT_TRUE(f.laraFirst);
}

TEST(SampleLevels, ScaledSourcesGrowRoomsAndFacesTogether) {
    SourceFacts one = WalkSource(samples::MakeSourceTr4(1));
    SourceFacts four = WalkSource(samples::MakeSourceTr4(4));
    SourceFacts sixteen = WalkSource(samples::MakeSourceTr4(16));
    EXPECT_EQ(four.rooms, 4 * one.rooms);
    EXPECT_EQ(sixteen.rooms, 16 * one.rooms);
    EXPECT_EQ(four.faces, 4 * one.faces);
    EXPECT_EQ(sixteen.faces, 16 * one.faces);
    EXPECT_EQ(samples::MakeSourceTr4(4), samples::MakeSourceTr4(4));  // deterministic
}

TEST(SampleLevels, Tr1AndGoldBasesDifferOnlyInThePalettePlace) {
    auto tr1 = SampleNamed("base-tr1.PHD"), gold = SampleNamed("base-gold.TUB");
    ASSERT_EQ(tr1.size(), gold.size());
    EXPECT_NE(tr1, gold);
    for (int target : {1, 2}) {
        auto& file = target == 1 ? tr1 : gold;
        Walker w(file);
        EXPECT_EQ(w.L(), 0x20);
        int tiles = w.L();
        EXPECT_EQ(tiles, 2);
        w.Skip(tiles * 65536LL);
        w.L();
        int rooms = w.W();
        EXPECT_EQ(rooms, 3);
        for (int r = 0; r < rooms; ++r) WalkRoom(w, Form::Tr1);
        WalkBaseTail(w, target);
    }
}

TEST(SampleLevels, Tr2AndTr3BasesHaveTheirPalettesTilesAndRooms) {
    for (int target : {3, 4}) {
        auto file = SampleNamed(target == 3 ? "base-tr2.TR2" : "base-tr3.TR2");
        Walker w(file);
        EXPECT_EQ(static_cast<uint32_t>(w.L()), target == 3 ? 0x2Du : 0xFF080038u);
        w.Skip(768 + 1024);
        int tiles = w.L();
        w.Skip(tiles * (65536LL + 131072LL));
        w.L();
        int rooms = w.W();
        for (int r = 0; r < rooms; ++r) WalkRoom(w, target == 3 ? Form::Tr2 : Form::Tr3);
        WalkBaseTail(w, target);
    }
}

TEST(SampleLevels, Tr5BaseRoomsChainByLabelAndTheGeometrySizeEndsAtTheSamples) {
    auto file = SampleNamed("base-tr5.TRC");
    Walker w(file);
    EXPECT_EQ(w.L(), 0x00345254);
    w.Skip(6);
    for (int i = 0; i < 3; ++i) w.Block();
    w.Skip(32);
    int32_t size1 = w.L(), size2 = w.L();
    EXPECT_EQ(size1, size2);
    size_t samplesPos = w.pos + static_cast<size_t>(size1);
    w.L();
    int rooms = w.L();
    EXPECT_EQ(rooms, 3);
    for (int r = 0; r < rooms; ++r) {
        size_t start = w.pos;
        EXPECT_EQ(w.Text(4), "XELA");
        int32_t roomSize = w.L();
        // Offsets inside the room: sectors before portals, portals before static meshes.
        int32_t portals = Long(file, start + 12), sectors = Long(file, start + 16);
        int nz = Word(file, start + 48), nx = Word(file, start + 50);
        EXPECT_EQ(portals - sectors, nz * nx * 8);
        EXPECT_EQ(Long(file, start + 188), Long(file, start + 192));
        EXPECT_EQ(Long(file, start + 196), Long(file, start + 216 + Long(file, start + 180)) * 28 + 2);
        w.pos = start + 8 + static_cast<size_t>(roomSize);
    }
    w.Section(2);
    w.Section(2);
    w.Section(4);
    w.Section(40);
    w.Section(6);
    w.Section(8);
    w.Section(2);
    w.Section(4);
    w.Section(2);
    w.Section(20);
    w.Section(32);
    EXPECT_EQ(w.Text(4), std::string("SPR\0", 4));
    w.Section(16);
    w.Section(8);
    w.Section(16);
    EXPECT_GT(w.Section(40), 0);
    w.Section(16);
    int boxes = w.Section(8);
    w.Section(2);
    w.Skip(boxes * 20LL);
    w.Section(2);
    w.Skip(5);
    EXPECT_GT(w.Section(40), 0);
    w.Section(24);
    w.Section(24);
    w.Skip(w.W());
    w.Skip(900);
    w.Section(8);
    int samples = w.Section(4);
    EXPECT_LE(w.pos, samplesPos);
    w.pos = samplesPos;
    for (int i = 0; i < samples; ++i) {
        w.L();
        w.Skip(w.L());
    }
    EXPECT_EQ(w.pos, file.size());
}

TEST(SampleLevels, SettingsHoldOneJobPerTargetInThe1293ByteRecords) {
    auto s = samples::MakeSettings(samples::SampleJobs("/x/"), "/x");
    ASSERT_EQ(s.size(), 5u + 5u * 1293u + 256u);
    EXPECT_EQ(static_cast<uint32_t>(Long(s, 0)), 0xCD0000CDu);
    EXPECT_EQ(s[4], 5);
    auto field = [&](size_t off) {
        std::string t(reinterpret_cast<const char*>(&s[off]), 256);
        return t.substr(0, t.find_last_not_of(' ') + 1);
    };
    EXPECT_EQ(field(5), "/x/source.TR4");
    EXPECT_EQ(field(5 + 256), "/x/base-tr1.PHD");
    EXPECT_EQ(field(5 + 1293 + 256), "/x/base-gold.TUB");
    EXPECT_EQ(field(5 + 4 * 1293 + 512), "/x/new-tr5.TRC");
    EXPECT_EQ(field(5 + 4 * 1293 + 768), "Sample to Chronicles");
    EXPECT_EQ(s[5 + 1036], 7);                 // UV range
    EXPECT_EQ(Word(s, 5 + 1028), 0);           // no optimizer
    EXPECT_EQ(field(5 + 5 * 1293), "/x");      // editor folder
    EXPECT_THROW(samples::MakeSettings(std::vector<samples::SampleJob>(256), ""), std::runtime_error);
}

// Every sample converts to its end without a message box, and without an error line other
// than the one that says the older targets have no place for the source's flyby cameras.
TEST(SampleLevels, EveryTargetConvertsWithoutErrors) {
    const std::string flyby = "ConvertLevel() -> Error: Flyby cameras not supported in this Tomb Raider version!";
    TestFolder dir;
    for (auto& f : samples::MakeSampleSet()) WriteFileBytes(dir / f.Name, f.Bytes);
    for (auto& t : samples::SampleTargets()) {
        ScriptedPlatform platform;
        Program prog(platform, dir.str());
        ConvertLevel(prog, dir / samples::SampleSourceName, dir / t.Base, dir / t.NewLevel);
        prog.channels.CloseAllChannels();
        EXPECT_TRUE(platform.boxes.empty()) << t.Label << ": " << platform.boxes.front().text;
        bool done = false;
        int flybyLines = 0;
        for (auto& line : prog.form.l.Items()) {
            std::string message = line.substr(line.find("] ") + 2);
            if (message == flyby) {
                ++flybyLines;
                continue;
            }
            EXPECT_EQ(message.find("Error"), std::string::npos) << t.Label << ": " << message;
            if (message == "Conversion done") done = true;
        }
        EXPECT_TRUE(done) << t.Label;
        EXPECT_LE(flybyLines, std::string(t.Base) == "base-tr5.TRC" ? 0 : 1) << t.Label;
        auto out = ReadFileBytes(dir / t.NewLevel);
        auto base = ReadFileBytes(dir / t.Base);
        ASSERT_GE(out.size(), 4u);
        EXPECT_EQ(Long(out, 0), Long(base, 0)) << t.Label;
    }
}
