#pragma once
// The window lives in a module of its own, loaded by `convert` only when a window can be shown,
// so that unattended runs without a display never load the window toolkit.

// File name of the module; it stands beside the program.
#define CONVERT_WINDOW_MODULE_NAME "convert-window.so"

// The module's entry: runs the program with its window (interactive, or an unattended job on a
// display) and returns the exit status. The program folder is the executable's.
extern "C" int ConvertWindowMain(int argc, char** argv, const char* programFolder);
using ConvertWindowMainFn = int (*)(int argc, char** argv, const char* programFolder);
