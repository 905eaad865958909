// Whole conversions of the real levels for every target, each new level walked by the
// independent reader to its last byte and compared with its inputs section by section.
#include <gtest/gtest.h>

#include <algorithm>

#include "driver/ConvertLevel.h"
#include "inspection/LevelCheck.h"
#include "inspection/LevelWalker.h"
#include "support/PackedBlocks.h"
#include "support/ProgramFixture.h"

namespace {
using Bytes = std::vector<uint8_t>;

struct Target {
    const char* name;
    const char* base;
    WalkFormat format;
};
const Target Targets[] = {
    {"Tr1", "base-tr1.PHD", WalkFormat::Tr1}, {"Gold", "base-gold.TUB", WalkFormat::Gold},
    {"Tr2", "base-tr2.TR2", WalkFormat::Tr2}, {"Tr3", "base-tr3.TR2", WalkFormat::Tr3},
    {"Tr5", "base-tr5.TRC", WalkFormat::Tr5}};

// One conversion of the real source: Check1, Check2 (erase items, statics), Check4 (cutscene),
// Check6 (engine layout).
struct Conversion : ProgramFixture {
    Bytes out;
    Conversion(const Target& t, int erase, int cutscene, int engine = 0) {
        prog.form.Check1.SetValue(erase);
        prog.form.Check2.SetValue(erase);
        prog.form.Check3.SetValue(0);
        prog.form.Check4.SetValue(cutscene);
        prog.form.Check6.SetValue(engine);
        const std::string path = dir / ("new-" + std::string(t.base));
        ConvertLevel(prog, SharedLevel("source-tr4.TR4"), SharedLevel(t.base), path);
        prog.channels.CloseAllChannels();
        out = ReadFileBytes(path);
    }
};

// The sections from `first` to the counted section `last` as they stand in the file.
Bytes Span(const Bytes& b, const WalkedSection& first, const WalkedSection& last) {
    return Bytes(b.begin() + long(first.offset), b.begin() + long(last.offset + 4 + last.bytes));
}
Bytes Whole(const Bytes& b, const WalkedSection& s) { return Span(b, s, s); }

const char* const FromBase[] = {"MeshData",        "MeshPointers",    "Animations", "AnimationTable6",
                                "AnimationTable8", "AnimationTable2", "MeshTrees",  "Frames",
                                "Moveables",       "StaticMeshes",    "SpriteTextures", "SpriteSequences"};

class RealLevels : public ::testing::TestWithParam<Target> {};
}  // namespace

// With default options, with items and static meshes erased, and with the cutscene option.
TEST_P(RealLevels, ConvertsToAWalkableLevel) {
    const Target& t = GetParam();
    const bool tr5 = t.format == WalkFormat::Tr5;
    const bool tr1 = t.format == WalkFormat::Tr1 || t.format == WalkFormat::Gold;
    const Bytes source = ReadFileBytes(SharedLevel("source-tr4.TR4"));
    const Bytes base = ReadFileBytes(SharedLevel(t.base));
    const WalkedLevel src = WalkLevel(source, WalkFormat::Tr4), b = WalkLevel(base, t.format);
    ASSERT_EQ(src.end, source.size()) << "the walker must read the source to its last byte";
    ASSERT_EQ(b.end, base.size()) << "the walker must read the base to its last byte";
    for (int erase : {0, 1}) {
        SCOPED_TRACE(erase ? "erasing items and static meshes" : "default options");
        const Conversion run(t, erase, 0);
        const Bytes& out = run.out;
        const std::vector<std::string> log = run.Messages();
        ASSERT_GE(log.size(), 2u);
        EXPECT_EQ(log[log.size() - 2], "Conversion done");
        EXPECT_EQ(log.back().substr(0, 5), "Time ");
        EXPECT_TRUE(run.platform.boxes.empty()) << run.platform.boxes[0].text;
        // TR1 and Gold: the walk stops behind the items; the rest must be the base's tail behind
        // its items, which were passed as 24-byte records.
        // The default layout: 24-byte items, VerticesSize with the filler bytes.
        const WalkedLevel n =
            WalkLevel(out, t.format, {.itemSize = 24, .stopAfterItems = tr1, .verticesSizeWithFiller = true});
        EXPECT_EQ(n.problem, "");
        if (!tr1) EXPECT_EQ(n.end, out.size());

        EXPECT_EQ(n.numRooms, src.numRooms);
        for (const char* name : FromBase) EXPECT_EQ(Whole(out, n[name]), Whole(base, b[name])) << name;
        for (auto name : {"FloorData", "Cameras", "SoundSources", "Boxes", "Overlaps", "AnimatedTextures"})
            EXPECT_EQ(n[name].count, src[name].count) << name;
        EXPECT_EQ(Whole(out, n["FloorData"]), Whole(src.inflated, src["FloorData"]));
        EXPECT_GT(run.prog.state.NumRoomTextureIds, 0);
        EXPECT_EQ(n["ObjectTextures"].count, b["ObjectTextures"].count + run.prog.state.NumRoomTextureIds);
        EXPECT_EQ(n["Items"].count, erase ? 1 : src["Items"].count);
        if (erase) EXPECT_EQ(Word(out, n["Items"].offset + 4), 0) << "only Lara stays";
        if (tr5) {
            EXPECT_EQ(Word(out, 4), Word(base, 4) + Word(source, 4));
            for (auto name : {"Cameras", "FlybyCameras", "SoundSources", "Boxes", "Overlaps", "AiObjects"})
                EXPECT_EQ(Whole(out, n[name]), Whole(src.inflated, src[name])) << name;
            if (!erase) EXPECT_EQ(Whole(out, n["Items"]), Whole(src.inflated, src["Items"]));
            EXPECT_EQ(Span(out, n["SoundMap"], n["SampleIndices"]),
                      Span(base, b["SoundMap"], b["SampleIndices"]));
            // The geometry size covers everything from behind its two words up to the samples.
            EXPECT_EQ(n["GeometrySize"].count, int64_t(n["Samples"].offset - n["GeometrySize"].offset - 8));
        } else {
            EXPECT_EQ(n["Tiles"].count, b["Tiles"].count + Word(source, 4));
        }
        // From the samples (TR5), the colour map (TR2, TR3) or behind the items on, the base's bytes.
        const size_t newTail = tr5 ? n["Samples"].offset : tr1 ? n.end : n["ColourMap"].offset;
        const size_t baseTail = tr5 ? b["Samples"].offset
                              : tr1 ? b["Items"].offset + 4 + 24 * size_t(b["Items"].count)
                                    : b["ColourMap"].offset;
        ASSERT_EQ(out.size() - newTail, base.size() - baseTail);
        EXPECT_TRUE(std::equal(out.begin() + long(newTail), out.end(), base.begin() + long(baseTail)));
    }
    // The real source's flyby cameras all have a frame count of 0, so the cutscene option stops
    // the older targets in the error path with a division by zero.
    if (tr5) return;
    const Conversion run(t, 0, 1);
    ASSERT_EQ(run.platform.boxes.size(), 1u);
    EXPECT_EQ(run.platform.boxes[0].text, "Division by zero");
    EXPECT_EQ(run.Messages().back(), "Division by zero (11)");
}

// With the engine layout the new level is whole in its engine's layout, and it differs from the
// default output only in the item records of TR1 and Gold (22 bytes, the base's items passed as
// such) and in the VerticesSize of TR5 rooms. The default output of TR1, Gold and TR5 fails the
// check where an engine would refuse it.
TEST_P(RealLevels, EngineLayoutGivesALevelTheCheckReadsWhole) {
    const Target& t = GetParam();
    const bool tr1 = t.format == WalkFormat::Tr1 || t.format == WalkFormat::Gold;
    const Bytes base = ReadFileBytes(SharedLevel(t.base));
    for (int erase : {0, 1}) {
        SCOPED_TRACE(erase ? "erasing items and static meshes" : "default options");
        const Conversion off(t, erase, 0, 0), on(t, erase, 0, 1);
        const WalkedLevel checked = CheckLevel(on.out, t.base), plain = CheckLevel(off.out, t.base);
        EXPECT_EQ(checked.problem, "");
        std::vector<std::string> log = on.Messages();
        const auto version = std::ranges::find_if(log, [](auto& m) { return m.starts_with("New level version"); });
        ASSERT_NE(version, log.end());
        EXPECT_EQ(*(version + 1), "Engine layout: on");
        log.erase(version + 1);
        EXPECT_EQ(log, off.Messages());

        if (t.format == WalkFormat::Tr5) {
            EXPECT_TRUE(plain.problem.starts_with("Rooms: room 0 at ")) << plain.problem;
            EXPECT_NE(plain.problem.find("VerticesSize is"), std::string::npos);
            ASSERT_EQ(on.out.size(), off.out.size());
            Bytes a = on.out, b = off.out;
            for (size_t room = checked["Rooms"].offset + 4, i = 0; i < size_t(checked.numRooms); ++i) {
                EXPECT_EQ(Long(a, room + 196) + 2, Long(b, room + 196)) << i;
                for (size_t k = 0; k < 4; ++k) a[room + 196 + k] = b[room + 196 + k] = 0;
                room += 8 + size_t(Long(a, room + 4));
            }
            EXPECT_TRUE(a == b);
        } else if (tr1) {
            if (!erase) EXPECT_NE(plain.problem.find("TR1 and Gold engines read 22-byte items"), std::string::npos);
            EXPECT_FALSE(plain.Whole());
            const WalkedSection& items = checked["Items"];
            ASSERT_TRUE(std::equal(on.out.begin(), on.out.begin() + long(items.offset + 4), off.out.begin()));
            for (int64_t i = 0; i < items.count; ++i) {
                const auto from = off.out.begin() + long(items.offset + 4 + 24 * size_t(i));
                Bytes record(from, from + 20);
                record.insert(record.end(), from + 22, from + 24);
                EXPECT_TRUE(std::equal(record.begin(), record.end(),
                                       on.out.begin() + long(items.offset + 4 + 22 * size_t(i))));
            }
            const size_t baseTail = CheckLevel(base, t.base)["Items"].End();
            EXPECT_TRUE(std::equal(on.out.begin() + long(items.End()), on.out.end(), base.begin() + long(baseTail),
                                   base.end()));
        } else {
            EXPECT_EQ(plain.problem, "");
            EXPECT_TRUE(on.out == off.out);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, RealLevels, ::testing::ValuesIn(Targets),
                         [](const auto& info) { return std::string(info.param.name); });

namespace {
// The real source with 3 frames on every flyby camera and Lara moved by `moveLara` along X.
struct CutsceneSource {
    std::vector<int32_t> cameraAX;  // per camera whose first point is fixed, else INT32_MIN
    int32_t laraX = 0;
    CutsceneSource(const std::string& path, int32_t moveLara) {
        const Bytes file = ReadFileBytes(SharedLevel("source-tr4.TR4"));
        WalkedLevel src = WalkLevel(file, WalkFormat::Tr4);
        Bytes& g = src.inflated;
        for (int64_t i = 0; i < src["FlybyCameras"].count; ++i) {
            const size_t cam = src["FlybyCameras"].offset + 4 + size_t(i) * 40;
            g[cam + 30] = 3, g[cam + 31] = 0;
            cameraAX.push_back(Word(g, cam + 34) & 2 ? INT32_MIN : Long(g, cam));
        }
        for (int64_t i = 0; i < src["Items"].count; ++i) {
            const size_t item = src["Items"].offset + 4 + size_t(i) * 24;
            if (Word(g, item) != 0) continue;
            laraX = Long(g, item + 4) + moveLara;
            for (int k = 0; k < 4; ++k) g[item + 4 + size_t(k)] = uint8_t(uint32_t(laraX) >> (8 * k));
        }
        WriteFileBytes(path, WithGeometry(file, g));
    }
};

Bytes FrameTable(ProgramFixture& f, const std::string& source, const std::string& newLevel) {
    ConvertLevel(f.prog, source, SharedLevel("base-tr3.TR2"), newLevel);
    f.prog.channels.CloseAllChannels();
    const Bytes out = ReadFileBytes(newLevel);
    const WalkedSection frames = WalkLevel(out, WalkFormat::Tr3)["CinematicFrames"];
    return Bytes(out.begin() + long(frames.offset), out.begin() + long(frames.offset + 2 + frames.bytes));
}
}  // namespace

// A working cutscene: frames relative to Lara; a second conversion in the same run whose items
// are erased keeps the Lara position of the first.
TEST(RealLevelsCutscene, LaraPositionOfOneConversionServesTheNextWithErasedItems) {
    ProgramFixture f;
    f.prog.form.Check3.SetValue(0);
    f.prog.form.Check4.SetValue(1);
    const CutsceneSource first(f.dir / "first.tr4", 0);
    ASSERT_NE(std::ranges::count(first.cameraAX, INT32_MIN), std::ssize(first.cameraAX)) << "a fixed camera";
    const Bytes frames = FrameTable(f, f.dir / "first.tr4", f.dir / "first.TR2");
    EXPECT_EQ(f.Messages()[f.Messages().size() - 2], "Conversion done");
    EXPECT_EQ(f.prog.state.LaraPosition.X, first.laraX);
    ASSERT_EQ(Word(frames, 0), int(first.cameraAX.size()) * 3);
    for (size_t i = 0; i < first.cameraAX.size(); ++i)
        if (first.cameraAX[i] != INT32_MIN)
            EXPECT_EQ(Word(frames, 2 + i * 3 * 16 + 6), first.cameraAX[i] - first.laraX) << i;

    f.prog.form.Check1.SetValue(1);
    const CutsceneSource second(f.dir / "second.tr4", 512);
    EXPECT_EQ(FrameTable(f, f.dir / "second.tr4", f.dir / "second.TR2"), frames);
    EXPECT_EQ(f.prog.state.LaraPosition.X, first.laraX);
}
