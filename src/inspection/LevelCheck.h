#pragma once
// The check of a level before a game is started on it: its format from the version word (and the
// name where the word is shared), then a walk in the layout that format's engine reads.
#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>

#include "inspection/LevelWalker.h"

// The format a level's first four bytes and its name tell. The TR4 word is a TR5 level under a
// name ending in TRC and a TR4 source otherwise; the TR1 word is Gold under a name ending in TUB.
WalkFormat LevelFormatOf(std::span<const uint8_t> file, const std::string& name);

// Plain name of a format, for people.
const char* FormatName(WalkFormat format);

// Walks the level in its engine's layout. A file of no known format comes back with a problem.
WalkedLevel CheckLevel(std::span<const uint8_t> file, const std::string& name) noexcept;

// The command "convert --check LEVEL": reads the file, prints one line per section (name, offset,
// count, size), whether the file ends where its last section ends, and one line per engine limit
// that the level exceeds (or one line that it exceeds none) to `out`, and the first problem to
// `err`. Exit status: 0 whole and consistent, 1 the level has a problem, 2 the file could not be
// read (or no single path was given: an empty path), 3 whole but over a limit of its engine.
int RunLevelCheck(const std::string& path, std::ostream& out, std::ostream& err) noexcept;

constexpr int CheckWhole = 0, CheckProblem = 1, CheckUnreadable = 2, CheckOverLimit = 3;
