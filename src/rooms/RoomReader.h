#pragma once
#include "core/records/Room.h"

class Channels;
struct Program;

// Inflates the source's geometry block into geometry.tmp (channel 1 from then on), reads its
// rooms into Rooms, and for TR1 to TR3 targets reads past the base's rooms.
void ReadRooms(Program& prog);

// Reads one room in a layout from a channel, field by field; a negative count or a sector grid
// beyond 32767 entries is a run-time error.
void ReadRoom(Channels& ch, int channel, Room& room, RoomLayout layout);
