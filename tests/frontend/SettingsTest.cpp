#include <gtest/gtest.h>

#include "frontend/FrontendFixture.h"
#include "frontend/Settings.h"
#include "support/OtherUser.h"

TEST(SettingsFile, LoadThenSaveKeepsEveryByteWithBlankOrZeroPadding) {
    for (char pad : {' ', '\0'}) {
        SCOPED_TRACE(int(pad));
        FrontFixture f;
        SettingsBytes s(2);
        s.Job("c:\\work\\hall.tom", "c:\\tr3\\base.tr2", "c:\\out\\hall.tr2", "Hall", {2, 3, -1, 0, -1, 0}, 17, 3, pad);
        s.Job("/lv/src.TR4", "/lv/base.TRC", "/lv/new.TRC", "Crypt", {1, 4, 5, -1, 2, -2}, 255, 7, pad);
        s.Text("d:\\trle", pad);
        for (int i = 0; i < 10; ++i) s.Byte(0xEE);  // left by a longer file: ignored, and not cut off
        WriteFileBytes(f.dir / "settings.dat", s.bytes);
        LoadSettings(f.prog);
        ASSERT_EQ(f.prog.form.ll.Items(), (std::vector<std::string> {"Hall", "Crypt"}));
        EXPECT_EQ(f.prog.front.TrleFolder.Text(), "d:\\trle");
        const JobRecord& c = f.prog.front.Jobs[1];
        EXPECT_EQ(c.SourceLevel.Text() + "|" + c.NewLevel.Text(), "/lv/src.TR4|/lv/new.TRC");
        EXPECT_EQ((std::vector<int> {c.Weather, c.LaraType, c.OptimizeTextures, c.Cutscene, c.EraseStaticMeshes,
                                     c.EraseItems, c.UvRange, c.Reserved[1]}),
                  (std::vector<int> {1, 4, 5, -1, 2, -2, 255, 14}));

        WriteFileBytes(f.dir / "settings.dat", std::vector<uint8_t>(s.bytes.size(), 0x55));
        SaveSettings(f.prog);  // over the file's start, never cutting it short
        EXPECT_EQ(ReadFileText(f.dir / "settings.dat"), s.Str().substr(0, s.bytes.size() - 10) + std::string(10, 0x55));
    }
}

TEST(SettingsFile, FirstRunOrAForeignFileWritesTheHeaderAndTheChosenFolder) {
    FrontFixture f;
    // A picker that hands back a C buffer leaves its terminator behind.
    f.platform.folderAnswers = {std::string("/home/me/trle\0", 14), std::string("/new")};
    LoadSettings(f.prog);
    EXPECT_EQ(ReadFileText(f.dir / "settings.dat"), SettingsBytes(0).Text("/home/me/trle").Str());
    EXPECT_TRUE(f.platform.boxes.empty());
    // A wrong magic gives up the stored jobs once their bytes are kept aside; header and folder
    // then go over the old start.
    SettingsBytes s = SettingsBytes(1).Job("/a.tr4", "/b.tr2", "/c.tr2", "Lost").Text("/t");
    s.bytes[0] = 0xCC;
    WriteFileBytes(f.dir / "settings.dat", s.bytes);
    LoadSettings(f.prog);
    EXPECT_EQ(f.prog.form.ll.ListCount(), 0);
    EXPECT_EQ(ReadFileText(f.dir / "settings.dat"), SettingsBytes(0).Text("/new").Str() + s.Str().substr(261));
    EXPECT_EQ(ReadFileBytes(f.dir / "settings.dat.unreadable"), s.bytes);
    ASSERT_EQ(f.platform.boxes.size(), 1u);
    const std::string& box = f.platform.boxes[0].text;
    EXPECT_NE(box.find("'" + (f.dir / "settings.dat") + "' could not be read"), std::string::npos) << box;
    EXPECT_NE(box.find("kept in '" + (f.dir / "settings.dat.unreadable") + "'"), std::string::npos) << box;
    EXPECT_EQ(f.Messages().back().substr(0, 6), "Note: ");
}

// A file shorter than its count: its whole jobs load, its bytes go aside under a new name, and it
// is not written until saved.
TEST(SettingsFile, AShortFileGivesItsWholeJobsAndIsKeptAsideUntilSaved) {
    FrontFixture f;
    SettingsBytes s(3);
    for (const char* name : {"A", "B", "C"}) s.Job("/" + std::string(name) + ".tr4", "", "", name);
    s.Text("/trle");
    s.bytes.resize(5 + 2 * 1293 + 700);  // cut in the middle of the third job
    WriteFileBytes(f.dir / "settings.dat", s.bytes);
    WriteFileBytes(f.dir / "settings.dat.unreadable", {1, 2, 3});  // an earlier copy stays
    f.platform.folderAnswers = {std::string("/asked")};
    LoadSettings(f.prog);
    EXPECT_EQ(f.prog.form.ll.Items(), (std::vector<std::string> {"A", "B"}));
    EXPECT_EQ(f.prog.front.TrleFolder.Text(), "/asked");  // its folder was cut off: asked again
    EXPECT_EQ(ReadFileBytes(f.dir / "settings.dat.unreadable"), (std::vector<uint8_t> {1, 2, 3}));
    EXPECT_EQ(ReadFileBytes(f.dir / "settings.dat.unreadable-2"), s.bytes);
    EXPECT_EQ(ReadFileBytes(f.dir / "settings.dat"), s.bytes);
    ASSERT_EQ(f.platform.boxes.size(), 1u);
    EXPECT_NE(f.platform.boxes[0].text.find("2 levels it holds whole"), std::string::npos);

    LoadSettings(f.prog);  // the next start: the copy that holds the same bytes serves again
    EXPECT_FALSE(std::filesystem::exists(f.dir / "settings.dat.unreadable-3"));
    // An empty file is a cancelled first start: nothing to keep, nothing to say.
    FrontFixture empty;
    WriteFileBytes(empty.dir / "settings.dat", {});
    LoadSettings(empty.prog);
    EXPECT_TRUE(empty.platform.boxes.empty());
    EXPECT_FALSE(std::filesystem::exists(empty.dir / "settings.dat.unreadable"));

    SaveSettings(f.prog);
    const std::string whole =
        SettingsBytes(2).Job("/A.tr4", "", "", "A").Job("/B.tr4", "", "", "B").Text("/asked").Str();
    EXPECT_EQ(ReadFileText(f.dir / "settings.dat").substr(0, whole.size()), whole);
}

TEST(SettingsFile, ASaveThatFailsNamesTheFileAndSaysNothingWasSaved) {
    FrontFixture f;
    WriteFileBytes(f.dir / "settings.dat", SettingsBytes(0).Text("/t").bytes);
    LoadSettings(f.prog);
    AddJob(f.prog, "New");
    std::filesystem::permissions(f.dir.path, std::filesystem::perms(0705));
    std::filesystem::permissions(f.dir / "settings.dat", std::filesystem::perms(0404));  // read-only for all
    // One box, then the same text as our line in the log.
    const std::string said = AsUnprivilegedUser([&]() -> std::string {
        if (SaveSettings(f.prog) || f.platform.boxes.empty()) return "saved, or no box";
        return std::to_string(f.platform.boxes.size()) + " " + f.platform.boxes.back().text + "|" + f.Messages().back();
    });
    const std::string box = "The levels were not saved: the settings file '" + (f.dir / "settings.dat") +
                            "' can't be written (Permission denied).";
    EXPECT_EQ(said, "1 " + box + "|Note: " + box);
    EXPECT_EQ(ReadFileBytes(f.dir / "settings.dat")[4], 0);
}
