#pragma once
struct Program;
// Expands the source's flyby cameras into cinematic frames relative to LaraPosition, filling
// NumCinematicFrames and CinematicFrames. Without cameras it logs why and leaves zero frames.
void BuildCinematicFrames(Program& prog);
