#include "texturetables/ObjectTextures.h"

#include "frontend/Program.h"

void WriteObjectTextures(Program&) {}
