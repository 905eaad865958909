#pragma once
struct Program;
// Converts the rooms in Rooms in place for a TR1 or Gold, TR2 or TR3 target.
void Tr4ToTr1(Program& prog);
void Tr4ToTr2(Program& prog);
void Tr4ToTr3(Program& prog);
