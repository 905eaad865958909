#include <gtest/gtest.h>

#include "frontend/FrontendFixture.h"
#include "frontend/Settings.h"
#include "frontend/Startup.h"
#include "inspection/LevelCheck.h"

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
        WriteFileBytes(dir / "settings.dat", s.Text(dir.str()).bytes);
        prog.front.CommandTail = tail;
    }
    std::string LastLogLine() {
        prog.channels.FlushAll();
        std::string text = ReadFileText(dir / "morv.log");
        text.erase(text.size() - 2);  // the closing CR LF
        return text.substr(text.rfind("\r\n") + 2);
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
        ThreeJobs f(tail);
        LoadResult result = Form_Load(f.prog);
        EXPECT_TRUE(result.EndProcess);
        EXPECT_EQ(result.ExitStatus != 0, job < 0);
        ASSERT_FALSE(f.Messages().empty());
        if (job < 0) {
            EXPECT_EQ(f.Messages(), (std::vector<std::string> {missing + tail + "' in the list"}));
        } else {
            EXPECT_EQ(f.prog.form.ll.ListIndex(), job);
            std::string src = f.dir / ("src" + std::to_string(job) + ".tr4");
            EXPECT_EQ(f.Messages().back(), "Tr4ToTr3() -> Error: '" + src + "'' is not a TR4 level");
        }
        EXPECT_EQ(f.LastLogLine(), "[12:00:00] " + f.Messages().back());
    }
}

// An unattended run takes the engine layout from its job, and its log says so right behind the
// target's line.
TEST(CommandLine, TheJobsEngineLayoutReachesTheConversion) {
    for (uint8_t option : {0, 1}) {
        FrontFixture f;
        SettingsBytes s(1);
        s.Job(SharedLevel("source-tr4.TR4"), SharedLevel("base-gold.TUB"), f.dir / "new.TUB", "Gold",
              {0, 0, 0, 0, 0, 0}, 0, option);
        WriteFileBytes(f.dir / "settings.dat", s.Text(f.dir.str()).bytes);
        f.prog.front.CommandTail = "0";
        Form_Load(f.prog);
        f.prog.channels.CloseAllChannels();
        const std::vector<std::string> log = f.Messages();
        const auto version = std::ranges::find(log, "New level version: Tomb Raider Unfinished Bussiness");
        ASSERT_NE(version, log.end());
        if (option) EXPECT_EQ(*(version + 1), "Engine layout: on");
        EXPECT_EQ(f.Count("Engine layout: on"), option);
        EXPECT_EQ(CheckLevel(ReadFileBytes(f.dir / "new.TUB"), "new.TUB").Whole(), option == 1);
    }
}
