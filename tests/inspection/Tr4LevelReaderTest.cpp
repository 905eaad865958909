#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "inspection/Tr4LevelReader.h"
#include "inspection/LevelWalker.h"
#include "support/PackedBlocks.h"
#include "support/ProgramFixture.h"

namespace fs = std::filesystem;
namespace {
// The reader's working file lands in the test's own folder; progress values are recorded.
struct Fixture : ProgramFixture {
    std::vector<float> progress;
    TemporaryFolderAt tmp{dir.str()};
    Fixture() { prog.form.p.Changed = [this] { progress.push_back(prog.form.p.Value()); }; }
};
}  // namespace

TEST(Tr4LevelReader, RealLevelLogsEverySectionAndKeepsWhatItRead) {
    NEEDS_SHARED_LEVELS();
    Fixture f;
    const std::string path = SharedLevel("source-tr4.TR4");
    ReadTr4Level(f.prog, path);
    // A line for every section; those that carry what was read, and the texts as they stand.
    const std::vector<std::string> log = f.Messages();
    ASSERT_EQ(log.size(), 40u);
    EXPECT_EQ(log.front() + "|" + log[1], "Opening " + path + "...|Livello di Tomb Raider IV");
    for (const char* line : {"Numero di stanze: 4", "Dimensione del FloorData: 242 byte", "Numero di animazioni: 552",
                             "Lettura deglioverlaps...", "Lettura degli oggetti...    ", "Lettura completata"})
        EXPECT_EQ(std::ranges::count(log, line), 1) << line;
    EXPECT_EQ(log.back(), "Done");
    EXPECT_EQ(f.progress, (std::vector<float>{5, 20, 30, 40, 80, 85, 90, 100, 0}));
    EXPECT_FALSE(f.prog.channels.IsOpen(1) || f.prog.channels.IsOpen(2));
    EXPECT_EQ(f.prog.state.Tr4Read.TailBytes.size(), 2826968u - 1120557u);  // the last byte stays unread
    EXPECT_EQ(f.prog.state.Tr4Read.SampleIndices.Bytes.size(), 59u * 4);  // read in step to the end
}

// The working file stands in a private folder of the program's own: a link planted under the old
// fixed name leads nowhere, and when the program ends, what it made goes and nothing else.
TEST(Tr4LevelReader, TheWorkingFileIsPrivateAndGoesWithTheProgram) {
    NEEDS_SHARED_LEVELS();
    TestFolder victimDir;
    WriteFileBytes(victimDir / "precious", {1, 2, 3});
    std::string folder;
    {
        Fixture f;
        fs::create_symlink(victimDir / "precious", f.dir / "geometry.tmp");
        ReadTr4Level(f.prog, SharedLevel("source-tr4.TR4"));
        ReadTr4Level(f.prog, SharedLevel("source-tr4.TR4"));  // a second walk reuses the folder
        const std::string& work = f.prog.state.Tr4WorkingFile;
        folder = fs::path(work).parent_path().string();
        EXPECT_EQ(fs::path(folder).parent_path(), f.dir.path);
        EXPECT_EQ(fs::status(folder).permissions() & fs::perms::all, fs::perms::owner_all);
        EXPECT_EQ(ReadFileBytes(work).size(), 524341u);
        EXPECT_TRUE(fs::is_symlink(f.dir / "geometry.tmp"));
    }
    EXPECT_FALSE(fs::exists(folder));
    EXPECT_EQ(ReadFileBytes(victimDir / "precious"), (std::vector<uint8_t>{1, 2, 3}));
}

// A refused level logs its line and no box; a run-time error shows its box and logs its number,
// each followed by our note; the channels are closed. A level that isn't there is not made.
TEST(Tr4LevelReader, RefusedLevelsAndRunTimeErrorsEndWithTheirLine) {
    {
        Fixture f;
        ReadTr4Level(f.prog, f.dir / "none.tr4");
        EXPECT_EQ(f.LastLine(), "File not found (53)");
        EXPECT_EQ(f.Messages().back(), "Note: the source level '" + (f.dir / "none.tr4") +
                                           "' could not be opened at the start: the file does not exist.");
        EXPECT_FALSE(fs::exists(f.dir / "none.tr4"));
    }
    NEEDS_SHARED_LEVELS();
    struct Case {
        const char* section;  // of the inflated geometry, or the outer version word
        int at;               // bytes from the section's count word
        uint32_t value;
        const char *last, *box;
        float progress;
    } cases[] = {
        {"Version", 0, 0xFFFFFFF0u, "Done", nullptr, 0},  // the other word that passes
        {"Version", 0, 0x00345255u, " non \xC3\xA8 un livello di Tomb Raider IV", nullptr, 55},
        {"SpriteTextures", -3, 's', "SPR label not found", nullptr, 80},  // the marker before the count
        {"ObjectTextures", -1, 'x', "TEX label not found", nullptr, 80},
        {"FloorData", 3, 0x40, "Out of memory (7)", "Out of memory", 80},  // a 2 GiB section
        {"MeshPointers", 3, 0x80, "Subscript out of range (9)", "Subscript out of range", 80},
    };
    auto file = ReadFileBytes(SharedLevel("source-tr4.TR4"));
    WalkedLevel source = WalkLevel(file, WalkFormat::Tr4);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.last);
        Fixture f;
        f.prog.form.p.SetValue(55);
        auto geometry = source.inflated;
        bool outer = std::string(c.section) == "Version";
        if (!outer) geometry.at(size_t(long(source[c.section].offset) + c.at)) = uint8_t(c.value);
        auto level = WithGeometry(file, geometry);
        for (size_t k = 0; outer && k < 4; ++k) level[k] = uint8_t(c.value >> (8 * k));
        WriteFileBytes(f.dir / "m.tr4", level);
        ReadTr4Level(f.prog, f.dir / "m.tr4");
        EXPECT_EQ(f.LastLine(), (c.last[0] == ' ' ? f.dir / "m.tr4" : "") + c.last);
        EXPECT_EQ(f.prog.form.p.Value(), c.progress);
        ASSERT_EQ(f.platform.boxes.size(), c.box ? 1u : 0u);
        if (c.box)
            EXPECT_EQ(f.platform.boxes[0].First() + "|" + f.platform.boxes[0].title, c.box + std::string("|Error"));
        EXPECT_FALSE(f.prog.channels.IsOpen(1) || f.prog.channels.IsOpen(2));
    }
}
