#pragma once
#include <array>
#include <cstdint>

struct Program;

// Convert the rooms in Rooms in place for a TR1 or Gold, TR2 or TR3 target.
void Tr4ToTr1(Program& prog);
void Tr4ToTr2(Program& prog);
void Tr4ToTr3(Program& prog);

// Splits a 5-5-5 colour word into 0, the bits 10-14, the bits 5-9 and the bits 0-4.
std::array<uint8_t, 4> UnpackColor555(int16_t word);
// The box index of a TR4 sector word: 0x7FF6 means no box (-1), otherwise bits 4 to 14.
int16_t UnpackBoxIndex(int16_t word);
