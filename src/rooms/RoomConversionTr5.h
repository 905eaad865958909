#pragma once
struct Program;
// Builds RoomsTr5 from the source's rooms for a TR5 target.
void Tr4ToTr5(Program& prog);
