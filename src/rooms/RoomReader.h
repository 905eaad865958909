#pragma once
struct Program;
// Inflates the source's geometry block into geometry.tmp (channel 1 from then on), reads its
// rooms into Rooms, and for TR1 to TR3 targets reads past the base's rooms.
void ReadRooms(Program& prog);
