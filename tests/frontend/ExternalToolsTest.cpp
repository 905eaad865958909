#include <gtest/gtest.h>

#include "core/DiskFileSystem.h"
#include "frontend/FrontendFixture.h"
#include "frontend/ProcessLauncher.h"

namespace {
// Starts programs for real, as the program does without a window.
struct LaunchingPlatform : ScriptedPlatform {
    bool StartProgram(const std::string& c, const std::string& at) override { return LaunchProgram(c, at, false); }
    bool RunProgramAndWait(const std::string& c, const std::string& at) override { return LaunchProgram(c, at, true); }
    std::string StartProblem(const std::string& command) override { return LaunchProblem(command); }
};
}  // namespace

// A build declines at once while another run holds the program folder. A Windows tool needs wine:
// without it box and log say so and how to get it, and the level an optimizer was to work on is
// said to be complete (a missing optimizer: Program.*).
TEST(BuildLevel, DeclinesWhileTheFolderIsHeldAndAToolThatCannotStartSaysWhy) {
    BasicFixture<LaunchingPlatform, false, Application> f;
    const std::string path = std::getenv("PATH"), here = std::filesystem::current_path();
    ::setenv("PATH", (f.dir / "bin").c_str(), 1);  // no wine on it
    const std::string trle = f.dir.str(), newLevel = f.dir / "new.TR2";  // the program folder too
    WriteFileBytes(trle + "/tom2pc.exe", {'M', 'Z'});
    f.prog.front.TrleFolder.Assign(trle);
    Form1& form = f.prog.form;
    form.Text1.SetText("c:\\rooms\\hall.tom");
    form.Text2.SetText(SampleLevel("base-tr3.TR2"));
    form.Text3.SetText(newLevel);
    std::unique_ptr<FileLock> held = Disk().Lock(f.dir / "convert.lock", false);
    ASSERT_TRUE(held);
    form.Command1.Press();
    ASSERT_EQ(f.platform.boxes.size(), 1u);
    EXPECT_EQ(f.platform.boxes[0].text, "Another conversion is running in the program folder '" + f.dir.str() +
                                            "'. Build again when it has ended.");
    EXPECT_EQ(f.Messages(), std::vector<std::string> {"Note: the build was not started: another conversion is "
                                                      "running in the program folder '" + f.dir.str() + "'."});
    held.reset();
    form.Command1.Press();
    const auto wine = [](const std::string& program) {
        return "Note: '" + program + "' is there, but wine is needed to start it on this system and is not installed "
               "(install it with 'apt-get install wine')";
    };
    const std::string cannot = "File not found: cannot start '" + trle + "/tom2pc.exe'";
    ASSERT_EQ(f.platform.boxes.size(), 2u);
    EXPECT_EQ(f.platform.boxes[1].text, cannot + "\n" + wine(trle + "/tom2pc.exe") + ".");
    EXPECT_EQ(f.Messages(),
              (std::vector<std::string>{"Compiling TOM", cannot + " (53)", wine(trle + "/tom2pc.exe") + "."}));
    EXPECT_FALSE(std::filesystem::exists(newLevel));

    form.Text1.SetText(SampleLevel("source.TR4"));
    form.Check3.SetValue(1);
    WriteFileBytes(f.dir / "toptimizer.exe", {'M', 'Z'});
    form.Command1.Press();
    EXPECT_EQ(f.prog.state.Outcome, ConversionOutcome::OptimizerNotStarted);
    EXPECT_EQ(f.LastLine(), "File not found (53)");
    EXPECT_EQ(f.Messages().back(), wine(f.dir / "toptimizer.exe") + "; the new level '" + newLevel +
                                       "' is complete, only its textures were not optimized.");
    EXPECT_TRUE(Disk().Lock(f.dir / "convert.lock", false)) << "the builds let go of the folder";
    ::setenv("PATH", path.c_str(), 1);
    std::filesystem::current_path(here);
}
