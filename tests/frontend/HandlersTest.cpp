#include <gtest/gtest.h>

#include "frontend/FrontendFixture.h"
#include "frontend/Handlers.h"
#include "frontend/Settings.h"

namespace {
// Two jobs loaded from a file, none selected yet.
struct TwoJobsFixture : FrontFixture {
    TwoJobsFixture() {
        SettingsBytes s(2);
        s.Job("/a/one.tr4", "/a/base.tr2", "/a/new.tr2", "One", {2, 3, 0, -1, -1, 0}, 12);
        s.Job("/b/two.tom", "/b/base.trc", "/b/new.trc", "Two", {1, 1, -1, 0, 0, -1}, 40);
        s.Text("/trle");
        WriteFileBytes(dir / "settings.dat", s.bytes);
        LoadSettings(prog);
    }
    JobRecord& Job(int i) { return prog.front.Jobs.at(i); }
};
}  // namespace

TEST(SelectedJob, SelectingFillsEveryBoxAndLeavesCheck5Alone) {
    TwoJobsFixture f;
    Form1& w = f.prog.form;
    w.Check5.SetValue(1);
    w.ll.SetListIndex(0);
    EXPECT_EQ(w.Text1.Text(), "/a/one.tr4");
    EXPECT_EQ(w.Text2.Text(), "/a/base.tr2");
    EXPECT_EQ(w.Text3.Text(), "/a/new.tr2");
    EXPECT_EQ(w.Text4.Text(), "12");
    EXPECT_EQ(w.Combo1.ListIndex(), 3);
    EXPECT_EQ(w.Combo2.Text(), "2 - Snow");
    EXPECT_EQ(w.Check1.Value(), 0);
    EXPECT_EQ(w.Check2.Value(), 1);
    EXPECT_EQ(w.Check3.Value(), 0);  // checked at start, cleared by the job
    EXPECT_EQ(w.Check4.Value(), 1);
    EXPECT_EQ(w.Check5.Value(), 1);
    w.ll.SetListIndex(1);
    EXPECT_EQ(w.Text4.Text(), "40");
    EXPECT_EQ(w.Check1.Value(), 1);
    EXPECT_EQ(w.Check3.Value(), 1);
    EXPECT_EQ(w.Check5.Value(), 1);
    // Loading stores the same values back: the job is unchanged apart from blank padding.
    EXPECT_EQ(f.Job(1).UvRange, 40);
    EXPECT_EQ(f.Job(1).LaraType, 1);
    EXPECT_EQ(f.Job(1).SourceLevel.Text(), "/b/two.tom");
}

TEST(SelectedJob, BoxesStoreIntoTheCurrentJobOnly) {
    TwoJobsFixture f;
    Form1& w = f.prog.form;
    w.ll.SetListIndex(1);
    w.Text1.SetText("/x/new source.tom");
    w.Text3.SetText(std::string(300, 'q'));
    w.Combo1.SetListIndex(4);
    w.Combo2.SetListIndex(0);
    w.Check4.SetValue(1);
    EXPECT_EQ(f.Job(1).SourceLevel.Text(), "/x/new source.tom");
    EXPECT_EQ(f.Job(1).NewLevel.Text(), std::string(256, 'q'));  // cut to the field
    EXPECT_EQ(w.Text3.Text().size(), 300u);                       // the box keeps it all
    EXPECT_EQ(f.Job(1).LaraType, 4);
    EXPECT_EQ(f.Job(1).Weather, 0);
    EXPECT_EQ(f.Job(1).Cutscene, -1);
    EXPECT_EQ(f.Job(0).SourceLevel.Text(), "/a/one.tr4");
    EXPECT_EQ(f.Job(0).LaraType, 3);
}

TEST(SelectedJob, UvRangeTakesDigitsUpTo255AndPutsTheStoredValueBack) {
    TwoJobsFixture f;
    TextBox& t = f.prog.form.Text4;
    f.prog.form.ll.SetListIndex(0);
    t.SetText("3");
    t.SetText("30");
    t.SetText("300");
    EXPECT_EQ(t.Text(), "30");
    EXPECT_EQ(f.Job(0).UvRange, 30);
    t.SetText("");
    EXPECT_EQ(t.Text(), "30");
    t.SetText("007");
    EXPECT_EQ(t.Text(), "007");
    EXPECT_EQ(f.Job(0).UvRange, 7);
    t.SetText("-1");
    EXPECT_EQ(t.Text(), "7");
    t.SetText("99999999999999999999");
    EXPECT_EQ(t.Text(), "7");
    t.SetText("255");
    EXPECT_EQ(f.Job(0).UvRange, 255);
    EXPECT_TRUE(IsDigitsOnly("0123456789"));
    EXPECT_FALSE(IsDigitsOnly("12a"));
    EXPECT_FALSE(IsDigitsOnly(""));
}

TEST(SelectedJob, MouseDownSetsTheFlagTheClickWillGiveWithAnyButton) {
    TwoJobsFixture f;
    Form1& w = f.prog.form;
    w.ll.SetListIndex(0);  // EraseItems 0, EraseStaticMeshes -1, OptimizeTextures 0
    w.Check1.MouseDown(2);  // right button: the box stays, the job changes
    EXPECT_EQ(w.Check1.Value(), 0);
    EXPECT_EQ(f.Job(0).EraseItems, -1);
    w.Check2.MouseDown(1);
    EXPECT_EQ(f.Job(0).EraseStaticMeshes, 0);
    w.Check3.MouseDown(4);
    EXPECT_EQ(f.Job(0).OptimizeTextures, -1);
    // The keyboard changes the box without reaching the job.
    w.Check1.SetValue(1);
    w.Check1.SetValue(0);
    EXPECT_EQ(f.Job(0).EraseItems, -1);
}

TEST(AddJob, PromptNamesTheJobWhichStaysUnselectedAndOpensTheFrames) {
    FrontFixture f;
    Form1& w = f.prog.form;
    w.Frame1.SetEnabled(false);
    w.Frame2.SetEnabled(false);
    w.Frame3.SetEnabled(false);
    f.platform.inputAnswers.push_back(std::string("Cave"));
    f.platform.inputAnswers.push_back(std::nullopt);  // cancelled: a job without a name
    w.Command8.Press();
    w.Command8.Press();
    EXPECT_EQ(f.platform.prompts, (std::vector<std::string> {"Insert level name:", "Insert level name:"}));
    EXPECT_EQ(w.ll.Items(), (std::vector<std::string> {"Cave", ""}));
    EXPECT_EQ(w.ll.ListIndex(), -1);
    EXPECT_TRUE(w.Frame1.Enabled && w.Frame2.Enabled && w.Frame3.Enabled);
    EXPECT_EQ(f.prog.front.NumJobs, 2);
    // Check3 is on at start, but the new job holds 0 and selecting it clears the box.
    EXPECT_EQ(w.Check3.Value(), 1);
    EXPECT_EQ(f.prog.front.Jobs[0].OptimizeTextures, 0);
    w.ll.SetListIndex(0);
    EXPECT_EQ(w.Check3.Value(), 0);
}

