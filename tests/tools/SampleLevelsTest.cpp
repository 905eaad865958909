// The sample levels, read by the independent walker of the level formats, and converted.
#include <gtest/gtest.h>

#include "../../tools/SampleLevels.h"
#include "driver/ConvertLevel.h"
#include "support/LevelWalker.h"
#include "support/ProgramFixture.h"

namespace {
// A level walked in the format its file name tells.
WalkedLevel Walk(const std::string& name, const std::vector<uint8_t>& file) {
    if (name.ends_with(".TR4")) return WalkTr4Source(file);
    if (name.ends_with(".TRC")) return WalkTr5Level(file);
    if (name.ends_with(".PHD")) return WalkLevel(file, WalkFormat::Tr1);
    if (name.ends_with(".TUB")) return WalkLevel(file, WalkFormat::Gold);
    return WalkLevel(file, name.find("tr3") != std::string::npos ? WalkFormat::Tr3 : WalkFormat::Tr2);
}
}  // namespace

TEST(SampleLevels, EverySampleFollowsItsFormatToItsLastByte) {
    for (auto& f : samples::MakeSampleSet()) {
        SCOPED_TRACE(f.Name);
        const WalkedLevel w = Walk(f.Name, f.Bytes);
        EXPECT_EQ(w.end, f.Bytes.size());
        EXPECT_GT(w.numRooms, 0);
        if (f.Name == samples::SampleSourceName) EXPECT_EQ(w["GeometryTail"].bytes, 0u);
    }
    // The benchmark's larger sources grow by whole copies of the rooms.
    const WalkedLevel four = WalkTr4Source(samples::MakeSourceTr4(4));
    EXPECT_EQ(four["GeometryTail"].bytes, 0u);
    EXPECT_EQ(four.numRooms, 4 * WalkTr4Source(samples::MakeSourceTr4(1)).numRooms);
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
    EXPECT_EQ(s[5 + 1036], 7);             // UV range
    EXPECT_EQ(Word(s, 5 + 1028), 0);       // no optimizer
    EXPECT_EQ(field(5 + 5 * 1293), "/x");  // editor folder
    EXPECT_THROW(samples::MakeSettings(std::vector<samples::SampleJob>(256), ""), std::runtime_error);
}

// Every target converts its sample to the end without a message box and without an error line
// other than the one that says the older targets have no place for the source's flyby cameras;
// the new level follows the target's format to its last byte.
TEST(SampleLevels, EveryTargetConvertsWithoutErrors) {
    const std::string flyby =
        "ConvertLevel() -> Error: Flyby cameras not supported in this Tomb Raider version!";
    TestFolder in;
    for (auto& f : samples::MakeSampleSet()) WriteFileBytes(in / f.Name, f.Bytes);
    for (auto& t : samples::SampleTargets()) {
        SCOPED_TRACE(t.Label);
        BasicFixture<ScriptedPlatform, false> run;
        ConvertLevel(run.prog, in / samples::SampleSourceName, in / t.Base, in / t.NewLevel);
        run.prog.channels.CloseAllChannels();
        EXPECT_TRUE(run.platform.boxes.empty()) << run.platform.boxes.front().text;
        EXPECT_TRUE(run.Logged("Conversion done"));
        EXPECT_LE(run.Count(flyby), std::string(t.Base).ends_with(".TRC") ? 0 : 1);
        for (auto& message : run.Messages())
            if (message != flyby) EXPECT_EQ(message.find("Error"), std::string::npos) << message;
        auto out = ReadFileBytes(in / t.NewLevel);
        EXPECT_EQ(Long(out, 0), Long(ReadFileBytes(in / t.Base), 0));
        EXPECT_EQ(Walk(t.NewLevel, out).end, out.size());
    }
}
