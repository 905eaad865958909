#include "rooms/RoomWriter.h"

#include "frontend/Program.h"

void WriteRooms(Program&) {}
