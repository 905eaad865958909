#include <gtest/gtest.h>

#include "frontend/FrontendFixture.h"
#include "frontend/Settings.h"

namespace {
const std::vector<int16_t> Words = {2, 3, -1, 0, -1, 0};  // Weather .. EraseItems

SettingsBytes TwoJobs(char pad = ' ') {
    SettingsBytes s(2);
    s.Job("c:\\work\\hall.tom", "c:\\tr3\\base.tr2", "c:\\out\\hall.tr2", "Hall", Words, 17, 3, pad);
    s.Job("/lv/src.TR4", "/lv/base.TRC", "/lv/new.TRC", "Crypt", {1, 4, 0, -1, 0, -1}, 255, 7, pad);
    s.Text("d:\\trle", pad);
    return s;
}
}  // namespace

TEST(SettingsFile, LoadThenSaveKeepsEveryByteIncludingReservedAndTrailingBytes) {
    FrontFixture f;
    SettingsBytes s = TwoJobs();
    for (int i = 0; i < 10; ++i) s.Byte(0xEE);  // left by a longer file: ignored, and not cut off
    WriteFileBytes(f.dir / "settings.dat", s.bytes);
    LoadSettings(f.prog);
    ASSERT_EQ(f.prog.front.NumJobs, 2);
    EXPECT_EQ(f.prog.form.ll.Items(), (std::vector<std::string> {"Hall", "Crypt"}));
    EXPECT_EQ(f.prog.front.TrleFolder.Text(), "d:\\trle");
    const JobRecord& crypt = f.prog.front.Jobs[1];
    EXPECT_EQ(crypt.SourceLevel.Text(), "/lv/src.TR4");
    EXPECT_EQ(crypt.LaraType, 4);
    EXPECT_EQ(crypt.EraseItems, -1);
    EXPECT_EQ(crypt.UvRange, 255);
    EXPECT_EQ(crypt.Reserved[1], 14);
    EXPECT_TRUE(f.platform.boxes.empty());

    WriteFileBytes(f.dir / "settings.dat", std::vector<uint8_t>(s.bytes.size(), 0x55));
    SaveSettings(f.prog);
    std::vector<uint8_t> saved = ReadFileBytes(f.dir / "settings.dat");
    ASSERT_EQ(saved.size(), s.bytes.size());
    EXPECT_TRUE(std::equal(saved.begin(), saved.end() - 10, s.bytes.begin()));
    EXPECT_EQ(saved.back(), 0x55);  // overwritten from the start, never cut short
}

TEST(SettingsFile, EmptyTableIs261BytesAndLeavesTheListEmpty) {
    FrontFixture f;
    WriteFileBytes(f.dir / "settings.dat", SettingsBytes(0).Text("/opt/trle").bytes);
    LoadSettings(f.prog);
    EXPECT_EQ(f.prog.front.NumJobs, 0);
    EXPECT_TRUE(f.prog.front.Jobs.empty());
    EXPECT_EQ(f.prog.form.ll.ListCount(), 0);
    SaveSettings(f.prog);
    std::vector<uint8_t> saved = ReadFileBytes(f.dir / "settings.dat");
    ASSERT_EQ(saved.size(), 261u);
    EXPECT_EQ(Long(saved, 0), int32_t(0xCD0000CD));
    EXPECT_EQ(std::string(saved.begin() + 5, saved.begin() + 14), "/opt/trle");
}

TEST(SettingsFile, FirstRunWritesHeaderAndChosenFolderWithoutTheTerminator) {
    FrontFixture f;
    f.platform.folderAnswers.push_back(std::string("/home/me/trle\0", 14));
    LoadSettings(f.prog);
    std::vector<uint8_t> saved = ReadFileBytes(f.dir / "settings.dat");
    ASSERT_EQ(saved.size(), 261u);
    EXPECT_EQ(std::vector<uint8_t>(saved.begin(), saved.begin() + 5), (std::vector<uint8_t> {0xCD, 0, 0, 0xCD, 0}));
    EXPECT_EQ(std::string(saved.begin() + 5, saved.begin() + 18), "/home/me/trle");
    EXPECT_EQ(saved[18], ' ');
    EXPECT_EQ(saved[260], ' ');
    EXPECT_EQ(f.prog.front.TrleFolder.Text(), "/home/me/trle");
}

TEST(SettingsFile, WrongMagicGivesUpTheStoredJobs) {
    FrontFixture f;
    SettingsBytes s = TwoJobs();
    s.bytes[0] = 0xCC;
    WriteFileBytes(f.dir / "settings.dat", s.bytes);
    f.platform.folderAnswers.push_back(std::string("/new"));
    LoadSettings(f.prog);
    EXPECT_EQ(f.prog.front.NumJobs, 0);
    EXPECT_EQ(f.prog.form.ll.ListCount(), 0);
    std::vector<uint8_t> saved = ReadFileBytes(f.dir / "settings.dat");
    EXPECT_EQ(saved.size(), s.bytes.size());  // header and folder written over the old start
    EXPECT_EQ(Long(saved, 0), int32_t(0xCD0000CD));
    EXPECT_EQ(saved[4], 0);
    EXPECT_EQ(std::string(saved.begin() + 5, saved.begin() + 9), "/new");
}

TEST(Jobs, NewJobSavesZeroPathsAndABlankPaddedName) {
    FrontFixture f;
    WriteFileBytes(f.dir / "settings.dat", SettingsBytes(0).Text("/t").bytes);
    LoadSettings(f.prog);
    f.platform.inputAnswers.push_back(std::string("Tomb"));
    f.prog.form.Command8.Press();
    f.prog.form.Command11.Press();
    std::vector<uint8_t> saved = ReadFileBytes(f.dir / "settings.dat");
    ASSERT_EQ(saved.size(), 261u + 1293u);
    EXPECT_EQ(saved[4], 1);
    for (size_t i = 5; i < 5 + 768; ++i) ASSERT_EQ(saved[i], 0) << i;
    EXPECT_EQ(std::string(saved.begin() + 773, saved.begin() + 777), "Tomb");
    EXPECT_EQ(saved[777], ' ');
    EXPECT_EQ(saved[773 + 255], ' ');
    for (size_t i = 5 + 1024; i < 5 + 1293; ++i) ASSERT_EQ(saved[i], 0) << i;
    EXPECT_EQ(std::string(saved.begin() + 1298, saved.begin() + 1300), "/t");
}

TEST(Jobs, The256thJobIsRefusedWithAMessageAndNoItem) {
    FrontFixture f;
    SettingsBytes s(255);
    for (int i = 0; i < 255; ++i) s.Job("", "", "", "J" + std::to_string(i));
    s.Text("/t");
    WriteFileBytes(f.dir / "settings.dat", s.bytes);
    LoadSettings(f.prog);
    ASSERT_EQ(f.prog.form.ll.ListCount(), 255);
    f.platform.inputAnswers.push_back(std::string("One too many"));
    f.prog.form.Command8.Press();
    EXPECT_EQ(f.prog.form.ll.ListCount(), 255);
    EXPECT_EQ(f.prog.front.NumJobs, 255);
    EXPECT_EQ(f.prog.front.Jobs.size(), 255u);
    EXPECT_TRUE(f.platform.prompts.empty());
    ASSERT_EQ(f.platform.boxes.size(), 1u);
    EXPECT_NE(f.platform.boxes[0].text.find("255"), std::string::npos);
}
