#include "rooms/RoomConversionTr5.h"

#include "frontend/Program.h"

void Tr4ToTr5(Program&) {}
