#pragma once
// Two conversions in one program folder would share its working files (geometry.tmp, temp.tr2,
// the texture files) and spoil each other's levels. The lock file convert.lock beside the
// program keeps them apart: an unattended run holds it from before it replaces morv.log to its
// end, and a build in the window holds it while it builds.
#include <memory>

#include "core/FileSystem.h"

struct Application;

// Name of the lock file in the program's folder; an empty file that stays there.
constexpr const char* FolderLockName = "convert.lock";

// An unattended run: takes the folder, waiting (and saying so on standard error) while another
// run holds it. Gives the lock, or null where the lock file can't be made (the folder's own
// files will fail to open as well), and the seconds it waited.
std::unique_ptr<FileLock> TakeFolderForRun(Application& prog, double& waitedSeconds);
// A build in the window: takes the folder into `lock` if it is free and returns true. When
// another run holds it, a box and a log line say so and it returns false: the window must not
// freeze waiting. Where no lock file can be made, the build goes on without one.
bool TakeFolderForBuild(Application& prog, std::unique_ptr<FileLock>& lock);
