#include "frontend/Handlers.h"

#include <cstdlib>

#include "frontend/ExternalTools.h"
#include "frontend/Application.h"
#include "frontend/Settings.h"
#include "frontend/JobList.h"
#include "inspection/Tr4LevelReader.h"

const char* const SourceFilter = "Leve Editor Room WAD (*.tom)|*.tom|Tomb Raider 4 Levels (*.tr4)|*.tr4";
const char* const LevelFilter =
    "Tomb Raider levels (*.phd)|*.phd|Tomb Raider Gold levels (*.tub)|*.tub|Tomb Raider 2/3 levels "
    "(*.tr2)|*.tr2|Tomb Raider 4 levels (*.tr4)|*.tr4|Tomb Raider 5 levels (*.trc)|*.trc";

JobRecord* CurrentJob(Application& prog) {
    int index = prog.form.ll.ListIndex();
    if (index < 0 || index >= static_cast<int>(prog.front.Jobs.size())) return nullptr;
    return &prog.front.Jobs[static_cast<size_t>(index)];
}

bool IsDigitsOnly(const std::string& text) {
    if (text.empty()) return false;
    for (char c : text)
        if (c < '0' || c > '9') return false;
    return true;
}

namespace {
// A flag of a job shows in its box as 0 or 1.
int BoxValue(int16_t flag) { return flag != 0 ? 1 : 0; }

// A stored list index that the pick list doesn't hold leaves the list without a selection.
int ComboIndex(const ComboBox& combo, int16_t index) { return index >= 0 && index < combo.ListCount() ? index : -1; }

// A path longer than the job's field can hold is refused where it arrives (typed, pasted,
// picked or dropped), with a box that says the limit: the job and the box keep the path before.
void TextChanged(Application& prog, TextBox& box, TextField JobRecord::*field) {
    JobRecord* job = CurrentJob(prog);
    if (!job) return;
    if (box.Text().size() > TextField::Size) {
        const std::string refused = box.Text();
        box.SetText((job->*field).Text());
        prog.platform.MessageBox(TooLongMessage(refused), "", BoxIcon::Exclamation);
        return;
    }
    (job->*field).Assign(box.Text());
}

void UvRangeChanged(Application& prog) {
    JobRecord* job = CurrentJob(prog);
    if (!job) return;  // no job to store into, nor a value to put back
    const std::string text = prog.form.Text4.Text();
    // Digits only and at most 255; anything else puts the stored value back. Long runs of digits
    // are refused before they could overflow.
    if (!IsDigitsOnly(text) || text.size() > 9 || std::atol(text.c_str()) > 255) {
        prog.form.Text4.SetText(std::to_string(job->UvRange));
        return;
    }
    job->UvRange = static_cast<uint8_t>(std::atol(text.c_str()));
}

void ComboClicked(Application& prog, const ComboBox& combo, int16_t JobRecord::*field) {
    JobRecord* job = CurrentJob(prog);
    if (!job || combo.ListIndex() < 0) return;
    job->*field = static_cast<int16_t>(combo.ListIndex());
}

// Mouse down comes before the box changes: the flag takes the state the click is about to give.
// Any button counts.
void FlagMouseDown(Application& prog, const CheckBox& box, int16_t JobRecord::*field) {
    if (JobRecord* job = CurrentJob(prog)) job->*field = box.Value() == 0 ? -1 : 0;
}

// After any change of the box, by mouse or by key, the job's flag says what the box shows. It is
// stored only when it says otherwise, so that loading a job rewrites nothing: a stored flag that
// is neither 0 nor -1 but reads as on stays.
void FlagClicked(Application& prog, const CheckBox& box, int16_t JobRecord::*field) {
    JobRecord* job = CurrentJob(prog);
    if (!job) return;
    const bool on = box.Value() == 1;
    if ((job->*field != 0) != on) job->*field = on ? -1 : 0;
}

// A left press may end without a click (released away from the box): the flag set on mouse down
// must not stay ahead of the box. The other buttons never change the box, and their change of
// the flag stands.
void FlagMouseUp(Application& prog, const CheckBox& box, int16_t JobRecord::*field, int button) {
    if (button == 1) FlagClicked(prog, box, field);
}

// The box stores 1 or 0 into the job's first Reserved byte. A byte that already says the same
// (any value but 1 reads as off) is left as it stands, so loading a job changes nothing.
void EngineLayoutClicked(Application& prog) {
    JobRecord* job = CurrentJob(prog);
    if (!job) return;
    const bool on = prog.form.Check6.Value() == 1;
    uint8_t& stored = job->Reserved[EngineLayoutByte];
    if ((stored == 1) != on) stored = on ? 1 : 0;
}

void AddJobClicked(Application& prog) {
    if (prog.front.NumJobs >= MaxJobs) {
        AddJob(prog, "");  // refuses with its message
        return;
    }
    // A cancelled prompt adds nothing; an empty answer adds a job without a name.
    std::optional<std::string> name = prog.platform.InputBox("Insert level name:", "Level name", "");
    if (!name || !AddJob(prog, *name)) return;
    EnableJobBoxes(prog, true);
    // With no job selected the boxes would store into nothing: select the new one, whose click
    // loads it into the boxes. A selected job stays selected.
    ListBox& ll = prog.form.ll;
    if (ll.ListIndex() < 0) ll.SetListIndex(ll.ListCount() - 1);
}

void PickFile(Application& prog, bool save, const std::string& title, const char* filter, TextBox& target) {
    std::optional<std::string> name =
        save ? prog.platform.SaveFileDialog(title, filter) : prog.platform.OpenFileDialog(title, filter);
    if (!name || name->empty()) return;
    target.SetText(*name);
}
}  // namespace

void LoadSelectedJob(Application& prog) {
    JobRecord* selected = CurrentJob(prog);
    if (!selected) return;
    // The boxes' events store into the same job; keep a copy to read from.
    const JobRecord job = *selected;
    Form1& form = prog.form;
    form.Text1.SetText(job.SourceLevel.Text());
    form.Text2.SetText(job.BaseLevel.Text());
    form.Text3.SetText(job.NewLevel.Text());
    form.Text4.SetText(std::to_string(job.UvRange));
    form.Combo1.SetListIndex(ComboIndex(form.Combo1, job.LaraType));
    form.Combo2.SetListIndex(ComboIndex(form.Combo2, job.Weather));
    form.Check1.SetValue(BoxValue(job.EraseItems));
    form.Check2.SetValue(BoxValue(job.EraseStaticMeshes));
    form.Check3.SetValue(BoxValue(job.OptimizeTextures));
    form.Check4.SetValue(BoxValue(job.Cutscene));
    form.Check6.SetValue(job.Reserved[EngineLayoutByte] == 1 ? 1 : 0);
}

void WireHandlers(Application& prog) {
    Form1& form = prog.form;
    Application* p = &prog;
    form.ll.Click = [p] { LoadSelectedJob(*p); };
    form.Text1.Change = [p] { TextChanged(*p, p->form.Text1, &JobRecord::SourceLevel); };
    form.Text2.Change = [p] { TextChanged(*p, p->form.Text2, &JobRecord::BaseLevel); };
    form.Text3.Change = [p] { TextChanged(*p, p->form.Text3, &JobRecord::NewLevel); };
    form.Text4.Change = [p] { UvRangeChanged(*p); };
    form.Combo1.Click = [p] { ComboClicked(*p, p->form.Combo1, &JobRecord::LaraType); };
    form.Combo2.Click = [p] { ComboClicked(*p, p->form.Combo2, &JobRecord::Weather); };
    form.Check1.MouseDown = [p](int) { FlagMouseDown(*p, p->form.Check1, &JobRecord::EraseItems); };
    form.Check2.MouseDown = [p](int) { FlagMouseDown(*p, p->form.Check2, &JobRecord::EraseStaticMeshes); };
    form.Check3.MouseDown = [p](int) { FlagMouseDown(*p, p->form.Check3, &JobRecord::OptimizeTextures); };
    form.Check1.MouseUp = [p](int b) { FlagMouseUp(*p, p->form.Check1, &JobRecord::EraseItems, b); };
    form.Check2.MouseUp = [p](int b) { FlagMouseUp(*p, p->form.Check2, &JobRecord::EraseStaticMeshes, b); };
    form.Check3.MouseUp = [p](int b) { FlagMouseUp(*p, p->form.Check3, &JobRecord::OptimizeTextures, b); };
    form.Check1.Click = [p] { FlagClicked(*p, p->form.Check1, &JobRecord::EraseItems); };
    form.Check2.Click = [p] { FlagClicked(*p, p->form.Check2, &JobRecord::EraseStaticMeshes); };
    form.Check3.Click = [p] { FlagClicked(*p, p->form.Check3, &JobRecord::OptimizeTextures); };
    form.Check4.Click = [p] { FlagClicked(*p, p->form.Check4, &JobRecord::Cutscene); };
    form.Check6.Click = [p] { EngineLayoutClicked(*p); };

    form.Command1.Click = [p] { BuildLevel(*p); };
    form.Command3.Click = [p] {
        if (p->form.CloseRequested) p->form.CloseRequested();
    };
    form.Command4.Click = [p] { PickFile(*p, false, "Browse source TOM/TR4", SourceFilter, p->form.Text1); };
    form.Command5.Click = [p] { PickFile(*p, false, "Browse base level", LevelFilter, p->form.Text2); };
    form.Command6.Click = [p] { PickFile(*p, true, "Browse destination level", LevelFilter, p->form.Text3); };
    form.Command7.Click = [p] { ReadTr4Level(*p, p->form.Text1.Text()); };
    form.Command8.Click = [p] { AddJobClicked(*p); };
    form.Command11.Click = [p] { SaveSettings(*p); };
    form.Command12.Click = [p] {
        p->platform.MessageBox(std::to_string(p->form.l2.ListCount()), "", BoxIcon::None);
    };
    form.Command13.Click = [p] { BuildBat(*p); };
}
