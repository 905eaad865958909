#pragma once
struct Program;
// Writes Rooms into the new level in the layout of a TR1 to TR3 target.
void WriteRooms(Program& prog);
