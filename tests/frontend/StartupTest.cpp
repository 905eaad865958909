#include <gtest/gtest.h>

#include "frontend/FrontendFixture.h"
#include "frontend/Settings.h"
#include "frontend/Startup.h"

namespace {
// Three jobs whose sources are not TR4 levels, so that a run names the job it took in its log.
struct ThreeJobs : FrontFixture {
    explicit ThreeJobs(const std::string& tail) {
        SettingsBytes s(3);
        for (int i = 0; i < 3; ++i) {
            std::string n = std::to_string(i);
            WriteFileBytes(dir / ("src" + n + ".tr4"), {1, 2, 3, 4});
            s.Job(dir / ("src" + n + ".tr4"), dir / "base.tr2", dir / ("new" + n + ".tr2"), "Job " + n);
        }
        s.Text(dir.str());
        WriteFileBytes(dir / "settings.dat", s.bytes);
        prog.front.CommandTail = tail;
    }
    std::string RanLine(int job) const {
        return "Tr4ToTr3() -> Error: '" + (dir / ("src" + std::to_string(job) + ".tr4")) + "'' is not a TR4 level";
    }
    std::vector<std::string> LogLines() {
        prog.channels.FlushAll();
        std::string text = ReadFileText(dir / "morv.log");
        std::vector<std::string> lines;
        for (size_t at = 0; at < text.size();) {
            size_t end = text.find("\r\n", at);
            lines.push_back(text.substr(at, end - at));
            at = end + 2;
        }
        return lines;
    }
};
}  // namespace

TEST(CommandLine, TextToNumberScan) {
    EXPECT_EQ(ScanNumber("2"), 2);
    EXPECT_EQ(ScanNumber("  12abc"), 12);
    EXPECT_EQ(ScanNumber("2.5"), 2.5);
    EXPECT_EQ(ScanNumber("x"), 0);
    EXPECT_EQ(ScanNumber(""), 0);
    EXPECT_EQ(ScanNumber("-3"), -3);
}

TEST(CommandLine, ArgumentPicksTheJobHalfToEven) {
    for (auto [tail, job] : std::vector<std::pair<std::string, int>> {{"2", 2}, {"2.5", 2}, {"1.5", 2}, {"x", 0},
                                                                      {" 1", 1}, {"0.5", 0}}) {
        ThreeJobs f(tail);
        LoadResult result = Form_Load(f.prog);
        EXPECT_TRUE(result.EndProcess) << tail;
        EXPECT_EQ(result.ExitStatus, 0) << tail;
        EXPECT_EQ(f.prog.form.ll.ListIndex(), job) << tail;
        ASSERT_FALSE(f.Messages().empty());
        EXPECT_EQ(f.Messages().back(), f.RanLine(job)) << tail;
    }
}

TEST(CommandLine, UnattendedRunLogsBannerAndConversionButNoClosingLine) {
    ThreeJobs f("1");
    Form_Load(f.prog);
    std::vector<std::string> lines = f.LogLines();
    ASSERT_GE(lines.size(), 8u);
    EXPECT_EQ(lines[0], "MORV 1.0.6");
    EXPECT_EQ(lines[1], "23/11/2026 12:00:00");
    EXPECT_EQ(lines[2], std::string(40, '='));
    EXPECT_EQ(lines[3], "[23/11/2026 12:00:00] Begins log");
    EXPECT_EQ(lines[5], "Conversion begins");
    EXPECT_EQ(lines.back(), "[12:00:00] " + f.RanLine(1));
    // Small window, not centred, no change of directory, boxes filled from the job.
    EXPECT_EQ(f.prog.form.Width, 6360);
    EXPECT_EQ(f.prog.form.Height, 5685);
    EXPECT_EQ(f.prog.form.Left, 0);
    EXPECT_TRUE(f.platform.directories.empty());
    EXPECT_TRUE(f.prog.form.Shown);
    EXPECT_EQ(f.prog.form.Text1.Text(), f.dir / "src1.tr4");
}

TEST(CommandLine, JobThatTheListDoesNotHoldIsLoggedAndEndsWithAnError) {
    for (std::string tail : {"3", "-1", "99999"}) {
        ThreeJobs f(tail);
        LoadResult result = Form_Load(f.prog);
        EXPECT_TRUE(result.EndProcess);
        EXPECT_NE(result.ExitStatus, 0);
        ASSERT_EQ(f.Messages().size(), 1u) << tail;
        EXPECT_EQ(f.Messages()[0], "RunFromCommandLine() -> Error: there is no job '" + tail + "' in the list");
        EXPECT_EQ(f.LogLines().back(), "[12:00:00] " + f.Messages()[0]);
        EXPECT_FALSE(FileExists(f.dir / "new0.tr2"));
    }
}

TEST(FormLoad, InteractiveStartPreparesTheWindowAndUnloadClosesTheLog) {
    ThreeJobs f("");
    f.prog.form.ScreenWidth = 20000;
    f.prog.form.ScreenHeight = 12000;
    LoadResult result = Form_Load(f.prog);
    EXPECT_FALSE(result.EndProcess);
    EXPECT_EQ(f.prog.form.ll.ListIndex(), 0);
    EXPECT_EQ(f.prog.form.Text1.Text(), f.dir / "src0.tr4");
    EXPECT_EQ(f.prog.form.Combo1.ListIndex(), 0);
    EXPECT_TRUE(f.prog.form.Frame1.Enabled);
    EXPECT_EQ(f.platform.directories, (std::vector<std::string> {f.dir.str()}));
    EXPECT_EQ(f.prog.form.Left, (20000 - f.prog.form.Width) / 2.0);
    EXPECT_EQ(f.prog.form.Top, (12000 - f.prog.form.Height) / 2.0);
    EXPECT_TRUE(f.Messages().empty());
    Form_Unload(f.prog);
    EXPECT_FALSE(f.prog.channels.IsOpen(LogChannel));
    std::vector<std::string> lines = f.LogLines();
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines.back(), "[23/11/2026 12:00:00] MORV ends");
}

