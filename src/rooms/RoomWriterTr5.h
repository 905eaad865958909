#pragma once
struct Program;
// Steps over the base's TR5 rooms and writes the flags; false when the base is refused (the
// conversion then ends with the channels left open).
bool StepOverBaseRoomsTr5(Program& prog);
// Writes RoomsTr5 into the new level.
void WriteRoomsTr5(Program& prog);
