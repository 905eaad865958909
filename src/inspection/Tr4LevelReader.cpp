#include "inspection/Tr4LevelReader.h"

#include "frontend/Program.h"

void ReadTr4Level(Program&, const std::string&) {}
