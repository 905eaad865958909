#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

// One camera state of a TR1 to TR3 cinematic, relative to Lara's position (16 bytes).
struct CinematicFrame {
    int16_t FrameBX = 0, FrameBY = 0, FrameBZ = 0;  // second point
    int16_t FrameAX = 0, FrameAY = 0, FrameAZ = 0;  // first point
    uint16_t FrameWord = 0;
    int16_t FrameZero = 0;
};
constexpr size_t CinematicFrameSize = 16;

struct CinematicsState {
    // Frames built from the source's flyby cameras, written in place of the base's table.
    int16_t NumCinematicFrames = 0;
    std::vector<CinematicFrame> CinematicFrames;
};
