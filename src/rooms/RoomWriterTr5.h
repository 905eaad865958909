#pragma once
#include <cstdint>
#include <vector>

struct Program;
struct Tr5Room;
struct Tr5Quad;
struct Tr5Triangle;

// Steps over the base's TR5 rooms and writes the flags; false when the base is refused (the
// conversion then ends with the channels left open).
bool StepOverBaseRoomsTr5(Program& prog);
// Writes RoomsTr5 into the new level, filling each room's offset fields by seeking back.
void WriteRoomsTr5(Program& prog);

// The packed file forms of the records, appended to a byte buffer.
void AppendTr5RoomHeader(std::vector<uint8_t>& out, const Tr5Room& room);  // 216 bytes
void AppendTr5Quad(std::vector<uint8_t>& out, const Tr5Quad& quad);         // 12 bytes
void AppendTr5Triangle(std::vector<uint8_t>& out, const Tr5Triangle& tri);  // 10 bytes
