#pragma once
// The figures of a walked level that the engines' fixed tables care about: how many texture
// pages, object textures, items and so on it holds, and the largest of what one room or mesh
// holds. They are read from the sections and rooms the walk found, never outside them, so a
// walk that stopped early still gives the figures of what it read.
#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "inspection/LevelWalker.h"

enum class Measure {
    Tiles,             // texture pages (TR1 to TR3 layouts)
    ObjectTextures,
    SpriteTextures,
    Rooms,
    Vertices,          // the most in one room or (TR1 to TR3) one mesh
    Items,
    Cameras,
    StaticMeshIds,     // the largest id of the StaticMeshes table and of the rooms' static meshes
    FloorPortalRooms,  // the largest room a portal with a vertical normal leads to
    FloorDataWords,
};
constexpr size_t MeasureCount = static_cast<size_t>(Measure::FloorDataWords) + 1;

struct Figure {
    int64_t value = -1;  // -1: not measured, the walk did not get that far
    std::string where;   // what holds the figure ("room 12", "mesh 3"); empty for the level as a whole
    bool Measured() const { return value >= 0; }
};

struct LevelMeasures {
    std::array<Figure, MeasureCount> figures;
    const Figure& operator[](Measure m) const { return figures[static_cast<size_t>(m)]; }
    Figure& operator[](Measure m) { return figures[static_cast<size_t>(m)]; }
};

// `file` is the file that was walked into `level`.
LevelMeasures MeasureLevel(const WalkedLevel& level, std::span<const uint8_t> file) noexcept;
