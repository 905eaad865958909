#pragma once
struct Program;
// Every section behind the rooms, in file order, up to the end of the new level. False when a
// check refused the input and the conversion ends without its closing steps.
bool WriteSectionsBehindRooms(Program& prog);

// The chain from the floor data to the sound sources: place from the source, game objects
// from the base. For TR1, Gold and TR2 targets it also writes the base's object textures and
// moves channel 3 over to temp.tr2 behind them.
void CopyLevelSections(Program& prog);
