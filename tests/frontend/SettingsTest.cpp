#include <gtest/gtest.h>

#include "frontend/FrontendFixture.h"
#include "frontend/Settings.h"

TEST(SettingsFile, LoadThenSaveKeepsEveryByteWithBlankOrZeroPadding) {
    for (char pad : {' ', '\0'}) {
        SCOPED_TRACE(int(pad));
        FrontFixture f;
        SettingsBytes s(2);
        s.Job("c:\\work\\hall.tom", "c:\\tr3\\base.tr2", "c:\\out\\hall.tr2", "Hall", {2, 3, -1, 0, -1, 0},
              17, 3, pad);
        s.Job("/lv/src.TR4", "/lv/base.TRC", "/lv/new.TRC", "Crypt", {1, 4, 0, -1, 0, -1}, 255, 7, pad);
        s.Text("d:\\trle", pad);
        for (int i = 0; i < 10; ++i) s.Byte(0xEE);  // left by a longer file: ignored, and not cut off
        WriteFileBytes(f.dir / "settings.dat", s.bytes);
        LoadSettings(f.prog);
        ASSERT_EQ(f.prog.form.ll.Items(), (std::vector<std::string> {"Hall", "Crypt"}));
        EXPECT_EQ(f.prog.front.TrleFolder.Text(), "d:\\trle");
        const JobRecord& crypt = f.prog.front.Jobs[1];
        EXPECT_EQ(crypt.SourceLevel.Text(), "/lv/src.TR4");
        EXPECT_EQ(crypt.LaraType, 4);
        EXPECT_EQ(crypt.EraseItems, -1);
        EXPECT_EQ(crypt.UvRange, 255);
        EXPECT_EQ(crypt.Reserved[1], 14);

        WriteFileBytes(f.dir / "settings.dat", std::vector<uint8_t>(s.bytes.size(), 0x55));
        SaveSettings(f.prog);
        std::vector<uint8_t> saved = ReadFileBytes(f.dir / "settings.dat");
        ASSERT_EQ(saved.size(), s.bytes.size());
        EXPECT_TRUE(std::equal(saved.begin(), saved.end() - 10, s.bytes.begin()));
        EXPECT_EQ(saved.back(), 0x55);  // overwritten from the start, never cut short
    }
}

TEST(SettingsFile, FirstRunOrAForeignFileWritesTheHeaderAndTheChosenFolder) {
    FrontFixture f;
    const std::vector<uint8_t> header = {0xCD, 0, 0, 0xCD, 0};
    // A picker that hands back a C buffer leaves its terminator behind.
    f.platform.folderAnswers = {std::string("/home/me/trle\0", 14), std::string("/new")};
    LoadSettings(f.prog);
    std::vector<uint8_t> saved = ReadFileBytes(f.dir / "settings.dat");
    ASSERT_EQ(saved.size(), 261u);
    EXPECT_EQ(std::vector<uint8_t>(saved.begin(), saved.begin() + 5), header);
    EXPECT_EQ(std::string(saved.begin() + 5, saved.begin() + 18), "/home/me/trle");
    EXPECT_EQ(saved[18], ' ');
    EXPECT_EQ(f.prog.front.TrleFolder.Text(), "/home/me/trle");

    // A wrong magic gives up the stored jobs; header and folder go over the old start.
    SettingsBytes s(1);
    s.Job("/a.tr4", "/b.tr2", "/c.tr2", "Lost").Text("/t");
    s.bytes[0] = 0xCC;
    WriteFileBytes(f.dir / "settings.dat", s.bytes);
    LoadSettings(f.prog);
    EXPECT_EQ(f.prog.form.ll.ListCount(), 0);
    saved = ReadFileBytes(f.dir / "settings.dat");
    EXPECT_EQ(std::vector<uint8_t>(saved.begin(), saved.begin() + 5), header);
    EXPECT_EQ(std::string(saved.begin() + 5, saved.begin() + 10), "/new ");
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
    EXPECT_EQ(f.prog.front.Jobs.size(), 255u);
    EXPECT_TRUE(f.platform.prompts.empty());
    ASSERT_EQ(f.platform.boxes.size(), 1u);
    EXPECT_NE(f.platform.boxes[0].text.find("255"), std::string::npos);
}
