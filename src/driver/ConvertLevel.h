#pragma once
#include <string>

struct Program;

// Turns a TR4 source level and a base level of the target generation into a new level.
// Everything goes to the log and message boxes; a run-time error anywhere below ends in the one
// error path here. The way out (completed, input refused, run-time error) is left in
// state.Outcome for the command line to report.
// Where a conversion ends: normally at its end; the rooms' own tests stop it behind the room
// writer, with the channels left open as a refused input leaves them.
enum class ConversionStop { AtEnd, AfterRooms };

void ConvertLevel(Program& prog, const std::string& sourcePath, const std::string& basePath,
                  const std::string& newPath, ConversionStop stop = ConversionStop::AtEnd);

// Version word of a TR4 level: the bytes "TR4" and a zero byte.
constexpr int32_t Tr4VersionWord = 0x00345254;

// Target from the base's version word and path (extension test on the last three characters).
// Returns 0 for a TR4 base that is no TRC, -1 for an unknown word.
int TargetFromBaseVersion(int32_t versionWord, const std::string& basePath);
