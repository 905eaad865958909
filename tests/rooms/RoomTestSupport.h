#pragma once
// Shared pieces of the room tests: a program that converts levels written into its folder.
#include "driver/ConvertLevel.h"
#include "core/records/Room.h"
#include "support/LevelBuilder.h"
#include "inspection/LevelWalker.h"
#include "support/PackedBlocks.h"
#include "support/ProgramFixture.h"

struct RoomsFixture : ProgramFixture {
    // Room tests stop the conversion behind the room writer; whole-level tests run it to its end.
    ConversionStop stop = ConversionStop::AfterRooms;
    // Runs a conversion of two levels written into the folder and returns the new level.
    std::vector<uint8_t> Convert(const std::vector<uint8_t>& source, const std::vector<uint8_t>& base,
                                 const std::string& baseName) {
        WriteFileBytes(dir / "src.tr4", source);
        WriteFileBytes(dir / baseName, base);
        return ConvertFiles(dir / "src.tr4", dir / baseName, dir / ("new-" + baseName));
    }
    std::vector<uint8_t> ConvertFiles(const std::string& source, const std::string& base,
                                      const std::string& out) {
        ConvertLevel(prog, source, base, out, stop);
        prog.channels.FlushAll();
        return ReadFileBytes(out);
    }
};
