#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/records/FlybyCamera.h"

struct Program;
// Expands the source's flyby cameras into cinematic frames relative to LaraPosition, filling
// NumCinematicFrames and CinematicFrames. Without cameras it logs why and leaves zero frames.
void BuildCinematicFrames(Program& prog);

// Decodes count flyby camera records of 40 bytes.
std::vector<FlybyCamera> ParseFlybyCameras(const std::vector<uint8_t>& bytes, size_t count);
