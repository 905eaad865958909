#include <gtest/gtest.h>

#include <filesystem>

#include "driver/ConvertLevel.h"
#include "driver/SectionsTestSupport.h"
#include "support/OtherUser.h"

using sections_test::L32;
using Bytes = std::vector<uint8_t>;

// The real levels reach the upper-case names and one of the two TR3 words.
TEST(VersionTable, ExtensionsInAnyCaseAndBothTr3Words) {
    EXPECT_EQ(TargetFromBaseVersion(32, "a/B.tub"), 2);
    EXPECT_EQ(TargetFromBaseVersion(int32_t(0xFF080038), "x"), 4);
    EXPECT_EQ(TargetFromBaseVersion(int32_t(0xFF180038), "x"), 4);
    EXPECT_EQ(TargetFromBaseVersion(Tr4VersionWord, "l.trc"), 6);
}

// Refused inputs end the conversion with their own line or box, and leave an empty new level;
// an empty path names its box.
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

    // A base with the TR4 word and another name: the box as it stands, and our note behind it in
    // the box and the log, which tells a TR5 level from a TR4 one.
    convert(Tr4VersionWord, Tr4VersionWord, "base.tr4");
    const std::string tr4Note = "Note: the base level '" + (f.dir / "base.tr4") +
                                "' is a TR4 level, which can't be a base; a TR5 base must be named .TRC.";
    WriteFileBytes(f.dir / "tr5.TR4", ReadFileBytes(SampleLevel("base-tr5.TRC")));
    ConvertLevel(f.prog, f.dir / "src.tr4", f.dir / "tr5.TR4", f.dir / "new.lvl");
    const std::string tr5Note = "Note: the base level '" + (f.dir / "tr5.TR4") +
                                "' is a TR5 level, and a TR5 base must be named .TRC: rename it to '" +
                                (f.dir / "tr5.TRC") + "' and choose that as the base.";
    ASSERT_EQ(f.platform.boxes.size(), 2u);
    EXPECT_EQ(f.platform.boxes[0].text, "Cannot select a TR4 level as base level\n" + tr4Note);
    EXPECT_EQ(f.platform.boxes[0].title, "Error");
    EXPECT_EQ(f.platform.boxes[1].text, "Cannot select a TR4 level as base level\n" + tr5Note);
    EXPECT_EQ(f.Messages().back(), tr5Note);
    EXPECT_EQ(f.LastLine(), "Getting version of base level");

    convert(Tr4VersionWord, 99, "base.xyz");
    EXPECT_EQ(f.Messages().back(), "ConvertLevel() -> Error: Not a valid Tomb Raider Level");
    // Each way out is recorded with the line it logged (the exit statuses of Program.* in the
    // app tests cover the other ways).
    EXPECT_EQ(f.prog.state.Outcome, ConversionOutcome::InputRefused);
    EXPECT_EQ(f.prog.state.OutcomeLine, f.prog.form.l.Items().back());

    // An empty box gets a message that says which one it is.
    f.platform.boxes.clear();
    ConvertLevel(f.prog, f.dir / "src.tr4", "", f.dir / "new.TR2");
    ASSERT_EQ(f.platform.boxes.size(), 1u);
    EXPECT_EQ(f.platform.boxes[0].text, "Bad file name or number: the box 'Base level:' is empty");
    EXPECT_EQ(f.Messages().back(), "Bad file name or number: the box 'Base level:' is empty (52)");
    ConvertLevel(f.prog, f.dir / "src.tr4", f.dir / "src.TR4x", "");
    EXPECT_EQ(f.platform.boxes.back().text, "Bad file name or number: the box 'New level:' is empty");
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

// The error's line stands as it is, and our note follows it, in the box and in the log: which
// level, its path, the stage that ran, the offset of a read, and what it likely means. An input
// that does not exist is not made, even in a folder this user may not write.
TEST(ConvertLevelErrors, TheNoteNamesTheLevelItsPathTheStageAndTheOffset) {
    ProgramFixture f;
    const std::string source = SampleLevel("source.TR4"), base = SampleLevel("base-tr2.TR2");
    const Bytes whole = ReadFileBytes(source);
    WriteFileBytes(f.dir / "cut.TR4", Bytes(whole.begin(), whole.begin() + 100));
    const std::string nope = f.dir / "nope.TR4", gone = f.dir / "gone/new.TR2", cut = f.dir / "cut.TR4";
    const struct {
        std::string src, base, out, line, note;
    } cases[] = {
        {nope, base, f.dir / "new.TR2", "File not found (53)",
         "Note: the source level '" + nope + "' could not be opened at the start: the file does not exist."},
        {source, nope, f.dir / "new.TR2", "File not found (53)",
         "Note: the base level '" + nope + "' could not be opened at the start: the file does not exist."},
        {source, base, gone, "Path not found (76)",
         "Note: the new level '" + gone + "' could not be opened at the start: the folder '" + (f.dir / "gone") +
             "' does not exist."},
        {cut, base, f.dir / "new.TR2", "Subscript out of range (9)",
         "Note: the source level '" + cut + "', read at offset "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        f.platform.boxes.clear();
        ConvertLevel(f.prog, c.src, c.base, c.out);
        EXPECT_EQ(f.LastLine(), c.line);
        EXPECT_TRUE(f.Messages().back().starts_with(c.note)) << f.Messages().back();
        ASSERT_EQ(f.platform.boxes.size(), 1u);
        EXPECT_EQ(f.platform.boxes[0].text, c.line.substr(0, c.line.find(" (")) + "\n" + f.Messages().back());
    }
    EXPECT_TRUE(f.Messages().back().ends_with("while \"Copying 16 bit palette\" ran: it has only 100 bytes: the "
                                              "level is cut short."));
    EXPECT_FALSE(std::filesystem::exists(nope));

    namespace fs = std::filesystem;
    fs::permissions(f.dir.path, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                                    fs::perms::others_read | fs::perms::others_exec);
    EXPECT_EQ(AsUnprivilegedUser([&]() -> std::string {
                  ConvertLevel(f.prog, nope, base, f.dir / "new.TR2");
                  return f.LastLine() == "File not found (53)" && !fs::exists(nope) ? "" : f.LastLine();
              }),
              "");
}
