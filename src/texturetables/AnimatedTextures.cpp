#include "texturetables/AnimatedTextures.h"

#include "frontend/Program.h"

void CopyAnimatedTextures(Program&) {}
