#include "driver/LevelSections.h"

#include "frontend/Program.h"

bool WriteSectionsBehindRooms(Program&) { return true; }
