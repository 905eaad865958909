#pragma once
// What a user does with the job list beyond adding to it: rename, duplicate and delete the
// selected job, write its batch script, and see and change the level editor's folder. The window
// shows these as the list's context menu (and deletes on the Delete key); nothing here saves:
// "Save settings" writes the changed table in the same layout as ever.
#include <functional>
#include <string>
#include <vector>

struct Application;

// One entry of the job list's menu: its caption (with an access key, and the key that does the
// same behind a tab), whether it can be chosen now, and what it does.
struct JobListAction {
    std::string Caption;
    bool Enabled = true;
    std::function<void()> Run;
};

// The entries, in order: rename, duplicate, delete, the batch script, then the TRLE folder with
// its present path. The first four need a selected job.
std::vector<JobListAction> JobListMenu(Application& prog);

// Asks for a new name, with the present one as the default; a cancelled prompt changes nothing.
void RenameSelectedJob(Application& prog);
// Adds a copy of the selected job at the end of the list, named "... (copy)", and selects it.
void DuplicateSelectedJob(Application& prog);
// Asks first; on yes takes the job out of the list and the table. The job now at its place (or
// the last one) is selected and loaded; with none left the boxes are emptied and greyed.
void DeleteSelectedJob(Application& prog);
// Writes the batch script of the selected job into the TRLE folder; refused while the folder is
// not chosen.
void WriteBatchScript(Application& prog);
// Asks for the TRLE folder and makes it the working folder; a cancelled picker changes nothing.
void ChangeTrleFolder(Application& prog);

// Enables or greys the frames and the box that only a job gives meaning to.
void EnableJobBoxes(Application& prog, bool enabled);
