#pragma once
#include <cstdint>
#include <vector>

// Values of the copied level sections (floor data to items and the file tail).
struct SectionsState {
    // Base level's object texture count (TR1, Gold and TR2 targets read it with the sections).
    int32_t NumBaseObjectTextures = 0;
    // Position of the object texture count word, and the first byte behind the base's object
    // textures, in the new level (TR1, Gold and TR2).
    int32_t ObjectTexturesCountPos = 0;
    int32_t ObjectTexturesEndPos = 0;
    // The source's flyby cameras: count and 40-byte records.
    int32_t NumFlybyCameras = 0;
    std::vector<uint8_t> FlybyCameras;
    // X, Y, Z of the item with ObjectId 0; lives on from one conversion to the next.
    int32_t LaraPosition[3] = {0, 0, 0};
};
