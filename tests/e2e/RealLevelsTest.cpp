// Whole conversions of the real levels for every target, each new level walked by the
// independent reader to its last byte and compared with its inputs section by section.
#include <gtest/gtest.h>

#include "driver/ConvertLevel.h"
#include "support/LevelWalker.h"
#include "support/ProgramFixture.h"

namespace {
using Bytes = std::vector<uint8_t>;

struct Target {
    const char* base;
    WalkFormat format;
    const char* newName;
};
const Target Targets[] = {
    {"base-tr1.PHD", WalkFormat::Tr1, "new.PHD"}, {"base-gold.TUB", WalkFormat::Gold, "new.TUB"},
    {"base-tr2.TR2", WalkFormat::Tr2, "new.TR2"}, {"base-tr3.TR2", WalkFormat::Tr3, "new.TR2"},
    {"base-tr5.TRC", WalkFormat::Tr5, "new.TRC"}};

// A program with Check1 (erase items), Check2 (erase static meshes) and Check4 (cutscene) set.
struct Conversion : ProgramFixture {
    Bytes out;
    std::vector<std::string> log;
    Conversion(int check1, int check2, int check4) {
        prog.form.Check1.SetValue(check1);
        prog.form.Check2.SetValue(check2);
        prog.form.Check3.SetValue(0);
        prog.form.Check4.SetValue(check4);
    }
    void Convert(const Target& t, const std::string& source = SharedLevel("source-tr4.TR4")) {
        if (!prog.channels.IsOpen(LogChannel))
            prog.channels.Open(LogChannel, dir / "morv.log", OpenMode::TextOutput);
        ConvertLevel(prog, source, SharedLevel(t.base), dir / t.newName);
        prog.channels.CloseAllChannels();
        out = ReadFileBytes(dir / t.newName);
        log = Messages();
    }
};

Bytes Slice(const Bytes& b, size_t from, size_t n) {
    return Bytes(b.begin() + static_cast<long>(from), b.begin() + static_cast<long>(from + n));
}
// A counted section as it stands in the file: its count word and its data; a section without count.
Bytes Whole(const Bytes& b, const WalkedSection& s) { return Slice(b, s.offset, 4 + s.bytes); }
Bytes Data(const Bytes& b, const WalkedSection& s) { return Slice(b, s.offset, s.bytes); }

const char* const FromBase[] = {"MeshData",        "MeshPointers",    "Animations", "AnimationTable6",
                                "AnimationTable8", "AnimationTable2", "MeshTrees",  "Frames",
                                "Moveables",       "StaticMeshes",    "SpriteTextures", "SpriteSequences"};

void CheckConversion(const Conversion& run, const Target& t, bool erased) {
    const Bytes source = ReadFileBytes(SharedLevel("source-tr4.TR4"));
    const Bytes base = ReadFileBytes(SharedLevel(t.base));
    const bool tr5 = t.format == WalkFormat::Tr5;
    const bool tr1 = t.format == WalkFormat::Tr1 || t.format == WalkFormat::Gold;
    const WalkedLevel src = WalkTr4Source(source);
    ASSERT_EQ(src.end, source.size()) << "the walker must read the source to its last byte";
    const WalkedLevel b = tr5 ? WalkTr5Level(base) : WalkLevel(base, t.format, tr1 ? 22 : 24);
    ASSERT_EQ(b.end, base.size()) << "the walker must read the base to its last byte";
    // TR1 and Gold: the walk stops behind the items; the rest must be the base's tail behind its
    // items, which were passed as 24-byte records.
    const WalkedLevel n = tr5 ? WalkTr5Level(run.out) : WalkLevel(run.out, t.format, 24, true, tr1);
    if (!tr1) EXPECT_EQ(n.end, run.out.size());

    EXPECT_EQ(n.numRooms, src.numRooms);
    for (const char* name : FromBase) EXPECT_EQ(Whole(run.out, n[name]), Whole(base, b[name])) << name;
    for (const char* name : {"FloorData", "Cameras", "SoundSources", "Boxes", "Overlaps", "AnimatedTextures"})
        EXPECT_EQ(n[name].count, src[name].count) << name;
    EXPECT_EQ(Whole(run.out, n["FloorData"]), Whole(src.inflated, src["FloorData"]));
    EXPECT_GT(run.prog.state.NumRoomTextureIds, 0);
    EXPECT_EQ(n["ObjectTextures"].count, b["ObjectTextures"].count + run.prog.state.NumRoomTextureIds);
    EXPECT_EQ(n["Items"].count, erased ? 1 : src["Items"].count);
    if (erased) EXPECT_EQ(Word(run.out, n["Items"].offset + 4), 0) << "only Lara stays";

    if (tr5) {
        EXPECT_EQ(Word(run.out, 4), Word(base, 4) + Word(source, 4));
        for (const char* name : {"Cameras", "FlybyCameras", "SoundSources", "Boxes", "Overlaps", "AiObjects"})
            EXPECT_EQ(Whole(run.out, n[name]), Whole(src.inflated, src[name])) << name;
        if (!erased) EXPECT_EQ(Whole(run.out, n["Items"]), Whole(src.inflated, src["Items"]));
        EXPECT_EQ(Whole(run.out, n["SoundDetails"]), Whole(base, b["SoundDetails"]));
        EXPECT_EQ(Whole(run.out, n["SampleIndices"]), Whole(base, b["SampleIndices"]));
        for (const char* name : {"SoundMap", "Samples"})
            EXPECT_EQ(Data(run.out, n[name]), Data(base, b[name])) << name;
        // The geometry size covers everything from behind its two words up to the samples.
        EXPECT_EQ(n["GeometrySize"].count, int64_t(n["Samples"].offset - n["GeometrySize"].offset - 8));
        return;
    }
    EXPECT_EQ(n["Tiles"].count, b["Tiles"].count + Word(source, 4));
    size_t baseTail = tr1 ? b["Items"].offset + 4 + 24 * size_t(b["Items"].count) : b["ColourMap"].offset;
    size_t newTail = tr1 ? n.end : n["ColourMap"].offset;
    ASSERT_EQ(run.out.size() - newTail, base.size() - baseTail);
    EXPECT_TRUE(std::equal(run.out.begin() + static_cast<long>(newTail), run.out.end(),
                           base.begin() + static_cast<long>(baseTail)));
}

class RealLevels : public ::testing::TestWithParam<Target> {};

std::string TargetName(const ::testing::TestParamInfo<Target>& info) {
    const char* names[] = {"Tr1", "Gold", "Tr2", "Tr3", "Tr5"};
    return names[static_cast<int>(info.param.format)];
}
}  // namespace

// With default options, and with items and static meshes erased.
TEST_P(RealLevels, ConvertsToAWalkableLevel) {
    for (int erase : {0, 1}) {
        SCOPED_TRACE(erase ? "erasing items and static meshes" : "default options");
        Conversion run(erase, erase, 0);
        run.Convert(GetParam());
        ASSERT_GE(run.log.size(), 2u);
        EXPECT_EQ(run.log[run.log.size() - 2], "Conversion done");
        EXPECT_EQ(run.log.back().substr(0, 5), "Time ");
        EXPECT_TRUE(run.platform.boxes.empty()) << run.platform.boxes[0].text;
        CheckConversion(run, GetParam(), erase);
    }
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, RealLevels, ::testing::ValuesIn(Targets), TargetName);

// The real source's flyby cameras all have a frame count of 0, so the cutscene option stops the
// older targets in the error path with a division by zero.
TEST(RealLevelsCutscene, OlderTargetsStopOnAZeroFrameCount) {
    for (const Target& t : {Targets[2], Targets[0]}) {
        Conversion run(0, 0, 1);
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
        const Bytes file = ReadFileBytes(SharedLevel("source-tr4.TR4"));
        WalkedLevel src = WalkTr4Source(file);
        Bytes& g = src.inflated;
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

Bytes FrameTable(const Bytes& level) {
    const WalkedLevel walked = WalkLevel(level, WalkFormat::Tr3);
    return Slice(level, walked["CinematicFrames"].offset, 2 + walked["CinematicFrames"].bytes);
}
}  // namespace

// The working cutscene: frames relative to Lara, and a second conversion in the same run whose
// items are erased keeps the Lara position of the first.
TEST(RealLevelsCutscene, LaraPositionOfOneConversionServesTheNextWithErasedItems) {
    Conversion run(0, 0, 1);
    CutsceneSource first(run.dir / "first.tr4", 0);
    ASSERT_GT(first.cameras, 0);
    run.Convert(Targets[3], run.dir / "first.tr4");
    ASSERT_EQ(run.log[run.log.size() - 2], "Conversion done");
    EXPECT_EQ(run.prog.state.LaraPosition.X, first.laraX);
    ASSERT_EQ(run.prog.state.NumCinematicFrames, first.cameras * 3);
    const Bytes frames = FrameTable(run.out);
    EXPECT_EQ(Word(frames, 0), first.cameras * 3);
    for (int32_t i = 0; i < first.cameras; ++i)
        if (!first.cameraAMoves[size_t(i)])
            EXPECT_EQ(Word(frames, 2 + size_t(i) * 3 * 16 + 6), first.cameraAX[size_t(i)] - first.laraX);

    run.prog.form.Check1.SetValue(1);
    CutsceneSource second(run.dir / "second.tr4", 512);
    run.Convert(Targets[3], run.dir / "second.tr4");
    EXPECT_EQ(run.prog.state.LaraPosition.X, first.laraX);
    EXPECT_EQ(FrameTable(run.out), frames);
}
