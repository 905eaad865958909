#pragma once
// What the fuzz programs share: the platform of a run, whose files live in memory, and the
// limits that keep corrupt counts from filling the machine.
//
// The machine a run sees is small on purpose. A single allocation above FuzzAllocationLimit
// fails (the program reports "Out of memory"), and no file may grow past FuzzFileLimit (a write
// beyond it fails as a device error, as a process file size limit makes it fail on the disk).
// Corrupt counts may legitimately ask for up to 512 MiB per section; without these limits such
// inputs would fill the memory budget of the run instead of testing the code. 4 MiB is twice
// the largest new level that any seed makes (2.1 MB, a real TR1 base); the runs that a larger
// limit would let through only move more zeros, and slowed the fuzzing by a tenth.
//
// The fuzz programs build the program's own deflate so that it stores its data without
// compressing it (level 0; see fuzz/CMakeLists.txt). A TR5 conversion deflates at least one
// tile of 256 KiB and one of 128 KiB, which at the default level takes longer than a whole
// conversion of a small level. The streams stay real zlib streams and every reader of them
// runs as it does with compressed ones.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "../tools/QuietPlatform.h"
#include "core/MemoryFileSystem.h"

namespace fuzz {

using Bytes = std::vector<uint8_t>;

constexpr size_t FuzzAllocationLimit = 4u << 20;
constexpr size_t FuzzFileLimit = 4u << 20;

// While one of these lives (a run of the target), an allocation above FuzzAllocationLimit
// fails; libFuzzer's own allocations outside a run are not limited.
struct AllocationLimit {
    AllocationLimit() { active = true; }
    ~AllocationLimit() { active = false; }
    static inline bool active = false;
};

// A quiet platform whose files live in memory, with the file limit set.
class MemoryPlatform : public QuietPlatform {
public:
    MemoryPlatform() { fs.SetFileLimit(FuzzFileLimit); }
    MemoryFileSystem fs;
    FileSystem& Files() override { return fs; }
    std::string TimeText(double) override { return "00:00:00"; }
};

// A fuzz program started with CONVERT_FUZZ_SEEDS set only writes its seeds into that folder
// (with the real levels of the folder CONVERT_FUZZ_SHARED names, if set) and ends.
template <class MakeSeeds>
void MakeSeedsIfAsked(MakeSeeds make) {
    if (const char* seeds = std::getenv("CONVERT_FUZZ_SEEDS")) {
        make(seeds, std::getenv("CONVERT_FUZZ_SHARED"));
        std::exit(0);
    }
}

std::vector<uint8_t> ReadDiskFile(const std::string& path);
void WriteDiskFile(const std::string& path, const std::vector<uint8_t>& bytes);

}  // namespace fuzz
