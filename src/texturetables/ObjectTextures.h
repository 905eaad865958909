#pragma once
#include <cstdint>
#include <string>

struct Program;
// The object texture stretch behind the animated textures: room texture ids, face remap,
// animated range rewrite and the new object texture table, in the order of each target. For
// TR1, Gold and TR2 it completes the early table and joins temp.tr2 back into the new level.
void WriteObjectTextures(Program& prog);

// One record per row of RoomTextureIds, in the target's form, at the current position of
// channel 3. Negative OldId values become plain ids on the way.
void WriteRoomObjectTextures(Program& prog);

// The UV byte of a TR5 level's object texture head, from the text of Text4.
uint8_t UvByteFromText(const std::string& text);
