#include <gtest/gtest.h>

#include "driver/Errors.h"
#include "frontend/ExternalTools.h"
#include "frontend/FrontendFixture.h"
#include "frontend/Settings.h"

namespace {
struct ToolsFixture : FrontFixture {
    ToolsFixture() {
        std::filesystem::create_directories(dir / "trle/DATA");
        prog.front.TrleFolder.Assign(dir / "trle");
        prog.channels.Open(LogChannel, dir / "morv.log", OpenMode::TextOutput);
        prog.form.Text2.SetText(dir / "base.tr2");
        prog.form.Text3.SetText(dir / "new.tr2");
    }
};
}  // namespace

TEST(BuildLevel, EndingInTr4WithoutDotGoesStraightToTheConversion) {
    for (std::string name : {"a.tr4", "b.TR4", "cxtr4"}) {
        ToolsFixture f;
        f.prog.form.l.AddItem("old");
        f.prog.form.l2.AddItem("5");
        WriteFileBytes(f.dir / name, {9, 9, 9, 9});
        f.prog.form.Text1.SetText(f.dir / name);
        f.prog.form.Command1.Press();
        EXPECT_TRUE(f.platform.waited.empty());
        EXPECT_EQ(f.prog.form.l2.ListCount(), 0);
        ASSERT_EQ(f.Messages().size(), 1u);
        EXPECT_EQ(f.Messages()[0], "Tr4ToTr3() -> Error: '" + (f.dir / name) + "'' is not a TR4 level");
    }
}

TEST(BuildLevel, RoomFileIsCompiledAndWaitedForThenItsLevelConverted) {
    for (auto [source, name] : std::vector<std::pair<std::string, std::string>> {
             {"c:\\work\\hall.tom", "hall"}, {"c:\\a.b\\level.tom", "level"}, {"level.tom", "level"},
             {"/my levels/cave.TOM", "cave"}}) {
        ToolsFixture f;
        f.prog.form.Text1.SetText(source);
        f.prog.form.Command1.Press();
        std::string trle = f.dir / "trle";
        ASSERT_EQ(f.platform.waited.size(), 1u);
        // The path goes on the command line as it stands: blanks split it.
        EXPECT_EQ(f.platform.waited[0], trle + "/tom2pc.exe " + source);
        EXPECT_EQ(f.platform.directories, (std::vector<std::string> {trle}));
        EXPECT_EQ(f.platform.beeps, 1);
        EXPECT_EQ(f.platform.doEvents, 2);
        ASSERT_EQ(f.Messages().size(), 2u);
        EXPECT_EQ(f.Messages()[0], "Compiling TOM");
        EXPECT_EQ(f.Messages()[1], "Tr4ToTr3() -> Error: '" + trle + "/DATA/" + name + ".TR4'' is not a TR4 level");
        EXPECT_FALSE(f.prog.channels.IsOpen(1));
    }
}

TEST(BuildBat, EightLinesInCrLfNamingTheSelectedJob) {
    ToolsFixture f;
    for (const char* n : {"a", "b", "c"}) AddJob(f.prog, n);
    f.prog.form.ll.SetListIndex(2);
    f.prog.form.Text1.SetText("c:\\work\\my hall.tom");
    f.platform.inputAnswers.push_back(std::string("A.BAT"));
    f.prog.form.Command13.Press();
    EXPECT_EQ(ReadFileText(f.dir / "trle/A.BAT"),
              "@echo off\r\necho MORV Level Converter beta\r\necho Created by Halvenor\r\necho.\r\n"
              "echo Building TR4 level...\r\ntom2pc.exe c:\\work\\my hall.tom\r\n"
              "echo Building destination level...\r\nconvert.exe 2\r\n");
    EXPECT_EQ(f.Messages(), (std::vector<std::string> {"Building BAT", "Done"}));
    EXPECT_FALSE(f.prog.channels.IsOpen(1));
}

TEST(BuildBat, NoSelectionWritesMinusOneAndCancelWritesNothing) {
    ToolsFixture f;
    f.platform.inputAnswers = {std::nullopt, std::string("CONV.BAT")};
    f.prog.form.Command13.Press();
    EXPECT_TRUE(f.Messages().empty());
    f.prog.form.Command13.Press();
    std::string text = ReadFileText(f.dir / "trle/CONV.BAT");
    EXPECT_EQ(text.substr(text.size() - 16), "convert.exe -1\r\n");
}

namespace {
// Starts programs for real but keeps the test process in its own working directory.
struct LaunchingPlatform : HeadlessPlatform {
    std::vector<std::string> directories;
    bool ChangeDirectory(const std::string& folder) override {
        directories.push_back(folder);
        return true;
    }
};
}  // namespace

TEST(BuildLevel, WaitsForTheCompilerBeforeConvertingTheLevelItMade) {
    TestFolder dir;
    std::filesystem::create_directories(dir / "trle/DATA");
    // A stand-in compiler that takes its time, then leaves DATA/<name>.TR4 behind.
    std::string tool = dir / "trle/tom2pc.exe";
    {
        std::ofstream script(tool);
        script << "#!/bin/sh\nsleep 0.3\nname=$(basename \"$1\" .tom)\ncp '" << SharedLevel("source-tr4.TR4")
               << "' \"$(dirname \"$0\")/DATA/$name.TR4\"\n";
    }
    std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
    LaunchingPlatform platform;
    Program prog(platform, dir.str());
    prog.front.TrleFolder.Assign(dir / "trle");
    prog.form.Text1.SetText(dir / "rooms/hall.tom");
    prog.form.Text2.SetText(SharedLevel("base-tr3.TR2"));
    prog.form.Text3.SetText(dir / "hall.tr2");
    prog.form.Command1.Press();
    std::vector<std::string> messages;
    for (auto& line : prog.form.l.Items()) messages.push_back(line.substr(line.find("] ") + 2));
    ASSERT_GE(messages.size(), 3u);
    EXPECT_EQ(messages[0], "Compiling TOM");
    EXPECT_EQ(messages[1], "Getting version of base level");
    EXPECT_EQ(messages[2], "New level version: Tomb Raider 3");
    EXPECT_EQ(FileLength(dir / "trle/DATA/hall.TR4"), FileLength(SharedLevel("source-tr4.TR4")));
    EXPECT_EQ(platform.directories, (std::vector<std::string> {dir / "trle"}));
    EXPECT_EQ(Long(ReadFileBytes(dir / "hall.tr2"), 0), int32_t(0xFF180038));
}

