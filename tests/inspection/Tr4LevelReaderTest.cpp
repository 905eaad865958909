#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "frontend/Program.h"
#include "inspection/Tr4LevelReader.h"
#include "support/ScriptedPlatform.h"
#include "support/TestFolder.h"

namespace {
// A program with its log open, whose system temporary folder is the test's own folder, so the
// reader's working file lands there. Progress values are recorded as they are set.
struct Fixture {
    TestFolder dir;
    ScriptedPlatform platform;
    Program prog{platform, dir.str()};
    std::vector<float> progress;
    std::string oldTmp;
    bool hadTmp = false;

    Fixture() {
        if (const char* t = std::getenv("TMPDIR")) hadTmp = true, oldTmp = t;
        ::setenv("TMPDIR", dir.str().c_str(), 1);
        prog.channels.Open(LogChannel, dir / "morv.log", OpenMode::TextOutput);
        prog.form.p.Changed = [this] { progress.push_back(prog.form.p.Value()); };
    }
    ~Fixture() {
        if (hadTmp)
            ::setenv("TMPDIR", oldTmp.c_str(), 1);
        else
            ::unsetenv("TMPDIR");
    }
    std::vector<std::string> Messages() const {
        std::vector<std::string> out;
        for (auto& line : prog.form.l.Items()) out.push_back(line.substr(line.find("] ") + 2));
        return out;
    }
    std::string WorkingFile() const { return dir / "geometry.tmp"; }
};

void Put16(std::vector<uint8_t>& b, int v) {
    b.push_back(uint8_t(v));
    b.push_back(uint8_t(v >> 8));
}
void Put32(std::vector<uint8_t>& b, uint32_t v) {
    for (int i = 0; i < 4; ++i) b.push_back(uint8_t(v >> (8 * i)));
}
void PutZeros(std::vector<uint8_t>& b, size_t n) { b.insert(b.end(), n, 0); }

std::vector<uint8_t> Deflate(const std::vector<uint8_t>& raw) {
    uLongf len = compressBound(raw.size());
    std::vector<uint8_t> out(len);
    compress(out.data(), &len, raw.data(), raw.size());
    out.resize(len);
    return out;
}
std::vector<uint8_t> Inflate(const std::vector<uint8_t>& packed, size_t size) {
    std::vector<uint8_t> out(size);
    uLongf len = size;
    uncompress(out.data(), &len, packed.data(), packed.size());
    out.resize(len);
    return out;
}

// Counts of a small made-up level; guarded sections are empty unless a test fills them.
struct Counts {
    uint32_t floorWords = 0, meshPointers = 0, boxes = 0, cameras = 0, animatedWords = 0, items = 0;
    int demoWords = 0;
    const char* spr = "SPR";
    const char* tex = "TEX";
};

std::vector<uint8_t> MakeGeometry(const Counts& c) {
    std::vector<uint8_t> g;
    Put32(g, 0);
    Put16(g, 1);  // one room: one vertex, one sector, nothing else
    for (int i = 0; i < 5; ++i) Put32(g, 100 + i);
    Put16(g, 1);
    PutZeros(g, 12);
    for (int i = 0; i < 4; ++i) Put16(g, 0);  // quads, triangles, sprites, portals
    Put16(g, 1);
    Put16(g, 1);
    PutZeros(g, 8);
    PutZeros(g, 4);  // ambient
    Put16(g, 0);     // lights
    Put16(g, 0);     // static meshes
    Put16(g, 7);     // alternate room
    Put16(g, 0);
    g.push_back(1), g.push_back(2), g.push_back(3);

    Put32(g, c.floorWords), PutZeros(g, size_t(c.floorWords) * 2);
    Put32(g, 0);                                                      // mesh data
    Put32(g, c.meshPointers), PutZeros(g, size_t(c.meshPointers) * 4);  // mesh pointers
    for (int i = 0; i < 8; ++i) Put32(g, 0);  // animations to static meshes
    g.insert(g.end(), c.spr, c.spr + 3);
    Put32(g, 0), Put32(g, 0);  // sprite textures, sequences
    Put32(g, c.cameras), PutZeros(g, size_t(c.cameras) * 16);
    Put32(g, 0), Put32(g, 0);  // flyby cameras, sound sources
    Put32(g, c.boxes), PutZeros(g, size_t(c.boxes) * 8);
    Put32(g, 0);  // overlaps
    PutZeros(g, size_t(c.boxes) * 20);
    Put32(g, c.animatedWords), PutZeros(g, size_t(c.animatedWords) * 2);
    g.push_back(9);  // UV byte
    g.insert(g.end(), c.tex, c.tex + 3);
    Put32(g, 1), PutZeros(g, 38);
    Put32(g, c.items), PutZeros(g, size_t(c.items) * 24);
    Put32(g, 0);
    Put16(g, c.demoWords), PutZeros(g, size_t(c.demoWords) * 2);
    PutZeros(g, 740);
    Put32(g, 0), Put32(g, 0);
    return g;
}

std::vector<uint8_t> MakeLevel(const std::vector<uint8_t>& geometry, uint32_t version = 0x00345254) {
    std::vector<uint8_t> f;
    Put32(f, version);
    Put16(f, 1), Put16(f, 2), Put16(f, 3);
    for (int block = 0; block < 3; ++block) {
        Put32(f, 64), Put32(f, 5);
        PutZeros(f, 5);
    }
    auto packed = Deflate(geometry);
    Put32(f, uint32_t(geometry.size())), Put32(f, uint32_t(packed.size()));
    f.insert(f.end(), packed.begin(), packed.end());
    Put32(f, 0x1234);
    PutZeros(f, 10);
    return f;
}

const std::vector<std::string> RealLevelLines = {
    "Livello di Tomb Raider IV",
    "Lettura texture 32-bit...",
    "Decompressione texture 32-bit...",
    "Lettura texture 16-bit...",
    "Decompressione texture 16-bit...",
    "Lettura texture x-bit...",
    "Decompressione texture x-bit...",
    "Decompressione geometria...",
    "Lettura delle stanze...",
    "Numero di stanze: 4",
    "Lettura del FloorData...",
    "Dimensione del FloorData: 242 byte",
    "Lettura mesh...",
    "Lettura dei puntatori mesh...",
    "Lettura dei dati delle animazioni...",
    "Numero di animazioni: 552",
    "Lettura degli alberi delle mesh...",
    "Lettura dei frame...",
    "Lettura dei moveables...",
    "Lettura delle static meshes...",
    "Trovata etichetta 'SPR'",
    "Lettura delle texture sprite...",
    "Lettura delle sequenze sprite...",
    "Lettura delle telecamere...",
    "Lettura delle telecamere flyby...",
    "Lettura delle sorgenti sonore...",
    "Lettura dei box...",
    "Lettura deglioverlaps...",
    "Lettura delle zones...",
    "Lettura delle texture animate...",
    "Lettura del valore UV...",
    "Trovata etichetta 'TEX'",
    "Lettura delle texture oggetti...",
    "Lettura degli oggetti...    ",
    "Lettura della mappa suoni TR4...",
    "Lettura dei dettagli dei suoni...",
    "Lettura degli indici dei suoni...",
    "Lettura completata",
    "Done",
};
}  // namespace

TEST(Tr4LevelReader, RealLevelLogsEverySectionInOrderAndEndsDone) {
    Fixture f;
    std::string path = SharedLevel("source-tr4.TR4");
    ReadTr4Level(f.prog, path);

    std::vector<std::string> expected = {"Opening " + path + "..."};
    expected.insert(expected.end(), RealLevelLines.begin(), RealLevelLines.end());
    EXPECT_EQ(f.Messages(), expected);
    EXPECT_EQ(f.progress, (std::vector<float>{5, 20, 30, 40, 80, 85, 90, 100, 0}));
    EXPECT_TRUE(f.platform.boxes.empty());
    EXPECT_FALSE(f.prog.channels.IsOpen(1));
    EXPECT_FALSE(f.prog.channels.IsOpen(2));

    // The log file holds the same lines.
    f.prog.channels.FlushAll();
    std::string log = ReadFileText(f.dir / "morv.log");
    EXPECT_NE(log.find("] Lettura degli oggetti...    \r\n"), std::string::npos);
    EXPECT_NE(log.find("] Done\r\n"), std::string::npos);
}

TEST(Tr4LevelReader, RealLevelKeepsRoomsAndSectionsAsRead) {
    Fixture f;
    ReadTr4Level(f.prog, SharedLevel("source-tr4.TR4"));
    const ConversionState& s = f.prog.state;
    const Tr4LevelSections& lv = s.Tr4Read;

    EXPECT_EQ(lv.NumRoomTiles, 1);
    EXPECT_EQ(lv.Texture32.UncompressedSize, 1835008);
    EXPECT_EQ(lv.Texture32.Bytes.size(), 513073u);
    EXPECT_EQ(lv.TailWord, 59);
    EXPECT_EQ(lv.TailBytes.size(), 2826968u - 1120557u);  // the last byte stays unread
    EXPECT_EQ(ReadFileBytes(f.WorkingFile()).size(), 524341u);

    ASSERT_EQ(s.NumRooms, 4);
    ASSERT_EQ(s.Rooms.size(), 4u);
    const Room& r0 = s.Rooms[0];
    EXPECT_EQ(r0.X, 1024);
    EXPECT_EQ(r0.NumDataWords, 2421);
    EXPECT_EQ(r0.Vertices.size(), 224u);
    EXPECT_EQ(r0.Quads.at(0).Texture, 1435);
    EXPECT_EQ(r0.Portals.at(0).Vertices[1].X, 3072);
    EXPECT_EQ(r0.Sectors.size(), 98u);
    ASSERT_EQ(r0.LightsTr4.size(), 1u);
    EXPECT_EQ(r0.LightsTr4[0].Intensity, 7044);
    EXPECT_EQ(r0.LightsTr4[0].In, 1024.0f);
    EXPECT_EQ(r0.LightsTr4[0].Out, 5120.0f);
    EXPECT_EQ(r0.AlternateRoom, -1);
    EXPECT_EQ(r0.ExtraByte1, 5);
    // A 46-byte light keeps the next room in step.
    EXPECT_EQ(s.Rooms[1].Z, 10240);
    EXPECT_EQ(s.Rooms[1].Vertices.at(0).Y, 3072);

    EXPECT_EQ(lv.FloorData.Bytes.size(), 242u);
    EXPECT_EQ(lv.Zones.Bytes.size(), 13u * 20);
    EXPECT_EQ(lv.AnimatedTextures.Bytes.size(), 16u);
    ASSERT_EQ(lv.ObjectTextures.size(), 1447u);
    EXPECT_EQ(lv.ObjectTextures[0].Tile, 1);
    EXPECT_EQ(lv.ObjectTextures[0].TailLongs[3], 1174666240);
    EXPECT_EQ(lv.ObjectTextures.back().MiddleWord, 32768);
    EXPECT_EQ(lv.SampleIndices.Bytes.size(), 59u * 4);
}

TEST(Tr4LevelReader, BrokenSprMarkerStopsWithItsLine) {
    Fixture f;
    auto file = ReadFileBytes(SharedLevel("source-tr4.TR4"));
    // Geometry block head at 1120552 - 295811 - 8; patch one letter of the marker.
    const size_t head = 1120552 - 295811 - 8;
    std::vector<uint8_t> packed(file.begin() + head + 8, file.begin() + 1120552);
    auto geometry = Inflate(packed, 524341);
    ASSERT_EQ(geometry.size(), 524341u);
    ASSERT_EQ(geometry[466624], 'S');
    geometry[466624] = 's';
    auto level = MakeLevel(geometry);
    WriteFileBytes(f.dir / "spr.tr4", level);

    ReadTr4Level(f.prog, f.dir / "spr.tr4");
    auto lines = f.Messages();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[lines.size() - 2], "Lettura delle static meshes...");
    EXPECT_EQ(lines.back(), "SPR label not found");
    EXPECT_EQ(f.progress.back(), 80);
    EXPECT_FALSE(f.prog.channels.IsOpen(1));
    // What was read before the marker stays.
    EXPECT_EQ(f.prog.state.Tr4Read.Moveables.Count, 60);
}

TEST(Tr4LevelReader, BrokenTexMarkerStopsBeforeTheObjectTextures) {
    Fixture f;
    Counts c;
    c.tex = "TEx";
    WriteFileBytes(f.dir / "tex.tr4", MakeLevel(MakeGeometry(c)));
    ReadTr4Level(f.prog, f.dir / "tex.tr4");
    auto lines = f.Messages();
    EXPECT_EQ(lines[lines.size() - 2], "Lettura del valore UV...");
    EXPECT_EQ(lines.back(), "TEX label not found");
    EXPECT_EQ(f.progress.back(), 80);
    EXPECT_FALSE(f.prog.channels.IsOpen(1));
}

TEST(Tr4LevelReader, AcceptsOnlyTheTwoTr4VersionWords) {
    for (uint32_t word : {0x00345254u, 0xFFFFFFF0u}) {
        Fixture f;
        WriteFileBytes(f.dir / "a.tr4", MakeLevel(MakeGeometry({}), word));
        ReadTr4Level(f.prog, f.dir / "a.tr4");
        EXPECT_EQ(f.Messages().back(), "Done") << std::hex << word;
        EXPECT_EQ(f.prog.state.Tr4Read.VersionWord, word);
    }
    for (uint32_t word : {0x00345255u, 0xFF180038u, 0x20u, 0u}) {
        Fixture f;
        WriteFileBytes(f.dir / "b.tr4", MakeLevel(MakeGeometry({}), word));
        f.prog.form.p.SetValue(55);
        f.progress.clear();
        ReadTr4Level(f.prog, f.dir / "b.tr4");
        std::string path = f.dir / "b.tr4";
        EXPECT_EQ(f.Messages(), (std::vector<std::string>{"Opening " + path + "...",
                                                          path + " non \xC3\xA8 un livello di Tomb Raider IV"}))
            << std::hex << word;
        EXPECT_TRUE(f.progress.empty());
        EXPECT_EQ(f.prog.form.p.Value(), 55);
        EXPECT_FALSE(f.prog.channels.IsOpen(1));
        EXPECT_FALSE(f.prog.channels.IsOpen(2));
    }
}

TEST(Tr4LevelReader, EmptySectionsDropOnlyTheirGuardedLines) {
    Fixture f;
    WriteFileBytes(f.dir / "e.tr4", MakeLevel(MakeGeometry({})));
    ReadTr4Level(f.prog, f.dir / "e.tr4");
    std::string path = f.dir / "e.tr4";
    std::vector<std::string> expected = {"Opening " + path + "..."};
    for (const auto& line : RealLevelLines) {
        static const std::vector<std::string> guarded = {
            "Lettura del FloorData...",       "Dimensione del FloorData: 242 byte",
            "Lettura delle telecamere...",     "Lettura delle telecamere flyby...",
            "Lettura delle sorgenti sonore...", "Lettura dei box...",
            "Lettura delle zones...",          "Lettura delle texture animate...",
            "Lettura degli oggetti...    "};
        if (line == "Numero di stanze: 4")
            expected.push_back("Numero di stanze: 1");
        else if (line == "Numero di animazioni: 552")
            expected.push_back("Numero di animazioni: 0");
        else if (std::find(guarded.begin(), guarded.end(), line) == guarded.end())
            expected.push_back(line);
    }
    EXPECT_EQ(f.Messages(), expected);
    const Room& r = f.prog.state.Rooms.at(0);
    EXPECT_EQ(r.NumDataWords, 104);
    EXPECT_EQ(r.AlternateRoom, 7);
    EXPECT_EQ(r.ExtraByte3, 3);
    EXPECT_EQ(f.prog.state.Tr4Read.UvByte, 9);
}

TEST(Tr4LevelReader, GuardedSectionsWithDataLogAndZonesFollowTheBoxes) {
    Fixture f;
    Counts c;
    c.floorWords = 3;
    c.cameras = 2;
    c.boxes = 2;
    c.animatedWords = 4;
    c.items = 1;
    c.demoWords = 5;
    WriteFileBytes(f.dir / "g.tr4", MakeLevel(MakeGeometry(c)));
    ReadTr4Level(f.prog, f.dir / "g.tr4");
    auto lines = f.Messages();
    auto has = [&](const std::string& s) { return std::find(lines.begin(), lines.end(), s) != lines.end(); };
    EXPECT_TRUE(has("Dimensione del FloorData: 6 byte"));
    EXPECT_TRUE(has("Lettura delle telecamere..."));
    EXPECT_TRUE(has("Lettura delle zones..."));
    EXPECT_TRUE(has("Lettura dei dati demo..."));
    EXPECT_EQ(lines.back(), "Done");
    EXPECT_EQ(f.prog.state.Tr4Read.Zones.Bytes.size(), 40u);
    EXPECT_EQ(f.prog.state.Tr4Read.DemoData.Bytes.size(), 10u);
}

TEST(Tr4LevelReader, LongerWorkingFileIsOverwrittenFromItsStartNotCut) {
    Fixture f;
    WriteFileBytes(f.WorkingFile(), std::vector<uint8_t>(20000, 0xAB));
    auto geometry = MakeGeometry({});
    WriteFileBytes(f.dir / "w.tr4", MakeLevel(geometry));
    ReadTr4Level(f.prog, f.dir / "w.tr4");
    EXPECT_EQ(f.Messages().back(), "Done");
    auto work = ReadFileBytes(f.WorkingFile());
    ASSERT_EQ(work.size(), 20000u);
    EXPECT_TRUE(std::equal(geometry.begin(), geometry.end(), work.begin()));
    EXPECT_EQ(work[geometry.size()], 0xAB);
}

TEST(Tr4LevelReader, RunTimeErrorsShowABoxLogTheNumberAndFreeTheChannels) {
    Fixture f;
    Counts huge;
    huge.floorWords = 0;
    auto geometry = MakeGeometry(huge);
    // Floor data count of 2^30 words: a 2 GiB section.
    const size_t floorAt = 6 + 69;  // lead word, room count, one room
    ASSERT_EQ(Long(geometry, floorAt), 0);
    auto big = geometry;
    big[floorAt + 3] = 0x40;
    WriteFileBytes(f.dir / "big.tr4", MakeLevel(big));
    ReadTr4Level(f.prog, f.dir / "big.tr4");
    ASSERT_EQ(f.platform.boxes.size(), 1u);
    EXPECT_EQ(f.platform.boxes[0].text, "Out of memory");
    EXPECT_EQ(f.platform.boxes[0].title, "Error");
    EXPECT_EQ(f.Messages().back(), "Out of memory (7)");
    EXPECT_FALSE(f.prog.channels.IsOpen(1));
    EXPECT_FALSE(f.prog.channels.IsOpen(2));

    auto negative = geometry;
    negative[floorAt + 8 + 3] = 0x80;  // mesh pointer count below zero
    WriteFileBytes(f.dir / "neg.tr4", MakeLevel(negative));
    ReadTr4Level(f.prog, f.dir / "neg.tr4");
    EXPECT_EQ(f.Messages().back(), "Subscript out of range (9)");

    // Channels that are still in use refuse the walk the same way.
    f.prog.channels.Open(1, f.dir / "busy", OpenMode::Binary);
    ReadTr4Level(f.prog, f.dir / "big.tr4");
    EXPECT_EQ(f.Messages().back(), "File already open (55)");
    EXPECT_EQ(f.platform.boxes.size(), 3u);

    WriteFileBytes(f.dir / "ok.tr4", MakeLevel(geometry));
    ReadTr4Level(f.prog, f.dir / "ok.tr4");
    EXPECT_EQ(f.Messages().back(), "Done");
}

TEST(Tr4LevelReader, TruncatedOrGarbageFilesNeverCrash) {
    Fixture f;
    auto file = ReadFileBytes(SharedLevel("source-tr4.TR4"));
    auto endsWell = [&](const std::string& what) {
        const auto lines = f.Messages();
        const std::string& last = lines.back();
        bool refused = last == "SPR label not found" || last == "TEX label not found" || last == "Done" ||
                       last.find("non \xC3\xA8 un livello") != std::string::npos;
        bool reported = !f.platform.boxes.empty() && last == f.platform.boxes.back().text + " (" +
                                                                 last.substr(last.rfind('(') + 1);
        EXPECT_TRUE(refused || reported) << what << ": " << last;
        EXPECT_FALSE(f.prog.channels.IsOpen(1)) << what;
        EXPECT_FALSE(f.prog.channels.IsOpen(2)) << what;
    };
    for (size_t cut : {2u, 9u, 100u, 600000u, 1000000u, 1120000u, 1120560u, 2000000u}) {
        std::remove(f.WorkingFile().c_str());
        WriteFileBytes(f.dir / "cut.tr4", std::vector<uint8_t>(file.begin(), file.begin() + cut));
        ReadTr4Level(f.prog, f.dir / "cut.tr4");
        endsWell("cut at " + std::to_string(cut));
    }
    // Cut inside the sound samples, the level itself is whole.
    EXPECT_EQ(f.Messages().back(), "Done");

    std::mt19937 rng(7);
    for (int round = 0; round < 6; ++round) {
        std::vector<uint8_t> junk(4 + rng() % 5000);
        for (auto& b : junk) b = uint8_t(rng());
        junk[0] = 0x54, junk[1] = 0x52, junk[2] = 0x34, junk[3] = 0;
        WriteFileBytes(f.dir / "junk.tr4", junk);
        ReadTr4Level(f.prog, f.dir / "junk.tr4");
        endsWell("junk round " + std::to_string(round));
    }
    // Garbage inside a valid geometry block: random counts, and in odd rounds small bytes only,
    // which keep the counts small and lead the walk deep into the rooms.
    for (int round = 0; round < 10; ++round) {
        std::vector<uint8_t> junk(6 + rng() % 4000);
        for (auto& b : junk) b = uint8_t(round % 2 ? rng() % 3 : rng());
        WriteFileBytes(f.dir / "junkgeo.tr4", MakeLevel(junk));
        ReadTr4Level(f.prog, f.dir / "junkgeo.tr4");
        endsWell("junk geometry round " + std::to_string(round));
    }
}
