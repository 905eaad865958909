#pragma once
// The check of a level before a game is started on it: its format from the version word (and the
// name where the word is shared), then a walk in the layout that format's engine reads.
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <span>
#include <string>

#include "inspection/LevelWalker.h"

// The format a level's first four bytes and its name tell. The TR4 word is a TR5 level under a
// name ending in TRC and a TR4 source otherwise; the TR1 word is Gold under a name ending in TUB.
WalkFormat LevelFormatOf(std::span<const uint8_t> file, const std::string& name);

// Plain name of a format, for people.
const char* FormatName(WalkFormat format);

// Where a Gold level keeps its 768-byte palette: behind the sprite sequences (the layout of the
// TR1 demo levels) or behind the colour map, where TR1 keeps it (the layout of the released Gold
// levels, which the engines that play Gold levels read).
enum class GoldLayout { Neither, PaletteBehindSpriteSequences, PaletteBehindColourMap };

// Walks a Gold level in both layouts: the one that reads through to the file's end. Neither
// when no walk does (or, were that ever so, both).
GoldLayout GoldLayoutOf(std::span<const uint8_t> file) noexcept;

// Walks the level in its engine's layout. A file of no known format comes back with a problem.
// Where the walk fails, the other reading of the same version word is tried: a Gold level in
// the other layout (whole: accepted), a TR5 level under a name that is not .TRC or a TR4 level
// under one that is (read as such, with a problem that says how to name it).
WalkedLevel CheckLevel(std::span<const uint8_t> file, const std::string& name) noexcept;

// The command "convert --check LEVEL": reads the file, prints one line per section (name, offset,
// count, size), whether the file ends where its last section ends, and one line per engine limit
// that the level exceeds (or one line that it exceeds none) to `out`, and the first problem to
// `err`. With `tilesPath`, it also writes the level's texture pages as a PNG picture there
// (TexturePages.h). Exit status: 0 whole and within its engine's limits, 1 the level has a
// problem, 2 the file could not be read (or no single path was given: an empty path), or the
// picture could not be drawn or written, 3 whole but over a limit of its engine.
int RunLevelCheck(const std::string& path, std::ostream& out, std::ostream& err,
                  const std::optional<std::string>& tilesPath = std::nullopt) noexcept;

constexpr int CheckWhole = 0, CheckProblem = 1, CheckUnreadable = 2, CheckOverLimit = 3;
