#pragma once
#include <cstdint>
#include <vector>

#include "core/records/FlybyCamera.h"

// Values of the copied level sections (floor data to items and the file tail).
struct SectionsState {
    // Base level's object texture count (TR1, Gold and TR2 targets read it with the sections).
    int32_t NumBaseObjectTextures = 0;
    // Position of the object texture count word, and the first byte behind the base's object
    // textures, in the new level (TR1, Gold and TR2).
    int32_t ObjectTexturesCountPos = 0;
    int32_t ObjectTexturesEndPos = 0;
    // Where the count words of MeshData and MeshPointers stand in the new level.
    int64_t MeshDataPos = 0;
    int64_t MeshPointersPos = 0;
    // The source's flyby cameras: count, and for targets without such a section the records.
    int32_t NumFlybyCameras = 0;
    std::vector<FlybyCamera> FlybyCameras;
    // Box counts of the source and of the base (the base's zones are passed by after the
    // source's tables, so its count is kept apart).
    int32_t NumBoxes = 0;
    int32_t BaseNumBoxes = 0;
    // X, Y, Z of the item with ObjectId 0; lives on from one conversion to the next.
    LaraPoint LaraPosition;
    // Gold target with the engine layout: whether the base keeps its palette behind the colour
    // map, as TR1 does; where it does not, the palette read behind its sprite sequences.
    bool BasePaletteBehindColourMap = false;
    std::vector<uint8_t> BasePalette;
    // End of the new level's geometry part (TR5 target), before the samples are appended.
    int32_t LevelEndPos = 0;
};
