#pragma once
// Values of the conversion driver that live across stages.
#include <cstdint>
#include <string>

struct DriverState {
    // Target format: 1 TR1, 2 Gold, 3 TR2, 4 TR3, 6 TR5 (0 before the first conversion).
    int NewLevelVersion = 0;
    // Base level's version word, as read.
    int32_t BaseVersionWord = 0;
    // Path of the new level, for the stages that close channel 3 and open the level again.
    std::string NewLevelPath;
    // Time of day when the running conversion started, in seconds.
    double StartTime = 0;
};
