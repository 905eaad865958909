#include "rooms/RoomWriterTr5.h"

#include "frontend/Program.h"

bool StepOverBaseRoomsTr5(Program&) { return true; }
void WriteRoomsTr5(Program&) {}
