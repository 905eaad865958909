#include <gtest/gtest.h>

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

TEST(BuildLevel, RoomFileIsCompiledInTheEditorFolderAndATr4GoesStraightToTheConversion) {
    // The level that gets converted: the compiler's for a room file, the source itself for "TR4".
    for (auto [source, level] : std::vector<std::pair<std::string, std::string>> {
             {"c:\\work\\hall.tom", "DATA/hall.TR4"}, {"c:\\a.b\\level.tom", "DATA/level.TR4"},
             {"/my levels/cave.TOM", "DATA/cave.TR4"}, {"a.tr4", ""}, {"cxtr4", ""}}) {
        SCOPED_TRACE(source);
        ToolsFixture f;
        std::string trle = f.dir / "trle";
        if (level.empty()) {
            source = level = f.dir / source;
            WriteFileBytes(source, {9, 9, 9, 9});
        } else {
            level = trle + "/" + level;
        }
        f.prog.form.l2.AddItem("5");
        f.prog.form.Text1.SetText(source);
        f.prog.form.Command1.Press();
        EXPECT_EQ(f.prog.form.l2.ListCount(), 0);
        EXPECT_EQ(f.Messages().back(), "Tr4ToTr3() -> Error: '" + level + "'' is not a TR4 level");
        if (level == source) {
            EXPECT_TRUE(f.platform.waited.empty());
            continue;
        }
        EXPECT_FALSE(f.prog.channels.IsOpen(1));
        // The path goes on the command line as it stands: blanks split it.
        EXPECT_EQ(f.platform.waited, (std::vector<std::string> {trle + "/tom2pc.exe " + source}));
        EXPECT_EQ(f.platform.directories, (std::vector<std::string> {trle}));
        EXPECT_EQ(f.platform.beeps, 1);
        EXPECT_EQ(f.Messages()[0], "Compiling TOM");
    }
}

TEST(BuildBat, EightLinesInCrLfNamingTheSelectedJob) {
    ToolsFixture f;
    f.platform.inputAnswers = {std::nullopt, std::string("A.BAT"), std::string("CONV.BAT")};
    f.prog.form.Command13.Press();  // cancelled: nothing written
    EXPECT_TRUE(f.Messages().empty());
    for (const char* n : {"a", "b", "c"}) AddJob(f.prog, n);
    f.prog.form.ll.SetListIndex(2);
    f.prog.form.Text1.SetText("c:\\work\\my hall.tom");
    f.prog.form.Command13.Press();
    EXPECT_EQ(ReadFileText(f.dir / "trle/A.BAT"),
              "@echo off\r\necho MORV Level Converter beta\r\necho Created by Halvenor\r\necho.\r\n"
              "echo Building TR4 level...\r\ntom2pc.exe c:\\work\\my hall.tom\r\n"
              "echo Building destination level...\r\nconvert.exe 2\r\n");
    EXPECT_EQ(f.Messages(), (std::vector<std::string> {"Building BAT", "Done"}));
    EXPECT_FALSE(f.prog.channels.IsOpen(1));
    f.prog.form.ll.SetListIndex(-1);
    f.prog.form.Command13.Press();
    std::string text = ReadFileText(f.dir / "trle/CONV.BAT");
    EXPECT_EQ(text.substr(text.size() - 16), "convert.exe -1\r\n");
}
