#pragma once
// The line of our own that stands behind a run-time error's line: it names the file the error
// met (a level by its role, or a working file) with its path, the stage that was running, the
// offset of the read the error followed, and what the error likely means.
#include <cstddef>
#include <string>

#include "core/Errors.h"

struct Program;

// The three levels of a run by their paths, so that a note can name the one an error met.
struct LevelPaths {
    std::string Source, Base, New;
};

// The last line the run logged itself (lines beginning "Note: " are ours and don't count), among
// those from index firstLine of the log list on; empty when there is none.
std::string RunStage(const Program& prog, size_t firstLine);

// "Note: ..." for an error of the running stage, or empty text where the error's description is
// already one of our own words. Call it before the channels are closed.
std::string RunTimeErrorNote(Program& prog, const RuntimeError& error, const LevelPaths& levels,
                             const std::string& stage);

// The folder part of a path ("" without one).
std::string FolderOfPath(const std::string& path);
