#pragma once
#include <string>

struct Program;

// Walks a whole TR4 level into memory and reports each section in the log.
void ReadTr4Level(Program& prog, const std::string& path);
