#pragma once
struct Program;
// The object texture stretch behind the animated textures: room texture ids, face remap,
// animated range rewrite and the new object texture table, in the order of each target.
void WriteObjectTextures(Program& prog);
