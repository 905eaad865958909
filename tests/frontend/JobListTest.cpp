#include <gtest/gtest.h>

#include "frontend/FrontendFixture.h"
#include "frontend/JobList.h"
#include "frontend/Settings.h"

// An empty folder is asked for at an interactive start, one too long is refused; a batch script
// needs one, and then has eight lines in CRLF naming the selected job; deleting down to no job
// greys the boxes and the menu's job entries; a 256th job is refused.
TEST(JobList, TheMenuFollowsTheFolderAndTheJobsDownToNone) {
    FrontFixture f;
    WriteFileBytes(f.dir / "settings.dat", SettingsBytes(2).Job("/a.tr4", "", "", "A").Job("/b.tr4", "", "", "B")
                                               .Text("").bytes);
    // Cancelled at the start, then cancelled, too long, and chosen.
    f.platform.folderAnswers = {std::nullopt, std::nullopt, std::string(300, 'x'), std::string("/no/such/trle")};
    LoadSettings(f.prog);
    f.prog.form.ll.SetListIndex(0);
    JobListMenu(f.prog)[3].Run();
    ASSERT_TRUE(f.platform.boxes.size() == 1 && f.platform.prompts.empty());  // a box, and no name asked for
    EXPECT_EQ(f.platform.boxes[0].text, "Choose the TRLE folder first: the batch script is written there.");
    ChangeTrleFolder(f.prog);
    ChangeTrleFolder(f.prog);  // refused with the limit
    EXPECT_EQ(f.prog.front.TrleFolder.Text(), "");
    EXPECT_NE(f.platform.boxes.back().text.find("256 at most"), std::string::npos);
    ChangeTrleFolder(f.prog);
    EXPECT_EQ(JobListMenu(f.prog)[4].Caption, "&TRLE folder: /no/such/trle...");
    const std::string trle = f.dir / "trle";  // a folder that is there, without going into it
    std::filesystem::create_directories(trle);
    f.prog.front.TrleFolder.Assign(trle);
    f.platform.inputAnswers = {std::nullopt, std::string("A.BAT"), std::string("CONV.BAT")};
    JobListMenu(f.prog)[3].Run();  // cancelled: nothing written
    EXPECT_TRUE(f.Messages().empty());
    f.prog.form.ll.SetListIndex(1);
    f.prog.form.Text1.SetText("c:\\work\\my hall.tom");
    JobListMenu(f.prog)[3].Run();
    EXPECT_EQ(ReadFileText(trle + "/A.BAT"),
              "@echo off\r\necho MORV Level Converter beta\r\necho Created by Halvenor\r\necho.\r\n"
              "echo Building TR4 level...\r\ntom2pc.exe c:\\work\\my hall.tom\r\n"
              "echo Building destination level...\r\nconvert.exe 1\r\n");
    EXPECT_EQ(f.Messages(), (std::vector<std::string> {"Building BAT", "Done"}));
    EXPECT_FALSE(f.prog.channels.IsOpen(1));

    f.platform.yesNoAnswers = {true, true};
    DeleteSelectedJob(f.prog);  // the last: the one before it is selected
    EXPECT_EQ(std::pair(f.prog.form.ll.ListIndex(), f.prog.form.Text1.Text()), std::pair(0, std::string("/a.tr4")));
    EXPECT_EQ(f.platform.prompts.back(), "Delete the level 'B' from the list?");
    DeleteSelectedJob(f.prog);
    EXPECT_EQ(std::pair(f.prog.form.ll.ListIndex(), f.prog.form.Text1.Text()), std::pair(-1, std::string()));
    EXPECT_FALSE(f.prog.form.Frame1.Enabled || f.prog.form.Check6.Enabled);
    for (size_t i = 0; i < 4; ++i) EXPECT_FALSE(JobListMenu(f.prog)[i].Enabled) << i;
    f.prog.form.Command13.Press();  // with no job selected
    EXPECT_TRUE(ReadFileText(trle + "/CONV.BAT").ends_with("\r\nconvert.exe -1\r\n"));
    SaveSettings(f.prog);  // no job, and the folder
    const std::string none = SettingsBytes(0).Text(trle).Str();
    EXPECT_EQ(ReadFileText(f.dir / "settings.dat").substr(0, none.size()), none);

    for (int i = 0; i < 255; ++i) ASSERT_TRUE(AddJob(f.prog, "J" + std::to_string(i)));
    const size_t prompts = f.platform.prompts.size(), boxes = f.platform.boxes.size();
    f.platform.inputAnswers.push_back(std::string("One too many"));
    f.prog.form.Command8.Press();
    EXPECT_EQ(f.prog.form.ll.ListCount(), 255);
    EXPECT_TRUE(f.prog.front.Jobs.size() == 255u && f.platform.prompts.size() == prompts);  // not even asked
    ASSERT_EQ(f.platform.boxes.size(), boxes + 1);
    EXPECT_NE(f.platform.boxes.back().text.find("255"), std::string::npos);
}
