#include "driver/TextureSections.h"

#include "frontend/Program.h"

void CopyTextureSections(Program&) {}
