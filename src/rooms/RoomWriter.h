#pragma once
#include <cstdint>

struct Program;
struct Room;

// Writes Rooms into the new level in the layout of a TR1 to TR3 target, and records where each
// room's faces stand in RoomFacePositions.
void WriteRooms(Program& prog);

// Size of a room's geometry (NumVertices word through the last sprite) in 16-bit words, in
// checked 16-bit arithmetic; vertexSize is 8 for TR1 and Gold, 12 for TR2 and TR3.
int32_t ComputeNumDataWords(const Room& room, int vertexSize);
