// Whole conversions of the real levels for every target, each new level walked by the
// independent reader to its last byte and compared with its inputs section by section.
#include <gtest/gtest.h>

#include "driver/ConvertLevel.h"
#include "frontend/Program.h"
#include "support/LevelWalker.h"
#include "support/ScriptedPlatform.h"
#include "support/TestFolder.h"

namespace {
struct Target {
    const char* base;
    WalkFormat format;
    const char* newName;
};

struct Conversion {
    TestFolder dir;
    ScriptedPlatform platform;
    Program prog{platform, dir.str()};
    std::vector<uint8_t> out;
    std::vector<std::string> log;

    void Convert(const Target& t, const std::string& source = SharedLevel("source-tr4.TR4")) {
        if (!prog.channels.IsOpen(LogChannel)) prog.channels.Open(LogChannel, dir / "morv.log", OpenMode::TextOutput);
        ConvertLevel(prog, source, SharedLevel(t.base), dir / t.newName);
        prog.channels.CloseAllChannels();
        out = ReadFileBytes(dir / t.newName);
        log.clear();
        for (auto& line : prog.form.l.Items()) log.push_back(line.substr(line.find("] ") + 2));
    }
};

std::vector<uint8_t> Slice(const std::vector<uint8_t>& b, size_t from, size_t n) {
    return std::vector<uint8_t>(b.begin() + static_cast<long>(from), b.begin() + static_cast<long>(from + n));
}
// A counted section as it stands in the file: its count word and its data.
std::vector<uint8_t> Whole(const std::vector<uint8_t>& b, const WalkedSection& s) { return Slice(b, s.offset, 4 + s.bytes); }

bool IsTr1(WalkFormat f) { return f == WalkFormat::Tr1 || f == WalkFormat::Gold; }

const char* const FromBase[] = {"MeshData",      "MeshPointers", "Animations", "AnimationTable6",
                                "AnimationTable8", "AnimationTable2", "MeshTrees", "Frames",
                                "Moveables",     "StaticMeshes", "SpriteTextures", "SpriteSequences"};

class RealLevels : public ::testing::TestWithParam<Target> {};

std::string TargetName(const ::testing::TestParamInfo<Target>& info) {
    const char* names[] = {"Tr1", "Gold", "Tr2", "Tr3", "Tr5"};
    return names[static_cast<int>(info.param.format)];
}

void CheckOlderTarget(Conversion& run, const Target& t, int erased) {
    auto source = ReadFileBytes(SharedLevel("source-tr4.TR4"));
    auto base = ReadFileBytes(SharedLevel(t.base));
    WalkedLevel src = WalkTr4Source(source);
    bool tr1 = IsTr1(t.format);
    WalkedLevel b = WalkLevel(base, t.format, tr1 ? 22 : 24);
    ASSERT_EQ(b.end, base.size()) << "the walker must read the base to its last byte";
    // TR1 and Gold: the tail behind the items is the base's bytes from where its items were
    // passed as 24-byte records; the other targets are walked to the end.
    WalkedLevel n = WalkLevel(run.out, t.format, 24, true, tr1);

    EXPECT_EQ(n["Tiles"].count, b["Tiles"].count + Word(source, 4));
    EXPECT_EQ(n.numRooms, src.numRooms);
    for (const char* name : FromBase) EXPECT_EQ(Whole(run.out, n[name]), Whole(base, b[name])) << name;
    for (const char* name : {"FloorData", "Cameras", "SoundSources", "Overlaps", "AnimatedTextures"})
        EXPECT_EQ(n[name].count, src[name].count) << name;
    EXPECT_EQ(Whole(run.out, n["FloorData"]), Whole(src.inflated, src["FloorData"]));
    EXPECT_EQ(n["Boxes"].count, src["Boxes"].count);
    EXPECT_EQ(n["ObjectTextures"].count, b["ObjectTextures"].count + run.prog.state.NumRoomTextureIds);
    EXPECT_GT(run.prog.state.NumRoomTextureIds, 0);
    EXPECT_EQ(n["Items"].count, erased ? 1 : src["Items"].count);
    if (erased) EXPECT_EQ(Word(run.out, n["Items"].offset + 4), 0);

    size_t baseTail = tr1 ? b["Items"].offset + 4 + 24 * static_cast<size_t>(b["Items"].count) : b["ColourMap"].offset;
    size_t newTail = tr1 ? n.end : n["ColourMap"].offset;
    ASSERT_EQ(run.out.size() - newTail, base.size() - baseTail);
    EXPECT_TRUE(std::equal(run.out.begin() + static_cast<long>(newTail), run.out.end(),
                           base.begin() + static_cast<long>(baseTail)));
    if (!tr1) EXPECT_EQ(n.end, run.out.size());
}

void CheckTr5(Conversion& run, int erased) {
    auto source = ReadFileBytes(SharedLevel("source-tr4.TR4"));
    auto base = ReadFileBytes(SharedLevel("base-tr5.TRC"));
    WalkedLevel src = WalkTr4Source(source);
    WalkedLevel b = WalkTr5Level(base);
    WalkedLevel n = WalkTr5Level(run.out);
    EXPECT_EQ(n.numRooms, src.numRooms);
    EXPECT_EQ(Word(run.out, 4), Word(base, 4) + Word(source, 4));
    for (const char* name : FromBase)
        if (std::string(name) != "Animations" && std::string(name) != "Moveables")
            EXPECT_EQ(Whole(run.out, n[name]), Whole(base, b[name])) << name;
    EXPECT_EQ(Whole(run.out, n["Animations"]), Whole(base, b["Animations"]));
    EXPECT_EQ(Whole(run.out, n["Moveables"]), Whole(base, b["Moveables"]));
    for (const char* name : {"FloorData", "Cameras", "FlybyCameras", "SoundSources", "Boxes", "Overlaps", "AiObjects"})
        EXPECT_EQ(Whole(run.out, n[name]), Whole(src.inflated, src[name])) << name;
    // The animated ranges keep their length and carry the new ids.
    EXPECT_EQ(n["AnimatedTextures"].count, src["AnimatedTextures"].count);
    EXPECT_EQ(n["ObjectTextures"].count, b["ObjectTextures"].count + run.prog.state.NumRoomTextureIds);
    EXPECT_EQ(n["Items"].count, erased ? 1 : src["Items"].count);
    if (!erased) EXPECT_EQ(Whole(run.out, n["Items"]), Whole(src.inflated, src["Items"]));
    EXPECT_EQ(Whole(run.out, n["SoundDetails"]), Whole(base, b["SoundDetails"]));
    EXPECT_EQ(Whole(run.out, n["SampleIndices"]), Whole(base, b["SampleIndices"]));
    EXPECT_EQ(Slice(run.out, n["SoundMap"].offset, 900), Slice(base, b["SoundMap"].offset, 900));
    EXPECT_EQ(Slice(run.out, n["Samples"].offset, n["Samples"].bytes), Slice(base, b["Samples"].offset, b["Samples"].bytes));
    // The geometry size covers everything from behind its two words up to the samples.
    EXPECT_EQ(n["GeometrySize"].count, static_cast<int64_t>(n["Samples"].offset - n["GeometrySize"].offset - 8));
}
}  // namespace

TEST_P(RealLevels, ConvertsWithDefaultOptionsToAWalkableLevel) {
    const Target& t = GetParam();
    Conversion run;
    run.prog.form.Check3.SetValue(0);
    run.Convert(t);
    ASSERT_GE(run.log.size(), 2u);
    EXPECT_EQ(run.log[run.log.size() - 2], "Conversion done");
    EXPECT_EQ(run.log.back().substr(0, 5), "Time ");
    EXPECT_TRUE(run.platform.boxes.empty()) << run.platform.boxes[0].text;
    if (t.format == WalkFormat::Tr5)
        CheckTr5(run, 0);
    else
        CheckOlderTarget(run, t, 0);
}

TEST_P(RealLevels, ErasesItemsAndStaticMeshes) {
    const Target& t = GetParam();
    Conversion run;
    run.prog.form.Check3.SetValue(0);
    run.prog.form.Check1.SetValue(1);
    run.prog.form.Check2.SetValue(1);
    run.Convert(t);
    ASSERT_FALSE(run.log.empty());
    EXPECT_TRUE(run.platform.boxes.empty()) << run.platform.boxes[0].text;
    if (t.format == WalkFormat::Tr5)
        CheckTr5(run, 1);
    else
        CheckOlderTarget(run, t, 1);
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, RealLevels,
                         ::testing::Values(Target{"base-tr1.PHD", WalkFormat::Tr1, "new.PHD"},
                                           Target{"base-gold.TUB", WalkFormat::Gold, "new.TUB"},
                                           Target{"base-tr2.TR2", WalkFormat::Tr2, "new.TR2"},
                                           Target{"base-tr3.TR2", WalkFormat::Tr3, "new.TR2"},
                                           Target{"base-tr5.TRC", WalkFormat::Tr5, "new.TRC"}),
                         TargetName);

// The real source's flyby cameras all have a frame count of 0, so the cutscene option stops the
// older targets in the error path with a division by zero.
TEST(RealLevelsCutscene, OlderTargetsStopOnAZeroFrameCount) {
    for (Target t : {Target{"base-tr2.TR2", WalkFormat::Tr2, "new.TR2"}, Target{"base-tr1.PHD", WalkFormat::Tr1, "new.PHD"}}) {
        Conversion run;
        run.prog.form.Check3.SetValue(0);
        run.prog.form.Check4.SetValue(1);
        run.Convert(t);
        ASSERT_EQ(run.platform.boxes.size(), 1u) << t.base;
        EXPECT_EQ(run.platform.boxes[0].text, "Division by zero");
        EXPECT_EQ(run.log.back(), "Division by zero (11)");
    }
}

namespace {
// The real source with every flyby camera given 3 frames and Lara's items moved along X.
struct CutsceneSource {
    int32_t cameras = 0, laraX = 0;
    std::vector<int32_t> cameraAX;
    std::vector<bool> cameraAMoves;
    CutsceneSource(const std::string& path, int32_t moveLara) {
        auto file = ReadFileBytes(SharedLevel("source-tr4.TR4"));
        WalkedLevel src = WalkTr4Source(file);
        auto& g = src.inflated;
        cameras = static_cast<int32_t>(src["FlybyCameras"].count);
        for (int32_t i = 0; i < cameras; ++i) {
            size_t cam = src["FlybyCameras"].offset + 4 + size_t(i) * 40;
            g[cam + 30] = 3, g[cam + 31] = 0;
            cameraAX.push_back(Long(g, cam));
            cameraAMoves.push_back(Word(g, cam + 34) & 2);
        }
        for (int64_t i = 0; i < src["Items"].count; ++i) {
            size_t item = src["Items"].offset + 4 + size_t(i) * 24;
            if (Word(g, item) != 0) continue;
            laraX = Long(g, item + 4) + moveLara;
            for (int k = 0; k < 4; ++k) g[item + 4 + size_t(k)] = uint8_t(uint32_t(laraX) >> (8 * k));
        }
        WriteFileBytes(path, WithGeometry(file, g));
    }
};

std::vector<uint8_t> FrameTable(const std::vector<uint8_t>& level) {
    WalkedLevel walked = WalkLevel(level, WalkFormat::Tr3);
    const WalkedSection& s = walked["CinematicFrames"];
    return std::vector<uint8_t>(level.begin() + long(s.offset), level.begin() + long(s.offset + 2 + s.bytes));
}
}  // namespace

// The working cutscene: frames relative to Lara, and a second conversion in the same run whose
// items are erased keeps the Lara position of the first.
TEST(RealLevelsCutscene, LaraPositionOfOneConversionServesTheNextWithErasedItems) {
    const Target tr3{"base-tr3.TR2", WalkFormat::Tr3, "new.TR2"};
    Conversion run;
    run.prog.form.Check3.SetValue(0);
    run.prog.form.Check4.SetValue(1);
    CutsceneSource first(run.dir / "first.tr4", 0);
    ASSERT_GT(first.cameras, 0);
    run.Convert(tr3, run.dir / "first.tr4");
    ASSERT_EQ(run.log[run.log.size() - 2], "Conversion done");
    EXPECT_EQ(run.prog.state.LaraPosition.X, first.laraX);
    ASSERT_EQ(run.prog.state.NumCinematicFrames, first.cameras * 3);
    auto frames = FrameTable(run.out);
    EXPECT_EQ(Word(frames, 0), first.cameras * 3);
    for (int32_t i = 0; i < first.cameras; ++i)
        if (!first.cameraAMoves[size_t(i)])
            EXPECT_EQ(Word(frames, 2 + size_t(i) * 3 * 16 + 6), first.cameraAX[size_t(i)] - first.laraX);

    run.prog.form.Check1.SetValue(1);
    CutsceneSource second(run.dir / "second.tr4", 512);
    run.Convert(tr3, run.dir / "second.tr4");
    EXPECT_EQ(run.prog.state.LaraPosition.X, first.laraX);
    EXPECT_EQ(FrameTable(run.out), frames);
}
