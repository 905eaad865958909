#pragma once
// A program that converts levels written into its folder, stopping behind the room writer.
#include "driver/ConvertLevel.h"
#include "support/LevelBuilder.h"
#include "support/PackedBlocks.h"
#include "support/ProgramFixture.h"

struct RoomsFixture : ProgramFixture {
    // Converts two levels written into the folder and returns the new level.
    std::vector<uint8_t> Convert(const std::vector<uint8_t>& source, const std::vector<uint8_t>& base,
                                 const std::string& baseName) {
        WriteFileBytes(dir / "src.tr4", source);
        WriteFileBytes(dir / baseName, base);
        ConvertLevel(prog, dir / "src.tr4", dir / baseName, dir / ("new-" + baseName), ConversionStop::AfterRooms);
        prog.channels.FlushAll();
        return ReadFileBytes(dir / ("new-" + baseName));
    }
};
