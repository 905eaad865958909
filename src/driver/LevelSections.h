#pragma once
struct Program;
// Every section behind the rooms, in file order, up to the end of the new level. False when a
// check refused the input and the conversion ends without its closing steps.
bool WriteSectionsBehindRooms(Program& prog);
