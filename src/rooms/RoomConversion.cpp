#include "rooms/RoomConversion.h"

#include "frontend/Program.h"

void Tr4ToTr1(Program&) {}
void Tr4ToTr2(Program&) {}
void Tr4ToTr3(Program&) {}
