#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>

#include "frontend/Program.h"
#include "inspection/Tr4LevelReader.h"
#include "support/LevelBuilder.h"
#include "support/ProgramFixture.h"

namespace {
// A program whose system temporary folder is the test's own folder, so the reader's working
// file lands there. Progress values are recorded as they are set.
struct Fixture : ProgramFixture {
    std::vector<float> progress;
    std::string oldTmp;
    bool hadTmp = false;
    Fixture() {
        if (const char* t = std::getenv("TMPDIR")) hadTmp = true, oldTmp = t;
        ::setenv("TMPDIR", dir.str().c_str(), 1);
        prog.form.p.Changed = [this] { progress.push_back(prog.form.p.Value()); };
    }
    ~Fixture() { hadTmp ? ::setenv("TMPDIR", oldTmp.c_str(), 1) : ::unsetenv("TMPDIR"); }
    std::string WorkingFile() const { return dir / "geometry.tmp"; }
    void Read(const std::string& name, const std::vector<uint8_t>& level) {
        WriteFileBytes(dir / name, level);
        ReadTr4Level(prog, dir / name);
    }
};

// Counts of a small made-up level; guarded sections are empty unless a test fills them.
struct Counts {
    uint32_t floorWords = 0, meshPointers = 0, boxes = 0, cameras = 0, animatedWords = 0, items = 0;
    int demoWords = 0;
    std::vector<uint8_t> spr = {'S', 'P', 'R'}, tex = {'T', 'E', 'X'};
};

std::vector<uint8_t> MakeGeometry(const Counts& c) {
    ByteWriter g;
    g.Long(0).Word(1);  // one room: one vertex, one sector, nothing else
    for (int i = 0; i < 5; ++i) g.Long(100 + i);
    g.Word(1).Zeros(12).Zeros(8).Word(1).Word(1).Zeros(8).Zeros(4);  // vertex, four counts, sector, ambient
    g.Word(0).Word(0).Word(7).Word(0).Bytes({1, 2, 3});               // lights, meshes, alternate room
    g.Long(c.floorWords).Zeros(c.floorWords * 2).Long(0).Long(c.meshPointers).Zeros(c.meshPointers * 4);
    for (int i = 0; i < 8; ++i) g.Long(0);  // animations to static meshes
    g.Bytes(c.spr).Long(0).Long(0).Long(c.cameras).Zeros(c.cameras * 16).Long(0).Long(0);
    g.Long(c.boxes).Zeros(c.boxes * 8).Long(0).Zeros(c.boxes * 20);
    g.Long(c.animatedWords).Zeros(c.animatedWords * 2).Byte(9).Bytes(c.tex).Long(1).Zeros(38);
    g.Long(c.items).Zeros(c.items * 24).Long(0).Word(c.demoWords).Zeros(size_t(c.demoWords) * 2);
    g.Zeros(740).Long(0).Long(0);
    return g.bytes;
}

std::vector<uint8_t> MakeLevel(const std::vector<uint8_t>& geometry, uint32_t version = 0x00345254) {
    ByteWriter f;
    f.Long(version).Word(1).Word(2).Word(3);
    for (int block = 0; block < 3; ++block) f.Long(64).Long(5).Zeros(5);
    f.Block(geometry).Long(0x1234).Zeros(10);
    return f.bytes;
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

    EXPECT_EQ(lv.Texture32.Bytes.size(), 513073u);
    EXPECT_EQ(lv.TailWord, 59);
    EXPECT_EQ(lv.TailBytes.size(), 2826968u - 1120557u);  // the last byte stays unread
    EXPECT_EQ(ReadFileBytes(f.WorkingFile()).size(), 524341u);

    ASSERT_EQ(s.NumRooms, 4);
    ASSERT_EQ(s.Rooms.size(), 4u);
    const Room& r0 = s.Rooms[0];
    EXPECT_EQ(r0.NumDataWords, 2421);
    EXPECT_EQ(r0.Portals.at(0).Vertices[1].X, 3072);
    ASSERT_EQ(r0.LightsTr4.size(), 1u);
    EXPECT_EQ(r0.LightsTr4[0].Out, 5120.0f);
    EXPECT_EQ(r0.ExtraByte1, 5);
    // A 46-byte light keeps the next room in step.
    EXPECT_EQ(s.Rooms[1].Z, 10240);
    EXPECT_EQ(s.Rooms[1].Vertices.at(0).Y, 3072);

    EXPECT_EQ(lv.FloorData.Bytes.size(), 242u);
    EXPECT_EQ(lv.Zones.Bytes.size(), 13u * 20);
    ASSERT_EQ(lv.ObjectTextures.size(), 1447u);
    EXPECT_EQ(lv.ObjectTextures[0].Tile, 1);
    EXPECT_EQ(lv.ObjectTextures[0].TailLongs[3], 1174666240);
    EXPECT_EQ(lv.ObjectTextures.back().MiddleWord, 32768);
    EXPECT_EQ(lv.SampleIndices.Bytes.size(), 59u * 4);
}

TEST(Tr4LevelReader, BrokenMarkersStopWithTheirLine) {
    struct Case {
        std::vector<uint8_t> spr, tex;
        const char *before, *message;
    } cases[] = {{{'s', 'P', 'R'}, {'T', 'E', 'X'}, "Lettura delle static meshes...", "SPR label not found"},
                 {{'S', 'P', 'R'}, {'T', 'E', 'x'}, "Lettura del valore UV...", "TEX label not found"}};
    for (auto& c : cases) {
        Fixture f;
        Counts counts;
        counts.spr = c.spr, counts.tex = c.tex, counts.meshPointers = 2;
        f.Read("m.tr4", MakeLevel(MakeGeometry(counts)));
        auto lines = f.Messages();
        EXPECT_EQ(lines[lines.size() - 2], c.before);
        EXPECT_EQ(lines.back(), c.message);
        EXPECT_EQ(f.progress.back(), 80);
        EXPECT_FALSE(f.prog.channels.IsOpen(1));
        EXPECT_EQ(f.prog.state.Tr4Read.MeshPointers.Bytes.size(), 8u) << "what came before the marker stays";
    }
}

TEST(Tr4LevelReader, AcceptsOnlyTheTwoTr4VersionWords) {
    for (uint32_t word : {0x00345254u, 0xFFFFFFF0u, 0x00345255u, 0xFF180038u}) {
        Fixture f;
        f.prog.form.p.SetValue(55);
        f.progress.clear();
        f.Read("b.tr4", MakeLevel(MakeGeometry({}), word));
        std::string path = f.dir / "b.tr4";
        if (word == 0x00345254u || word == 0xFFFFFFF0u) {
            EXPECT_EQ(f.Messages().back(), "Done") << std::hex << word;
            continue;
        }
        EXPECT_EQ(f.Messages(), (std::vector<std::string>{"Opening " + path + "...",
                                                          path + " non \xC3\xA8 un livello di Tomb Raider IV"}))
            << std::hex << word;
        EXPECT_TRUE(f.progress.empty());
        EXPECT_FALSE(f.prog.channels.IsOpen(1));
    }
}

TEST(Tr4LevelReader, EmptySectionsDropOnlyTheirGuardedLines) {
    Fixture f;
    f.Read("e.tr4", MakeLevel(MakeGeometry({})));
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
    f.Read("big.tr4", MakeLevel(big));
    ASSERT_EQ(f.platform.boxes.size(), 1u);
    EXPECT_EQ(f.platform.boxes[0].text, "Out of memory");
    EXPECT_EQ(f.platform.boxes[0].title, "Error");
    EXPECT_EQ(f.Messages().back(), "Out of memory (7)");
    EXPECT_FALSE(f.prog.channels.IsOpen(1));
    EXPECT_FALSE(f.prog.channels.IsOpen(2));

    auto negative = geometry;
    negative[floorAt + 8 + 3] = 0x80;  // mesh pointer count below zero
    f.Read("neg.tr4", MakeLevel(negative));
    EXPECT_EQ(f.Messages().back(), "Subscript out of range (9)");

    // Channels that are still in use refuse the walk the same way.
    f.prog.channels.Open(1, f.dir / "busy", OpenMode::Binary);
    ReadTr4Level(f.prog, f.dir / "big.tr4");
    EXPECT_EQ(f.Messages().back(), "File already open (55)");
    EXPECT_EQ(f.platform.boxes.size(), 3u);

    f.Read("ok.tr4", MakeLevel(geometry));
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
    for (size_t cut : {9u, 600000u, 1120000u, 2000000u}) {
        f.Read("cut.tr4", std::vector<uint8_t>(file.begin(), file.begin() + long(cut)));
        endsWell("cut at " + std::to_string(cut));
    }
    // Cut inside the sound samples, the level itself is whole.
    EXPECT_EQ(f.Messages().back(), "Done");

    std::mt19937 rng(7);
    for (int round = 0; round < 3; ++round) {
        std::vector<uint8_t> junk(4 + rng() % 5000);
        for (auto& b : junk) b = uint8_t(rng());
        junk[0] = 0x54, junk[1] = 0x52, junk[2] = 0x34, junk[3] = 0;
        f.Read("junk.tr4", junk);
        endsWell("junk round " + std::to_string(round));
    }
    // Garbage inside a valid geometry block: random counts, and in odd rounds small bytes only,
    // which keep the counts small and lead the walk deep into the rooms.
    for (int round = 0; round < 6; ++round) {
        std::vector<uint8_t> junk(6 + rng() % 4000);
        for (auto& b : junk) b = uint8_t(round % 2 ? rng() % 3 : rng());
        f.Read("junkgeo.tr4", MakeLevel(junk));
        endsWell("junk geometry round " + std::to_string(round));
    }
}
