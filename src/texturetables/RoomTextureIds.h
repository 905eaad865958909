#pragma once
// The room texture id table: which source object textures the rooms and animated ranges use, in
// the text order of their ids, and the new id of each.
#include <cstdint>
#include <string>

struct Program;
struct TextureTablesState;

// Collects the ids of l2 (and of the animated ranges) into RoomTextureIds; new ids start at
// NumBaseObjectTextures.
void BuildRoomTextureIds(Program& prog);

// Row of the first entry whose OldId equals Id; 0 when no row holds it.
int16_t FindRoomTextureId(const TextureTablesState& s, int16_t id);

// Rebuilds the lookup index behind FindRoomTextureId from rows 0 to NumRoomTextureIds - 1.
void IndexRoomTextureIds(TextureTablesState& s);

// Text to number as the controls' values are read: leading blanks skipped, an optional sign,
// digits with at most one decimal point as far as they go; 0 for text without a number.
double ScanTextNumber(const std::string& text);

// Id proper of a texture word whose top bit is set: (w + 65536) xor 32768.
inline int32_t ClearTextureFlag(int32_t w) { return (w + 65536) ^ 32768; }
