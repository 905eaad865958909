#include "rooms/RoomReader.h"

#include "frontend/Program.h"

void ReadRooms(Program&) {}
