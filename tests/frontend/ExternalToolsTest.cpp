#include <gtest/gtest.h>

#include "frontend/ExternalTools.h"
#include "frontend/FrontendFixture.h"
#include "frontend/Settings.h"

TEST(BuildBat, EightLinesInCrLfNamingTheSelectedJob) {
    FrontFixture f;
    std::filesystem::create_directories(f.dir / "trle");
    f.prog.front.TrleFolder.Assign(f.dir / "trle");
    f.prog.channels.Open(LogChannel, f.dir / "morv.log", OpenMode::TextOutput);
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
