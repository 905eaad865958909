// The level check on real, cut, damaged and crafted levels, and the engine limits it reports.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <sstream>

#include "inspection/EngineLimits.h"
#include "inspection/LevelCheck.h"
#include "support/LevelBuilder.h"
#include "support/PackedBlocks.h"
#include "support/TestFolder.h"

namespace {
using Bytes = std::vector<uint8_t>;

const std::pair<const char*, WalkFormat> RealLevels[] = {
    {"base-tr1.PHD", WalkFormat::Tr1}, {"base-gold.TUB", WalkFormat::Gold}, {"base-tr2.TR2", WalkFormat::Tr2},
    {"base-tr3.TR2", WalkFormat::Tr3}, {"base-tr5.TRC", WalkFormat::Tr5},   {"source-tr4.TR4", WalkFormat::Tr4}};

Bytes Real(const std::string& name) { return ReadFileBytes(SharedLevel(name)); }
Bytes L32(uint32_t v) { return {uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)}; }

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }
}  // namespace

// The format comes from the version word, and the name where two share it; a TR5 or TR4 level under
// the other's name is read as what it is, with a problem that says how to name it.
TEST(LevelCheck, FormatFromTheVersionWordAndTheName) {
    const std::tuple<uint32_t, const char*, WalkFormat> rows[] = {
        {0x20, "a.tub", WalkFormat::Gold},         {0xFF080038, "a", WalkFormat::Tr3},
        {0x00345254, "a.trc", WalkFormat::Tr5},    {0x00345254, "TRC.x", WalkFormat::Tr4},
        {0xFFFFFFF0, "a.TR4", WalkFormat::Unknown}};
    for (auto [word, name, format] : rows) EXPECT_EQ(LevelFormatOf(L32(word), name), format) << name << " " << word;
    EXPECT_EQ(LevelFormatOf(Bytes {0x20, 0, 0}, "a.PHD"), WalkFormat::Unknown);
    EXPECT_EQ(CheckLevel(Bytes {}, "a.PHD").problem, "the file is shorter than a version word");
    EXPECT_EQ(CheckLevel(Bytes {1, 2, 3, 4, 5}, "a.PHD").problem,
              "the version word is not one of a level this program knows");
    NEEDS_SHARED_LEVELS();
    const std::string tr5Named = "a Tomb Raider Chronicles (TR5) level under a name that does not end in .TRC: it "
                                 "must be named .TRC to be converted or played as one";
    const Bytes tr5 = Real("base-tr5.TRC");
    const WalkedLevel asTr4 = CheckLevel(tr5, "x.TR4");
    EXPECT_EQ(asTr4.format, WalkFormat::Tr5);
    EXPECT_EQ(asTr4.problem, tr5Named);
    EXPECT_EQ(asTr4.end, tr5.size());
    const WalkedLevel asTrc = CheckLevel(Real("source-tr4.TR4"), "x.trc");
    EXPECT_EQ(asTrc.format, WalkFormat::Tr4);
    EXPECT_EQ(asTrc.problem, "a Tomb Raider 4 level under a name that ends in .TRC: it must be named .TR4 to be "
                             "converted or played as one");
    const WalkedLevel sample = CheckLevel(ReadFileBytes(SampleLevel("base-tr5.TRC")), "x.TR4");
    EXPECT_EQ(sample.format, WalkFormat::Tr5);
    EXPECT_TRUE(sample.problem.starts_with(tr5Named + "; read as such, Rooms: room 0 at ")) << sample.problem;
}

// Every real level is whole and within its limits; cut anywhere, it fails. (Damaged levels are
// the check's fuzz program's work.)
TEST(LevelCheck, RealLevelsAreWholeAndCutOnesAreNot) {
    NEEDS_SHARED_LEVELS();
    for (auto [name, format] : RealLevels) {
        SCOPED_TRACE(name);
        const Bytes file = Real(name);
        const WalkedLevel whole = CheckLevel(file, name);
        EXPECT_EQ(whole.problem, "");
        EXPECT_EQ(whole.format, format);
        EXPECT_EQ(whole.end, file.size());
        EXPECT_GT(whole.numRooms, 0);
        EXPECT_EQ(ExceededLimitLines(format, MeasureLevel(whole, file)), std::vector<std::string> {});
        for (size_t k = 1; k < whole.sections.size(); ++k) {
            const WalkedSection &a = whole.sections[k - 1], &b = whole.sections[k];
            if (a.inGeometry == b.inGeometry) EXPECT_EQ(b.offset, a.End()) << b.name;
        }
        for (size_t keep : {size_t {3}, size_t {100}, file.size() / 3, file.size() / 2, file.size() - 1}) {
            const WalkedLevel level = CheckLevel(Bytes(file.begin(), file.begin() + long(keep)), name);
            EXPECT_FALSE(level.Whole()) << keep;
            EXPECT_LE(level.end, keep);
        }
    }
}

// A cut, a longer and a badly packed level each fail with a problem that names where.
TEST(LevelCheck, CutLongerOrBadlyPackedLevelsFailWithTheirFirstProblem) {
    NEEDS_SHARED_LEVELS();
    Bytes tr3 = Real("base-tr3.TR2");
    EXPECT_EQ(CheckLevel(Bytes(tr3.begin(), tr3.end() - 4), "cut.TR2").problem,
              "SampleIndices at 1703222: 177 records of 4 bytes run past the end (704 bytes left)");
    tr3.push_back(0);
    EXPECT_EQ(CheckLevel(tr3, "x.TR2").problem,
              "the file goes on for 1 bytes behind its last section (SampleIndices, which ends at 1703934)");
    // TR4 and TR5 blocks must inflate to their size words.
    const Bytes tr5 = Real("base-tr5.TRC");
    const WalkedLevel whole = CheckLevel(tr5, "x.TRC");
    Bytes damaged = tr5;
    damaged[whole["Texture16"].offset + 8 + 100] ^= 0xFF;
    EXPECT_TRUE(CheckLevel(damaged, "x.TRC").problem.starts_with(
        "Texture16 at " + std::to_string(whole["Texture16"].offset) + ": "));
    const Bytes source = Real("source-tr4.TR4");
    const WalkedLevel src = CheckLevel(source, "x.TR4");
    Bytes geometry = src.inflated;
    geometry.resize(geometry.size() - 6);  // the geometry tail goes, and a few bytes more below
    geometry.resize(geometry.size() - 2);
    EXPECT_EQ(CheckLevel(WithGeometry(source, geometry), "x.TR4").problem,
              "SampleIndices at " + std::to_string(src["SampleIndices"].offset) +
                  " of the inflated geometry: 59 records of 4 bytes run past the end (234 bytes left)");
    Bytes wrongSize = source;
    wrongSize[src["Geometry"].offset] ^= 1;  // UncompressedSize off by one
    EXPECT_TRUE(Has(CheckLevel(wrongSize, "x.TR4").problem, "its size word says"));
}

// The command: one line per section, and the exit status of a file that can't be read.
TEST(LevelCheck, CommandPrintsOneLinePerSectionAndRefusesUnreadablePaths) {
    NEEDS_SHARED_LEVELS();
    TestFolder dir;
    std::ostringstream out, err;
    EXPECT_EQ(RunLevelCheck(SharedLevel("base-tr1.PHD"), out, err), CheckWhole);
    const std::string text = out.str();
    EXPECT_EQ(text.substr(0, text.find('\n')),
              SharedLevel("base-tr1.PHD") + ": Tomb Raider (TR1), 2685013 bytes");
    EXPECT_TRUE(Has(text, "\nItems                       963748          14         312\n")) << text;
    EXPECT_EQ(std::ranges::count(text, '\n'), 4 + std::ssize(CheckLevel(Real("base-tr1.PHD"), "x.PHD").sections));
    EXPECT_TRUE(text.ends_with("\nThe level is within every limit of TR1 engines that this check knows.\n"));
    // A Gold level in the TR1 layout is whole too, and the output says which layout was found.
    WriteFileBytes(dir / "tr1-layout.TUB", Real("base-tr1.PHD"));
    std::ostringstream gold;
    EXPECT_EQ(RunLevelCheck(dir / "tr1-layout.TUB", gold, err), CheckWhole);
    EXPECT_TRUE(Has(gold.str(), "\nThe palette stands behind the colour map, as in TR1: the layout of the released "
                                "Gold levels.\n"));
    for (const std::string& path : {dir / "missing.PHD", dir.str(), std::string()}) {
        std::ostringstream o, e;
        EXPECT_EQ(RunLevelCheck(path, o, e), CheckUnreadable) << path;
        EXPECT_EQ(o.str(), "");
        EXPECT_FALSE(e.str().empty());
    }
}

// A level crafted just over one limit is whole and reported once per limit, by its engine, with
// the figure that breaks it; a level at every limit at once is within them all.
TEST(EngineLimits, EachLimitIsReportedJustOverItsFigureAndNotAtIt) {
    using F = WalkFormat;
    auto NameOf = [](F f) {
        return std::string("x.") + std::array {"", "PHD", "TUB", "TR2", "TR2", "TR4", "TRC"}[int(f)];
    };
    const std::vector<F> all = {F::Tr1, F::Gold, F::Tr2, F::Tr3, F::Tr4, F::Tr5};
    const std::vector<F> classic(all.begin(), all.begin() + 4), tr1tr2(all.begin(), all.begin() + 3);
    const std::tuple<std::vector<F>, LevelShape, std::string, size_t> cases[] = {
        {classic, {.tiles = 33}, "; this level has 33: ", 1},
        {tr1tr2, {.objectTextures = 2049}, "; this level has 2049: ", 1},
        {{F::Tr3}, {.objectTextures = 4097}, "; this level has 4097: ", 1},
        {tr1tr2, {.spriteTextures = 513}, "; this level has 513: ", 1},
        {{F::Tr1, F::Gold, F::Tr2, F::Tr3, F::Tr4}, {.rooms = 1025}, "; this level has 1025: ", 1},
        {classic, {.roomVertices = 1501}, "; room 0 has 1501: ", 1},
        {classic, {.meshVertices = 1501}, "; mesh 0 has 1501: ", 1},
        {all, {.items = 257}, "; this level has 257: ", 1},
        {all, {.items = 1025}, "; this level has 1025: ", 2},  // also more than a trigger can name
        {all, {.cameras = 1025}, "; this level has 1025: ", 1},
        {classic, {.roomStaticId = 50}, "; this level uses id 50 in room 0: ", 1},
        {classic, {.tableStaticId = 50}, "; this level uses id 50 in entry 0 of the StaticMeshes table: ", 1},
        {{F::Tr4}, {.roomStaticId = 60}, "; this level uses id 60 in room 0: ", 1},
        {all, {.rooms = 256, .floorPortalTo = 255}, "; a floor or ceiling portal of room 0 leads to room 255: ", 1},
        {all, {.floorDataWords = 65536}, "; this level has 65536: ", 1},
    };
    auto report = [&](F f, const LevelShape& shape) {
        const Bytes file = BuildLevel(f, shape);
        const WalkedLevel level = CheckLevel(file, NameOf(f));
        EXPECT_EQ(level.problem, "");
        return ExceededLimitLines(f, MeasureLevel(level, file));
    };
    for (const auto& [formats, shape, figure, count] : cases)
        for (F f : formats) {
            SCOPED_TRACE(NameOf(f) + figure);
            const std::vector<std::string> lines = report(f, shape);
            ASSERT_EQ(lines.size(), count);
            for (const std::string& line : lines) {
                EXPECT_TRUE(line.starts_with(std::string(EngineName(f)) + " engines ")) << line;
                EXPECT_TRUE(Has(line, figure)) << line;
            }
        }
    for (F f : all) {
        SCOPED_TRACE(NameOf(f));
        const int staticId = f == F::Tr4 ? 59 : 49;
        EXPECT_EQ(report(f, {.tiles = 32, .rooms = 1024, .objectTextures = f == F::Tr3 ? 4096 : 2048,
                             .spriteTextures = 512, .items = 256, .cameras = 1024, .floorDataWords = 65535,
                             .roomVertices = 1500, .meshVertices = 1500, .roomStaticId = staticId,
                             .tableStaticId = staticId, .floorPortalTo = 254}),
                  std::vector<std::string> {});
    }
}

// The command: a whole level over a limit has status 3 and a line in the author's words; a level
// that is not whole keeps the status of a layout problem and still tells the limits it breaks.
TEST(EngineLimits, CommandReportsExceededLimitsWithStatusThree) {
    TestFolder dir;
    Bytes file = BuildLevel(WalkFormat::Tr1, {.tiles = 33});
    WriteFileBytes(dir / "pages.PHD", file);
    std::ostringstream out, err;
    EXPECT_EQ(RunLevelCheck(dir / "pages.PHD", out, err), CheckOverLimit);
    EXPECT_TRUE(out.str().ends_with(
        "\nTR1 engines load at most 32 texture pages; this level has 33: the game stops at start (\"Attempt to "
        "download more than texture page limit\")\n"))
        << out.str();
    EXPECT_EQ(err.str(), "");
    file.pop_back();
    WriteFileBytes(dir / "cut.PHD", file);
    std::ostringstream cutOut, cutErr;
    EXPECT_EQ(RunLevelCheck(dir / "cut.PHD", cutOut, cutErr), CheckProblem);
    EXPECT_TRUE(Has(cutOut.str(), "\nTR1 engines load at most 32 texture pages; this level has 33: "));
    EXPECT_FALSE(Has(cutOut.str(), "within every limit"));
}
