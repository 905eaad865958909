#pragma once
#include <string>

// The 8-bit room tiles of a TR1 level made with the engine layout: for the shared source and for
// sources whose room tiles are the real 16-bit tiles of the shared TR2 and TR3 bases, how close
// the level's tiles come to the source's and the base's, against mapping into the base's palette,
// and what the option costs in time. Prints a table; returns false when a goal is missed.
bool RunPaletteBench(const std::string& levels, const std::string& work, int runs);
