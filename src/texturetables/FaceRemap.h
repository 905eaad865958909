#pragma once
// Rewrites the texture word of every face already written to the new level with its new id.
#include <cstdint>

struct Program;

// Faces of Rooms (TR1, Gold, TR2 and TR3 targets); RoomFacePositions point at each room's quad
// count word.
void RemapTr23TextureIds(Program& prog);
// Faces of RoomsTr5; RoomFacePositions point at each room's first quad.
void RemapTr5TextureIds(Program& prog);

// The new texture word of a face: the flag bit of the old word goes back on the new id.
// `word` is left holding the id without its flag. The result may not fit 16 bits: the caller
// stores it through checked arithmetic, which raises the overflow.
int32_t RemappedTextureWord(Program& prog, int16_t& word);
