#pragma once
struct Program;
// Copies the source's animated textures section into the new level (passing the base's table
// through temp.anm) and notes where its words stand on channel 3.
void CopyAnimatedTextures(Program& prog);
// Parses the copied table into ranges and adds every id of every range to l2. Called by
// BuildRoomTextureIds.
void RebuildAnimatedTextures(Program& prog);
// Writes the ranges again over the first copy on channel 3, with every id replaced by its new id.
void RewriteAnimatedTextures(Program& prog);
