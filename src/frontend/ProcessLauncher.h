#pragma once
#include <string>
#include <vector>

// Splits a command line into words: blanks separate, double quotes group.
std::vector<std::string> SplitCommandLine(const std::string& commandLine);
// Starts the program of a command line in a folder, optionally waiting for it to end. A program
// whose name ends in ".exe" is started through wine where the system is not Windows and wine is
// installed. Returns false when nothing could be started.
bool LaunchProgram(const std::string& commandLine, const std::string& workingFolder, bool wait);
// Why LaunchProgram would not start the program of a command line, in plain words that name it:
// it is missing, wine is needed and not installed, it is not executable, ...
std::string LaunchProblem(const std::string& commandLine);
