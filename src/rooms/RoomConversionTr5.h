#pragma once
#include <cstdint>

struct Program;
struct Room;
struct Tr5Room;

// Builds RoomsTr5 from the source's rooms for a TR5 target and feeds the faces' texture ids
// to l2.
void Tr4ToTr5(Program& prog);

// ExtraByte3 times 100, its decimal digits read as a hexadecimal word: 12 gives 0x1200, 85
// gives 0x8500 (negative); from 100 on the digits do not fit a word and it overflows.
int16_t ExtraHexWordOf(uint8_t extraByte3);
