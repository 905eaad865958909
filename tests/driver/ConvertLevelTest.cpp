#include <gtest/gtest.h>

#include <filesystem>

#include "driver/ConvertLevel.h"
#include "driver/SectionsTestSupport.h"
#include "support/OtherUser.h"

using sections_test::L32;
using Bytes = std::vector<uint8_t>;
namespace fs = std::filesystem;

// The levels converted elsewhere have upper-case names and both TR3 words.
TEST(VersionTable, ExtensionsInAnyCase) {
    EXPECT_EQ(TargetFromBaseVersion(32, "a/B.tub"), 2);
    EXPECT_EQ(TargetFromBaseVersion(Tr4VersionWord, "l.trc"), 6);
}

// Refused inputs end the conversion with their own line or box and leave an empty new level;
// an empty path names its box. (A TR4 base under its own name: Program.TheExitStatus...)
TEST(ConvertLevelHead, RefusedInputs) {
    ProgramFixture f;
    for (auto name : {"src.tr4", "base.tr2"}) WriteFileBytes(f.dir / name, L32(45));
    WriteFileBytes(f.dir / "new.lvl", {1, 2, 3, 4, 5});
    WriteFileBytes(f.dir / "geometry.tmp", {1});
    ConvertLevel(f.prog, f.dir / "src.tr4", f.dir / "base.tr2", f.dir / "new.lvl");  // not a TR4 source
    EXPECT_EQ(ReadFileBytes(f.dir / "new.lvl").size(), 0u);
    EXPECT_FALSE(f.prog.channels.FileExists(f.dir / "geometry.tmp")) << "the old temporaries go";
    EXPECT_EQ(f.Messages().size(), 1u);
    // A TR5 base under a TR4 name: the box as it stands, and our note that tells how to name it.
    WriteFileBytes(f.dir / "src.tr4", L32(Tr4VersionWord));
    WriteFileBytes(f.dir / "tr5.TR4", ReadFileBytes(SampleLevel("base-tr5.TRC")));
    ConvertLevel(f.prog, f.dir / "src.tr4", f.dir / "tr5.TR4", f.dir / "new.lvl");
    const std::string note = "Note: the base level '" + (f.dir / "tr5.TR4") +
                             "' is a TR5 level, and a TR5 base must be named .TRC: rename it to '" +
                             (f.dir / "tr5.TRC") + "' and choose that as the base.";
    ASSERT_EQ(f.platform.boxes.size(), 1u);
    EXPECT_EQ(f.platform.boxes[0].text, "Cannot select a TR4 level as base level\n" + note);
    EXPECT_EQ(f.platform.boxes[0].title, "Error");
    EXPECT_EQ(f.Messages().back(), note);
    EXPECT_EQ(f.LastLine(), "Getting version of base level");
    WriteFileBytes(f.dir / "base.xyz", L32(99));
    ConvertLevel(f.prog, f.dir / "src.tr4", f.dir / "base.xyz", f.dir / "new.lvl");
    EXPECT_EQ(f.Messages().back(), "ConvertLevel() -> Error: Not a valid Tomb Raider Level");
    EXPECT_EQ(f.prog.state.Outcome, ConversionOutcome::InputRefused);
    EXPECT_EQ(f.prog.state.OutcomeLine, f.prog.form.l.Items().back());
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
    const Bytes base = L32(45), source = L32(Tr4VersionWord);
    WriteFileBytes(f.dir / "base.TR2", base);
    WriteFileBytes(f.dir / "src.TR4", source);
    WriteFileBytes(f.dir / "geometry.tmp", {1});
    fs::create_symlink(f.dir / "base.TR2", f.dir / "link.TR2");
    fs::create_hard_link(f.dir / "base.TR2", f.dir / "hard.TR2");
    const auto here = fs::current_path();
    fs::current_path(f.dir.path);
    for (const std::string& newPath : {std::string("base.TR2"), f.dir / "link.TR2", f.dir / "hard.TR2"}) {
        SCOPED_TRACE(newPath);
        f.platform.boxes.clear();
        ConvertLevel(f.prog, f.dir / "src.TR4", f.dir / "base.TR2", newPath);
        ASSERT_EQ(f.platform.boxes.size(), 1u);
        EXPECT_NE(f.platform.boxes[0].text.find("'" + newPath + "'"), std::string::npos);
        EXPECT_EQ(f.Messages().back(), "ConvertLevel() -> Error: the new level '" + newPath +
                                           "' is the same file as the base level '" + (f.dir / "base.TR2") + "'");
    }
    ConvertLevel(f.prog, f.dir / "src.TR4", f.dir / "base.TR2", "src.TR4");
    EXPECT_NE(f.Messages().back().find("is the same file as the source level"), std::string::npos);
    fs::current_path(here);
    EXPECT_EQ(ReadFileBytes(f.dir / "base.TR2"), base);
    EXPECT_EQ(ReadFileBytes(f.dir / "src.TR4"), source);
    EXPECT_TRUE(f.prog.channels.FileExists(f.dir / "geometry.tmp"));
}

// The error's line, then our note in the box and the log: level, path, stage, offset, likely cause.
// A missing input is not made, even in a folder this user can't write.
TEST(ConvertLevelErrors, TheNoteNamesTheLevelItsPathTheStageAndTheOffset) {
    ProgramFixture f;
    const std::string source = SampleLevel("source.TR4"), base = SampleLevel("base-tr2.TR2");
    const std::string nope = f.dir / "nope.TR4", cut = f.dir / "cut.TR4", out = f.dir / "new.TR2";
    Bytes head = ReadFileBytes(source);
    head.resize(100);
    WriteFileBytes(cut, head);
    const std::string missing = "' could not be opened at the start: the file does not exist.";
    const std::string cases[][4] = {
        {nope, base, "File not found (53)", "Note: the source level '" + nope + missing},
        {source, nope, "File not found (53)", "Note: the base level '" + nope + missing},
        {cut, base, "Subscript out of range (9)", "Note: the source level '" + cut + "', read at offset "},
    };
    for (const auto& [src, bas, line, note] : cases) {
        SCOPED_TRACE(line);
        f.platform.boxes.clear();
        ConvertLevel(f.prog, src, bas, out);
        EXPECT_EQ(f.LastLine(), line);
        EXPECT_TRUE(f.Messages().back().starts_with(note)) << f.Messages().back();
        ASSERT_EQ(f.platform.boxes.size(), 1u);
        EXPECT_EQ(f.platform.boxes[0].text, line.substr(0, line.find(" (")) + "\n" + f.Messages().back());
    }
    EXPECT_TRUE(f.Messages().back().ends_with("while \"Copying 16 bit palette\" ran: it has only 100 bytes: the "
                                              "level is cut short."));
    fs::permissions(f.dir.path, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                                    fs::perms::others_read | fs::perms::others_exec);
    EXPECT_EQ(AsUnprivilegedUser([&]() -> std::string {
                  ConvertLevel(f.prog, nope, base, out);
                  return f.LastLine() == "File not found (53)" && !fs::exists(nope) ? "" : f.LastLine();
              }),
              "");
}
