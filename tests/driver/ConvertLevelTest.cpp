#include <gtest/gtest.h>

#include "driver/ConvertLevel.h"
#include "support/ProgramFixture.h"

namespace {
using Fixture = ProgramFixture;

std::vector<uint8_t> LE(uint32_t v) {
    return {uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)};
}
}  // namespace

TEST(VersionTable, BaseWordAndExtensionDecideTheTarget) {
    EXPECT_EQ(TargetFromBaseVersion(32, "a/B.tub"), 2);
    EXPECT_EQ(TargetFromBaseVersion(32, "a/B.TUB"), 2);
    EXPECT_EQ(TargetFromBaseVersion(32, "a/B.PHD"), 1);
    EXPECT_EQ(TargetFromBaseVersion(45, "x"), 3);
    EXPECT_EQ(TargetFromBaseVersion(int32_t(0xFF080038), "x"), 4);
    EXPECT_EQ(TargetFromBaseVersion(int32_t(0xFF180038), "x"), 4);
    EXPECT_EQ(TargetFromBaseVersion(Tr4VersionWord, "l.trc"), 6);
    EXPECT_EQ(TargetFromBaseVersion(Tr4VersionWord, "l.tr4"), 0);
    EXPECT_EQ(TargetFromBaseVersion(46, "l.tr2"), -1);
}

TEST(ConvertLevelHead, SourceNotTr4LeavesAnEmptyNewLevel) {
    Fixture f;
    WriteFileBytes(f.dir / "src.tr4", LE(45));
    WriteFileBytes(f.dir / "base.tr2", LE(45));
    WriteFileBytes(f.dir / "new.tr2", {1, 2, 3, 4, 5});
    WriteFileBytes(f.dir / "geometry.tmp", {1});
    ConvertLevel(f.prog, f.dir / "src.tr4", f.dir / "base.tr2", f.dir / "new.tr2");
    EXPECT_EQ(ReadFileBytes(f.dir / "new.tr2").size(), 0u);
    EXPECT_FALSE(FileExists(f.dir / "geometry.tmp"));
    ASSERT_EQ(f.Messages().size(), 1u);
    EXPECT_EQ(f.Messages()[0], "Tr4ToTr3() -> Error: '" + (f.dir / "src.tr4") + "'' is not a TR4 level");
    f.prog.channels.FlushAll();
    std::string log = ReadFileText(f.dir / "morv.log");
    EXPECT_EQ(log.substr(0, 23), "\r\nConversion begins\r\n\r\n");
}

TEST(ConvertLevelHead, Tr4BaseWithoutTrcNameShowsABoxAndLogsNothingForIt) {
    Fixture f;
    WriteFileBytes(f.dir / "src.tr4", LE(Tr4VersionWord));
    WriteFileBytes(f.dir / "base.tr4", LE(Tr4VersionWord));
    ConvertLevel(f.prog, f.dir / "src.tr4", f.dir / "base.tr4", f.dir / "new.tr4");
    ASSERT_EQ(f.platform.boxes.size(), 1u);
    EXPECT_EQ(f.platform.boxes[0].text, "Cannot select a TR4 level as base level");
    EXPECT_EQ(f.platform.boxes[0].title, "Error");
    EXPECT_EQ(f.Messages(), std::vector<std::string>{"Getting version of base level"});
}

TEST(ConvertLevelHead, UnknownBaseIsRefusedAndAnUnopenablePathTakesTheErrorPath) {
    Fixture f;
    WriteFileBytes(f.dir / "src.tr4", LE(Tr4VersionWord));
    WriteFileBytes(f.dir / "base.xyz", LE(99));
    ConvertLevel(f.prog, f.dir / "src.tr4", f.dir / "base.xyz", f.dir / "new.tr2");
    EXPECT_EQ(f.Messages().back(), "ConvertLevel() -> Error: Not a valid Tomb Raider Level");

    ConvertLevel(f.prog, f.dir.str(), f.dir / "base.xyz", f.dir / "new.tr2");
    ASSERT_EQ(f.platform.boxes.size(), 1u);
    EXPECT_EQ(f.platform.boxes[0].title, "Error");
    EXPECT_EQ(f.Messages().back(), f.platform.boxes[0].text + " (75)");
    EXPECT_FALSE(f.prog.channels.IsOpen(1));
}

