// The sample levels the project makes, walked by the independent reader and converted.
#include <gtest/gtest.h>

#include "../../tools/SampleLevels.h"
#include "core/MemoryFileSystem.h"
#include "driver/ConvertLevel.h"
#include "frontend/Settings.h"
#include "inspection/LevelWalker.h"
#include "support/PackedBlocks.h"
#include "frontend/FrontendFixture.h"

namespace {
// A level walked in the format its file name tells. The samples, like the converter's default
// output, hold 24-byte items in every format and count the filler bytes in a TR5 VerticesSize;
// their TR5 samples have no count.
WalkedLevel Walk(const std::string& name, const std::vector<uint8_t>& file) {
    const WalkOptions layout {.itemSize = 24, .verticesSizeWithFiller = true, .uncountedSamples = true};
    if (name.ends_with(".TR4")) return WalkLevel(file, WalkFormat::Tr4);
    if (name.ends_with(".TRC")) return WalkLevel(file, WalkFormat::Tr5, layout);
    if (name.ends_with(".PHD")) return WalkLevel(file, WalkFormat::Tr1, layout);
    if (name.ends_with(".TUB")) return WalkLevel(file, WalkFormat::Gold, layout);
    return WalkLevel(file, name.find("tr3") != std::string::npos ? WalkFormat::Tr3 : WalkFormat::Tr2);
}
struct MemoryPlatform : ScriptedPlatform {
    MemoryFileSystem fs;
    FileSystem& Files() override { return fs; }
};

// Option boxes of a conversion: erase items, cutscene, a UV range of 7; the optimizer never.
void SetOptions(Program& prog, int options) {
    prog.form.Check1.SetValue(options);
    prog.form.Check3.SetValue(0);
    prog.form.Check4.SetValue(options);
    prog.form.Text4.SetText("7");
}
}  // namespace

// Every sample, of the regular and of the small set (the fuzz programs' inputs), follows its
// format to its last byte. Every target converts the small set, with and without
// options, without a message box and without an error line other than the one that says the
// older targets have no place for the source's flyby cameras; without options the new level
// follows its format too. A conversion in memory (the fuzz programs' file system) gives the same
// bytes and the same log. (The regular set's conversions are pinned by the digests.)
TEST(SampleLevels, TheSmallSetIsWholeAndConvertsWithoutErrorsOnTheDiskAndInMemory) {
    const std::string flyby =
        "ConvertLevel() -> Error: Flyby cameras not supported in this Tomb Raider version!";
    TestFolder in;
    const std::vector<samples::SampleFile> set = samples::MakeSmallSampleSet();
    for (bool small : {false, true})
        for (auto& f : small ? set : samples::MakeSampleSet()) {
            SCOPED_TRACE(f.Name);
            const auto bytes = small ? WithWholeTiles(f.Bytes) : f.Bytes;  // short tiles on purpose
            const WalkedLevel w = Walk(f.Name, bytes);
            EXPECT_EQ(w.problem, "");
            EXPECT_EQ(w.end, bytes.size());
            EXPECT_GT(w.numRooms, 0);
            if (f.Name == samples::SampleSourceName) EXPECT_EQ(w["GeometryTail"].bytes, 0u);
            if (small) EXPECT_LT(f.Bytes.size(), 16000u);
            if (small) WriteFileBytes(in / f.Name, f.Bytes);
        }
    for (auto& t : samples::SampleTargets()) {
        for (int options = 0; options < 2; ++options) {
            SCOPED_TRACE(std::string(t.Label) + (options ? ", options" : ""));
            FrontFixture run;
            SetOptions(run.prog, options);
            ConvertLevel(run.prog, in / samples::SampleSourceName, in / t.Base, in / t.NewLevel);
            run.prog.channels.CloseAllChannels();
            EXPECT_TRUE(run.platform.boxes.empty()) << run.platform.boxes.front().text;
            EXPECT_TRUE(run.Logged("Conversion done"));
            EXPECT_LE(run.Count(flyby), std::string(t.Base).ends_with(".TRC") ? 0 : 1);
            for (auto& message : run.Messages())
                if (message != flyby) EXPECT_EQ(message.find("Error"), std::string::npos) << message;
            const auto out = ReadFileBytes(in / t.NewLevel);
            EXPECT_EQ(Long(out, 0), Long(ReadFileBytes(in / t.Base), 0));
            if (!options) EXPECT_EQ(Walk(t.NewLevel, WithWholeTiles(out)).problem, "");

            MemoryPlatform platform;
            for (auto& f : set) platform.fs.Put("/levels/" + f.Name, f.Bytes, true);
            platform.fs.MakeFolder("/program");
            Program memory(platform, "/program");
            SetOptions(memory, options);
            ConvertLevel(memory, std::string("/levels/") + samples::SampleSourceName,
                         std::string("/levels/") + t.Base, std::string("/program/") + t.NewLevel);
            EXPECT_EQ(platform.fs.Get(std::string("/program/") + t.NewLevel).value(), out);
            // The same lines, to the last one that names where the level went.
            const auto &inMemory = memory.form.l.Items(), &onDisk = run.prog.form.l.Items();
            ASSERT_EQ(inMemory.size(), onDisk.size());
            EXPECT_EQ(inMemory[inMemory.size() - 2], onDisk[onDisk.size() - 2]);
            EXPECT_EQ(inMemory.back(), std::string("[12:00:00] Note: the new level was written to '/program/") +
                                           t.NewLevel + "'.");
        }
    }
}

// The program reads the tool's settings file as one job per target and writes it back unchanged.
TEST(SampleLevels, SettingsLoadAsOneJobPerTargetAndSaveBackByteForByte) {
    FrontFixture f;
    const std::vector<uint8_t> bytes = samples::MakeSettings(samples::SampleJobs("/x/"), "/x");
    WriteFileBytes(SettingsPath(f.prog), bytes);
    LoadSettings(f.prog);
    EXPECT_EQ(f.prog.front.NumJobs, 5);
    SaveSettings(f.prog);
    EXPECT_EQ(ReadFileBytes(SettingsPath(f.prog)), bytes);
}
