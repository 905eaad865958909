// Whole conversions of the real levels for every target, walked by the independent reader and
// compared with their inputs section by section; and a cutscene on the sample levels.
#include <gtest/gtest.h>

#include <algorithm>

#include "driver/ConvertLevel.h"
#include "core/Form1.h"
#include "inspection/EngineLimits.h"
#include "inspection/LevelCheck.h"
#include "inspection/LevelWalker.h"
#include "support/PackedBlocks.h"
#include "support/ProgramFixture.h"

namespace {
using Bytes = std::vector<uint8_t>;

struct Target {
    const char *name, *base;
    WalkFormat format;
};
const Target Targets[] = {
    {"Tr1", "base-tr1.PHD", WalkFormat::Tr1}, {"Gold", "base-gold.TUB", WalkFormat::Gold},
    {"Tr2", "base-tr2.TR2", WalkFormat::Tr2}, {"Tr3", "base-tr3.TR2", WalkFormat::Tr3},
    {"Tr5", "base-tr5.TRC", WalkFormat::Tr5}};

// One conversion of the real source: erase items and statics, cutscene, engine layout.
struct Conversion : ProgramFixture {
    Bytes out;
    Conversion(const std::string& base, int erase, int cutscene, int engine = 0) {
        for (auto [box, value] : {std::pair {&prog.form.Check1, erase}, {&prog.form.Check2, erase},
                                  {&prog.form.Check3, 0}, {&prog.form.Check4, cutscene}, {&prog.form.Check6, engine}})
            box->SetValue(value);
        const std::string path = dir / ("new-" + base.substr(base.rfind('/') + 1));
        ConvertLevel(prog, SharedLevel("source-tr4.TR4"), base, path);
        prog.channels.CloseAllChannels();
        out = ReadFileBytes(path);
    }
};

// The log's "Note: " lines but the last (where the level was written), or the other lines.
std::vector<std::string> Lines(std::vector<std::string> log, bool notes) {
    std::erase_if(log, [&](const std::string& m) { return m.starts_with("Note: ") != notes; });
    if (notes && !log.empty() && log.back().starts_with("Note: the new level was written")) log.pop_back();
    return log;
}

// The sections from `first` to the counted section `last` as they stand in the file.
Bytes Span(const Bytes& b, const WalkedSection& first, const WalkedSection& last) {
    return Bytes(b.begin() + long(first.offset), b.begin() + long(last.offset + 4 + last.bytes));
}
Bytes Whole(const Bytes& b, const WalkedSection& s) { return Span(b, s, s); }

const char* const FromBase[] = {"MeshData",  "MeshPointers", "Animations", "AnimationTable6", "AnimationTable8",
                                "AnimationTable2", "MeshTrees", "Frames", "Moveables", "StaticMeshes",
                                "SpriteTextures", "SpriteSequences"};

class RealLevels : public ::testing::TestWithParam<Target> {};
}  // namespace

// Default and erased items/statics, each in both layouts, then Cutscene. The engine layout's own
// bytes are left to the output digests; here it must read through and log as the default does.
TEST_P(RealLevels, ConvertsToAWalkableLevelInEitherLayout) {
    NEEDS_SHARED_LEVELS();
    const Target& t = GetParam();
    const bool tr5 = t.format == WalkFormat::Tr5, tr1 = t.format == WalkFormat::Tr1 || t.format == WalkFormat::Gold;
    const Bytes source = ReadFileBytes(SharedLevel("source-tr4.TR4")), base = ReadFileBytes(SharedLevel(t.base));
    const WalkedLevel src = WalkLevel(source, WalkFormat::Tr4), b = WalkLevel(base, t.format);
    for (int erase : {0, 1}) {
        SCOPED_TRACE(erase ? "erasing items and static meshes" : "default options");
        const Conversion run(SharedLevel(t.base), erase, 0), engine(SharedLevel(t.base), erase, 0, 1);
        const Bytes& out = run.out;
        const std::vector<std::string> log = Lines(run.Messages(), false);
        ASSERT_GE(log.size(), 2u);
        EXPECT_EQ(log[log.size() - 2], "Conversion done");
        EXPECT_EQ(log.back().substr(0, 5), "Time ");
        EXPECT_TRUE(run.platform.boxes.empty()) << run.platform.boxes[0].text;
        // The default layout: 24-byte items, VerticesSize with the filler; TR1/Gold stop behind the items.
        const WalkedLevel n =
            WalkLevel(out, t.format, {.itemSize = 24, .stopAfterItems = tr1, .verticesSizeWithFiller = true});
        EXPECT_EQ(n.problem, "");
        if (!tr1) EXPECT_EQ(n.end, out.size());
        for (const char* name : FromBase) EXPECT_EQ(Whole(out, n[name]), Whole(base, b[name])) << name;
        for (auto name : {"FloorData", "Cameras", "SoundSources", "Boxes", "Overlaps", "AnimatedTextures"})
            EXPECT_EQ(n[name].count, src[name].count) << name;
        EXPECT_EQ(Whole(out, n["FloorData"]), Whole(src.inflated, src["FloorData"]));
        EXPECT_GT(run.prog.state.NumRoomTextureIds, 0);
        EXPECT_EQ(n["ObjectTextures"].count, b["ObjectTextures"].count + run.prog.state.NumRoomTextureIds);
        EXPECT_EQ(n["Items"].count, erase ? 1 : src["Items"].count);
        if (tr5) {
            for (auto name : {"Cameras", "FlybyCameras", "SoundSources", "Boxes", "Overlaps", "AiObjects"})
                EXPECT_EQ(Whole(out, n[name]), Whole(src.inflated, src[name])) << name;
            if (!erase) EXPECT_EQ(Whole(out, n["Items"]), Whole(src.inflated, src["Items"]));
            EXPECT_EQ(Span(out, n["SoundMap"], n["SampleIndices"]),
                      Span(base, b["SoundMap"], b["SampleIndices"]));
            EXPECT_EQ(n["GeometrySize"].count, int64_t(n["Samples"].offset - n["GeometrySize"].offset - 8));
        }
        // From the samples (TR5), the colour map (TR2, TR3) or behind the items on, the base's bytes.
        const size_t newTail = tr5 ? n["Samples"].offset : tr1 ? n.end : n["ColourMap"].offset;
        const size_t baseTail = tr5 ? b["Samples"].offset
                              : tr1 ? b["Items"].offset + 4 + 24 * size_t(b["Items"].count)
                                    : b["ColourMap"].offset;
        ASSERT_EQ(out.size() - newTail, base.size() - baseTail);
        EXPECT_TRUE(std::equal(out.begin() + long(newTail), out.end(), base.begin() + long(baseTail)));
        // The engine layout: the same log but for its own line and notes.
        EXPECT_EQ(CheckLevel(engine.out, t.base).problem, "");
        const std::vector<std::string> notes = Lines(run.Messages(), true);
        EXPECT_EQ(notes.size(), tr1 || tr5 ? 1u : 0u);
        if (!notes.empty())
            EXPECT_TRUE(notes[0].ends_with(std::string(EngineReadyCaption) + "\" for a level the game loads."));
        EXPECT_TRUE(run.prog.state.LimitNotes.empty() && engine.prog.state.LimitNotes.empty());
        if (t.format == WalkFormat::Gold) continue;  // in the TR1 layout: GoldEngineLayout below
        const std::vector<std::string> engineNotes = Lines(engine.Messages(), true);
        ASSERT_EQ(engineNotes.size(), t.format == WalkFormat::Tr1 ? 2u : 1u);  // TR1: how the palette was made
        EXPECT_EQ(engineNotes.back(), "Note: " + WithinLimitsLine(t.format));
        std::vector<std::string> engineLog = Lines(engine.Messages(), false), expected(log.begin(), log.end() - 1);
        auto version = std::ranges::find_if(expected, [](auto& m) { return m.starts_with("New level version"); });
        ASSERT_NE(version, expected.end());
        expected.insert(version + 1, "Engine layout: on");
        engineLog.pop_back();  // the time the run took
        EXPECT_EQ(engineLog, expected);
    }
    // The real source's flyby cameras have no frames: the cutscene option divides by zero.
    if (tr5) return;
    const Conversion run(SharedLevel(t.base), 0, 1);
    ASSERT_EQ(run.platform.boxes.size(), 1u);
    const std::string note = "Note: the source level '" + SharedLevel("source-tr4.TR4") +
                             "' while \"Building cinematic frames\" ran: the Cutscene option on a source whose "
                             "flyby cameras divide by zero (a camera whose two points share their Z, or one of no "
                             "frames); convert this level with Cutscene off.";
    EXPECT_EQ(run.platform.boxes[0].text, "Division by zero\n" + note);
    EXPECT_EQ(run.LastLine(), "Division by zero (11)");
    EXPECT_EQ(run.Messages().back(), note);
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, RealLevels, ::testing::ValuesIn(Targets),
                         [](const auto& info) { return std::string(info.param.name); });

// With the engine layout a Gold level is the TR1 conversion's bytes, from a Gold base with its
// palette behind the sprite sequences, one in the TR1 layout, and one cut short (read as the first).
TEST(GoldEngineLayout, FromABaseOfEitherLayoutTheNewLevelIsInTheTr1Layout) {
    NEEDS_SHARED_LEVELS();
    Bytes shortBase = ReadFileBytes(SharedLevel("base-gold.TUB"));
    shortBase.pop_back();
    TestFolder bases;
    WriteFileBytes(bases / "tr1-layout.TUB", ReadFileBytes(SharedLevel("base-tr1.PHD")));
    WriteFileBytes(bases / "short.TUB", shortBase);
    const Conversion tr1(SharedLevel("base-tr1.PHD"), 0, 0, 1);
    const std::tuple<std::string, size_t, std::string> runs[] = {
        {SharedLevel("base-gold.TUB"), 0,
         "Note: the Gold base keeps its palette behind its sprite sequences; the new level keeps it behind the "
         "colour map, as TR1 does"},
        {bases / "tr1-layout.TUB", 0,
         "Note: the Gold base keeps its palette behind the colour map, as TR1 does; so does the new level"},
        {bases / "short.TUB", 1,
         "Note: the Gold base reads through in neither layout; its palette is taken from behind its sprite "
         "sequences, and the new level keeps it behind the colour map, as TR1 does"}};
    for (const auto& [base, missing, note] : runs) {
        SCOPED_TRACE(base);
        const Conversion gold(base, 0, 0, 1);
        EXPECT_EQ(gold.Count(note), 1);
        EXPECT_EQ(gold.Count("Copying Tomb Raider Unfinished Business 8 bit palette"), 1);
        EXPECT_TRUE(gold.out == Bytes(tr1.out.begin(), tr1.out.end() - long(missing)));
    }
}

// A cutscene on the sample levels: frames relative to Lara's item; with items erased, a second
// conversion in the same run keeps the Lara position the run holds.
TEST(Cutscene, FramesStandRelativeToLaraAndErasedItemsKeepTheRunsLaraPosition) {
    ProgramFixture f;
    f.prog.form.Check3.SetValue(0);
    f.prog.form.Check4.SetValue(1);
    auto frames = [&](const std::string& name) {
        ConvertLevel(f.prog, SampleLevel("source.TR4"), SampleLevel("base-tr3.TR2"), f.dir / name);
        f.prog.channels.CloseAllChannels();
        const Bytes out = ReadFileBytes(f.dir / name);
        const WalkedSection table = WalkLevel(out, WalkFormat::Tr3)["CinematicFrames"];
        return Bytes(out.begin() + long(table.offset), out.begin() + long(table.End()));
    };
    const WalkedLevel src = WalkLevel(ReadFileBytes(SampleLevel("source.TR4")), WalkFormat::Tr4);
    const size_t lara = src["Items"].offset + 4, camera = src["FlybyCameras"].offset + 4;
    ASSERT_EQ(Word(src.inflated, lara), 0);
    ASSERT_EQ(Word(src.inflated, camera + 34), 0) << "the first camera's points are fixed";
    const int32_t laraX = Long(src.inflated, lara + 4), cameraAX = Long(src.inflated, camera);
    int frameCount = 0;
    for (int64_t i = 0; i < src["FlybyCameras"].count; ++i) frameCount += Word(src.inflated, camera + 40 * i + 30);
    const Bytes first = frames("first.TR2");
    EXPECT_EQ(Word(first, 0), frameCount);
    EXPECT_EQ(Word(first, 2 + 6), cameraAX - laraX);
    f.prog.state.LaraPosition.X += 512;  // as an earlier conversion of another source would leave it
    f.prog.form.Check1.SetValue(1);
    EXPECT_EQ(Word(frames("second.TR2"), 2 + 6), cameraAX - laraX - 512);
}
