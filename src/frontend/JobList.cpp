#include "frontend/JobList.h"

#include "frontend/Application.h"
#include "frontend/ExternalTools.h"
#include "frontend/Handlers.h"
#include "frontend/Settings.h"

namespace {
// The selected job's index, or -1.
int Selected(Application& prog) { return CurrentJob(prog) ? prog.form.ll.ListIndex() : -1; }
}  // namespace

void EnableJobBoxes(Application& prog, bool enabled) {
    Form1& form = prog.form;
    form.Frame1.SetEnabled(enabled);
    form.Frame2.SetEnabled(enabled);
    form.Frame3.SetEnabled(enabled);
    form.Check6.SetEnabled(enabled);  // stands outside the frames, greyed with them
}

std::vector<JobListAction> JobListMenu(Application& prog) {
    const bool job = Selected(prog) >= 0;
    const std::string folder = prog.front.TrleFolder.Text();
    Application* p = &prog;
    return {
        {"&Rename...", job, [p] { RenameSelectedJob(*p); }},
        {"D&uplicate", job, [p] { DuplicateSelectedJob(*p); }},
        {"&Delete...\tDel", job, [p] { DeleteSelectedJob(*p); }},
        {"Write &batch script...", job, [p] { WriteBatchScript(*p); }},
        {"&TRLE folder: " + (folder.empty() ? std::string("(none)") : folder) + "...", true,
         [p] { ChangeTrleFolder(*p); }},
    };
}

void RenameSelectedJob(Application& prog) {
    const int index = Selected(prog);
    if (index < 0) return;
    JobRecord& job = prog.front.Jobs[static_cast<size_t>(index)];
    std::optional<std::string> name = prog.platform.InputBox("Insert level name:", "Level name", job.JobName.Text());
    if (!name) return;
    job.JobName.Assign(*name);
    prog.form.ll.SetItem(index, job.JobName.Text());
}

void DuplicateSelectedJob(Application& prog) {
    const int index = Selected(prog);
    if (index < 0) return;
    const JobRecord copy = prog.front.Jobs[static_cast<size_t>(index)];
    if (!AddJob(prog, AsStored(copy.JobName.Text() + " (copy)"))) return;  // a full list says so
    JobRecord& added = prog.front.Jobs.back();
    const TextField name = added.JobName;
    added = copy;
    added.JobName = name;
    prog.form.ll.SetListIndex(prog.form.ll.ListCount() - 1);
}

void DeleteSelectedJob(Application& prog) {
    const int index = Selected(prog);
    if (index < 0) return;
    FrontendState& f = prog.front;
    ListBox& ll = prog.form.ll;
    const std::string name = f.Jobs[static_cast<size_t>(index)].JobName.Text();
    const bool last = index == ll.ListCount() - 1;
    if (!prog.platform.AskYesNo("Delete the level '" + name + "' from the list?" +
                                    (last ? "" : " The levels below it move up one place, so a batch script that "
                                                 "runs one of them by its number must be written again."),
                                "Delete level"))
        return;
    f.Jobs.erase(f.Jobs.begin() + index);
    f.NumJobs = static_cast<uint8_t>(f.Jobs.size());
    ll.RemoveItem(index);
    if (ll.ListCount() > 0) {
        ll.SetListIndex(std::min(index, ll.ListCount() - 1));
        return;
    }
    // No job left: the window is as at a start without jobs (with nothing selected the boxes
    // store nothing).
    ll.SetListIndex(-1);
    prog.form.Text1.SetText("");
    prog.form.Text2.SetText("");
    prog.form.Text3.SetText("");
    EnableJobBoxes(prog, false);
}

void WriteBatchScript(Application& prog) {
    if (Selected(prog) < 0) return;
    if (prog.front.TrleFolder.Text().empty()) {
        prog.platform.MessageBox("Choose the TRLE folder first: the batch script is written there.", "",
                                 BoxIcon::Exclamation);
        return;
    }
    BuildBat(prog);
}

void ChangeTrleFolder(Application& prog) {
    if (AskForTrleFolder(prog)) prog.platform.ChangeDirectory(prog.front.TrleFolder.Text());
}
