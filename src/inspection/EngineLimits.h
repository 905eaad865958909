#pragma once
// What the engines' fixed tables hold, as one table: for each engine generation the largest
// figure of each measure (LevelMeasures.h) that its game takes, and what the game does with a
// level past it. A level can be whole in its layout and still break its game here.
#include <cstdint>
#include <string>
#include <vector>

#include "inspection/LevelMeasures.h"

struct EngineLimit {
    Measure what;
    int64_t most;             // the largest figure the engine takes
    const char* limit;        // what the engine takes, "{}" standing for `most`
    const char* consequence;  // what the game does with a level past it
};

// One engine generation: the level formats its games read, and its limits.
struct EngineLimits {
    const char* engine;
    std::vector<WalkFormat> formats;
    std::vector<EngineLimit> limits;
};

const std::vector<EngineLimits>& EngineLimitTable();

// Short name of the engine that reads a format: "TR1", "Gold", ... ("" for an unknown format).
const char* EngineName(WalkFormat format);

// One line per limit of the format's engine that a measured figure exceeds, in table order, e.g.
// "TR1 engines load at most 32 texture pages; this level has 36: the game stops at start".
std::vector<std::string> ExceededLimitLines(WalkFormat format, const LevelMeasures& measures);

// The line that says a level is within every limit of its engine.
std::string WithinLimitsLine(WalkFormat format);
