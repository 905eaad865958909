#include <gtest/gtest.h>

#include <filesystem>

#include "driver/ConvertLevel.h"
#include "driver/SectionsTestSupport.h"

using sections_test::L32;

// The real levels reach the upper-case names and one of the two TR3 words.
TEST(VersionTable, ExtensionsInAnyCaseAndBothTr3Words) {
    EXPECT_EQ(TargetFromBaseVersion(32, "a/B.tub"), 2);
    EXPECT_EQ(TargetFromBaseVersion(int32_t(0xFF080038), "x"), 4);
    EXPECT_EQ(TargetFromBaseVersion(int32_t(0xFF180038), "x"), 4);
    EXPECT_EQ(TargetFromBaseVersion(Tr4VersionWord, "l.trc"), 6);
}

// Refused inputs end the conversion with their own line or box, and leave an empty new level.
TEST(ConvertLevelHead, RefusedInputs) {
    ProgramFixture f;
    auto convert = [&](int32_t sourceWord, int32_t baseWord, const std::string& base) {
        WriteFileBytes(f.dir / "src.tr4", L32(sourceWord));
        WriteFileBytes(f.dir / base, L32(baseWord));
        ConvertLevel(f.prog, f.dir / "src.tr4", f.dir / base, f.dir / "new.lvl");
    };
    WriteFileBytes(f.dir / "new.lvl", {1, 2, 3, 4, 5});
    WriteFileBytes(f.dir / "geometry.tmp", {1});
    convert(45, 45, "base.tr2");  // not a TR4 source: an empty new level, the old temporaries gone
    EXPECT_EQ(ReadFileBytes(f.dir / "new.lvl").size(), 0u);
    EXPECT_FALSE(f.prog.channels.FileExists(f.dir / "geometry.tmp"));
    EXPECT_EQ(f.Messages().size(), 1u);

    convert(Tr4VersionWord, Tr4VersionWord, "base.tr4");
    ASSERT_EQ(f.platform.boxes.size(), 1u);
    EXPECT_EQ(f.platform.boxes[0].text, "Cannot select a TR4 level as base level");
    EXPECT_EQ(f.platform.boxes[0].title, "Error");
    EXPECT_EQ(f.Messages().back(), "Getting version of base level");

    convert(Tr4VersionWord, 99, "base.xyz");
    EXPECT_EQ(f.Messages().back(), "ConvertLevel() -> Error: Not a valid Tomb Raider Level");
    // Each way out is recorded with the line it logged (the exit statuses of Program.* in the
    // app tests cover the other ways).
    EXPECT_EQ(f.prog.state.Outcome, ConversionOutcome::InputRefused);
    EXPECT_EQ(f.prog.state.OutcomeLine, f.prog.form.l.Items().back());
}

// A new level that leads to the source or the base, however its path is written, is refused
// before anything is deleted; the box and the log line name both paths.
TEST(ConvertLevelHead, ANewLevelThatIsAnInputIsRefusedAndNothingIsDeleted) {
    ProgramFixture f;
    const std::vector<uint8_t> base = L32(45), source = L32(Tr4VersionWord);
    WriteFileBytes(f.dir / "base.TR2", base);
    WriteFileBytes(f.dir / "src.TR4", source);
    WriteFileBytes(f.dir / "geometry.tmp", {1});
    std::filesystem::create_directories(f.dir / "sub");
    std::filesystem::create_symlink(f.dir / "base.TR2", f.dir / "link.TR2");
    std::filesystem::create_hard_link(f.dir / "base.TR2", f.dir / "hard.TR2");
    const auto here = std::filesystem::current_path();
    std::filesystem::current_path(f.dir.path);
    for (const std::string& newPath :
         {f.dir / "base.TR2", std::string("base.TR2"), f.dir / "sub/../base.TR2", f.dir / "link.TR2",
          f.dir / "hard.TR2"}) {
        SCOPED_TRACE(newPath);
        const size_t boxes = f.platform.boxes.size();
        ConvertLevel(f.prog, f.dir / "src.TR4", f.dir / "base.TR2", newPath);
        ASSERT_EQ(f.platform.boxes.size(), boxes + 1);
        EXPECT_NE(f.platform.boxes.back().text.find("'" + newPath + "'"), std::string::npos);
        EXPECT_EQ(f.Messages().back(), "ConvertLevel() -> Error: the new level '" + newPath +
                                           "' is the same file as the base level '" + (f.dir / "base.TR2") + "'");
    }
    ConvertLevel(f.prog, f.dir / "src.TR4", f.dir / "base.TR2", "src.TR4");
    EXPECT_NE(f.Messages().back().find("is the same file as the source level"), std::string::npos);
    std::filesystem::current_path(here);
    EXPECT_EQ(ReadFileBytes(f.dir / "base.TR2"), base);
    EXPECT_EQ(ReadFileBytes(f.dir / "src.TR4"), source);
    EXPECT_TRUE(f.prog.channels.FileExists(f.dir / "geometry.tmp"));
}

// An empty box gets a message that says which one it is.
TEST(ConvertLevelHead, AnEmptyPathNamesItsBox) {
    ProgramFixture f;
    WriteFileBytes(f.dir / "src.TR4", L32(Tr4VersionWord));
    ConvertLevel(f.prog, f.dir / "src.TR4", "", f.dir / "new.TR2");
    ASSERT_EQ(f.platform.boxes.size(), 1u);
    EXPECT_EQ(f.platform.boxes[0].text, "Bad file name or number: the box 'Base level:' is empty");
    EXPECT_EQ(f.Messages().back(), "Bad file name or number: the box 'Base level:' is empty (52)");
    ConvertLevel(f.prog, f.dir / "src.TR4", f.dir / "src.TR4x", "");
    EXPECT_EQ(f.platform.boxes.back().text, "Bad file name or number: the box 'New level:' is empty");
}
