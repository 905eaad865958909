#pragma once
struct Program;
// Copies the source's animated textures section into the new level.
void CopyAnimatedTextures(Program& prog);
