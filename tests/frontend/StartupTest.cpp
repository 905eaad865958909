#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>

#include "frontend/FrontendFixture.h"
#include "support/OtherUser.h"
#include "frontend/Settings.h"
#include "frontend/Startup.h"

namespace {
// Jobs whose sources are not TR4 levels: a run names the job it took, and leaves a new level behind.
struct JobsFolder : FrontFixture {
    explicit JobsFolder(const std::string& tail, int count = 3) {
        SettingsBytes s(static_cast<uint8_t>(count));
        WriteFileBytes(dir / "base.tr2", {45, 0, 0, 0});
        for (int i = 0; i < count; ++i) {
            std::string n = std::to_string(i);
            WriteFileBytes(dir / ("src" + n + ".tr4"), {1, 2, 3, 4});
            s.Job(dir / ("src" + n + ".tr4"), dir / "base.tr2", dir / ("new" + n + ".tr2"), "Job " + n);
        }
        WriteFileBytes(dir / "settings.dat", s.Text(dir.str()).bytes);
        prog.front.CommandTail = tail;
    }
};
}  // namespace

TEST(CommandLine, ArgumentIsScannedAsANumberAndPicksTheJobHalfToEven) {
    const std::string missing = "RunFromCommandLine() -> Error: there is no job '";
    // -1: the list doesn't hold the job; the run ends with an error.
    const std::pair<const char*, int> rows[] = {{"2", 2}, {"2.5", 2}, {"1.5", 2}, {"0.5", 0}, {" 1", 1},
                                                {"x", 0}, {"3", -1}, {"-1", -1}, {"99999", -1}};
    for (auto [tail, job] : rows) {
        SCOPED_TRACE(tail);
        JobsFolder f(tail);
        LoadResult result = Form_Load(f.prog);
        // Both ways end with a status of their own, and the line goes to standard error as well.
        EXPECT_TRUE(result.EndProcess);
        EXPECT_EQ(result.ExitStatus, job < 0 ? ExitStatus::NoSuchJob : ExitStatus::InputRefused);
        const std::string last = job < 0 ? missing + tail + "' in the list"
                                         : "Tr4ToTr3() -> Error: '" + (f.dir / ("src" + std::to_string(job) + ".tr4")) +
                                               "'' is not a TR4 level";
        ASSERT_FALSE(f.Messages().empty());
        using Lines = std::vector<std::string>;
        EXPECT_EQ(job < 0 ? f.Messages() : Lines {f.Messages().back()}, Lines {last});
        if (job >= 0) EXPECT_EQ(f.prog.form.ll.ListIndex(), job);
        EXPECT_EQ(f.platform.errors, std::vector<std::string> {last});
        f.prog.channels.FlushAll();
        EXPECT_TRUE(ReadFileText(f.dir / "morv.log").ends_with("\r\n[12:00:00] " + f.Messages().back() + "\r\n"));
    }
}

// A log or settings file that can't be opened is named with the reason in a box, and the start comes
// up; an unattended one ends with a status of its own and runs no job.
TEST(ProgramFolder, ItsFilesThatCannotBeOpenedAreNamedWithTheReason) {
    JobsFolder f("", 1);
    std::filesystem::create_directory(f.dir / "morv.log");
    LoadResult result = Form_Load(f.prog);
    const std::string said = "Cannot open the log file '" + (f.dir / "morv.log") + "': Is a directory";
    EXPECT_EQ(f.platform.errors, std::vector<std::string> {said});
    EXPECT_TRUE(!result.EndProcess && f.prog.form.Shown);
    EXPECT_TRUE(f.platform.boxes.size() == 1 && Contains(f.platform.boxes[0].text, said));
    EXPECT_EQ(f.prog.form.ll.ListIndex(), 0);
    LogLine(f.prog, "still logging");
    EXPECT_EQ(f.Messages().back(), "still logging");
    Form_Unload(f.prog);

    FrontFixture s;
    std::filesystem::create_directory(s.dir / "settings.dat");
    result = Form_Load(s.prog);
    ASSERT_EQ(s.platform.boxes.size(), 1u);
    EXPECT_EQ(s.platform.boxes[0].text, "Path/File access error\n'" + (s.dir / "settings.dat") + "': Is a directory");
    EXPECT_FALSE(result.EndProcess || s.prog.form.Frame1.Enabled);  // the window is up, with no jobs
    EXPECT_TRUE(Contains(ReadFileText(s.dir / "morv.log"), "] Begins log"));

    JobsFolder unattended("0", 1);
    std::filesystem::create_directory(unattended.dir / "morv.log");
    EXPECT_EQ(Form_Load(unattended.prog).ExitStatus, ExitStatus::ProgramFilesUnusable);
    EXPECT_FALSE(std::filesystem::exists(unattended.dir / "new0.tr2"));
    JobsFolder locked("0", 1);
    std::filesystem::remove(locked.dir / "settings.dat");
    std::filesystem::permissions(locked.dir.path, std::filesystem::perms(0555));  // nobody may write there
    const std::string failed = AsUnprivilegedUser([&f = locked]() -> std::string {
        const int status = Form_Load(f.prog).ExitStatus;
        const std::string said = f.platform.errors.empty() ? "" : f.platform.errors[0];
        if (status != ExitStatus::ProgramFilesUnusable || !Contains(said, "Permission denied"))
            return std::to_string(status) + ": " + said;
        const bool named = f.platform.boxes.size() == 1 && Contains(f.platform.boxes[0].text, f.dir / "settings.dat");
        return named ? "" : "no box that names settings.dat";
    });
    std::filesystem::permissions(locked.dir.path, std::filesystem::perms::owner_all);
    EXPECT_EQ(failed, "");
}

TEST(CommandLine, ADisplayIsNamedByTheEnvironmentUnlessQtIsAskedForNoScreen) {
    // DISPLAY, WAYLAND_DISPLAY, QT_QPA_PLATFORM (null: unset), and whether they name a display.
    const std::tuple<const char*, const char*, const char*, bool> rows[] = {
        {nullptr, nullptr, nullptr, false},    {"", "", nullptr, false},
        {":0", nullptr, nullptr, true},        {nullptr, "wayland-0", "", true},
        {":0", nullptr, "offscreen", false},   {":0", nullptr, "minimal;xcb", false},
        {":0", nullptr, "offscreen:fontconfig", false}, {":0", nullptr, "xcb;offscreen", true},
        {nullptr, nullptr, "xcb", false}};
    for (auto [display, wayland, qpa, named] : rows)
        EXPECT_EQ(DisplayNamed(display, wayland, qpa), named) << (display ? display : "-") << " " << (qpa ? qpa : "-");
}

// An unattended engine-ready conversion over its engine's page limit completes, with the note on
// standard error and in the log; with no folder in the settings, it asks for none (nobody would answer).
TEST(CommandLine, AnEngineReadyJobPrintsTheLimitsItsLevelExceeds) {
    FrontFixture f;
    std::vector<uint8_t> base = ReadFileBytes(SampleLevel("base-tr2.TR2"));
    const size_t at = 4 + 768 + 1024;  // the tile count, then 8-bit and 16-bit tiles
    const auto tiles = size_t(Long(base, at)), more = size_t(32);
    base.insert(base.begin() + long(at + 4 + tiles * 65536), more * 65536, 0);
    base.insert(base.begin() + long(at + 4 + (tiles + more) * 65536 + tiles * 131072), more * 131072, 0);
    base[at] = uint8_t(tiles + more);
    WriteFileBytes(f.dir / "base.TR2", base);
    // The first Reserved byte is the engine-ready option.
    WriteFileBytes(f.dir / "settings.dat", SettingsBytes(1).Job(SampleLevel("source.TR4"), f.dir / "base.TR2",
                                                                f.dir / "new.TR2", "Job", {0, 0, 0, 0, 0, 0}, 0, 1)
                                               .Text("").bytes);
    f.prog.front.CommandTail = "0";
    f.platform.folderAnswers = {std::string("/never")};
    EXPECT_EQ(Form_Load(f.prog).ExitStatus, ExitStatus::Completed);
    EXPECT_EQ(f.prog.front.TrleFolder.Text(), "");
    ASSERT_EQ(f.platform.errors.size(), 1u);
    EXPECT_TRUE(f.platform.errors[0].starts_with("Note: TR2 engines load at most 32 texture pages; this level has "))
        << f.platform.errors[0];
    EXPECT_EQ(f.Messages()[f.Messages().size() - 2], f.platform.errors[0]);
}
