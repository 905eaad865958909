// libFuzzer target: the TR4 level reader ("Extract WAD") walks a mutated level, in a file system
// in memory.
//
// Input layout: the whole input is the level, /levels/input.TR4 (read-only, as a user's level
// may be); the reader's working file goes to its private folder in memory.
//
// The custom mutator is the conversion's (Tr4Mutator.h): it inflates the geometry block,
// mutates its structure and deflates it again; the cross-over puts a room or a section of one
// level into another.
//
// Seeds: with CONVERT_FUZZ_SEEDS=DIR the program writes them to DIR/seeds-reader and ends: the
// small and the regular sample source, the small one with the other accepted version word, and
// with CONVERT_FUZZ_SHARED=FOLDER the real source of that folder with its tiles cut down.
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "../tools/SampleLevels.h"
#include "FuzzSupport.h"
#include "Tr4Mutator.h"
#include "core/Program.h"
#include "inspection/Tr4LevelReader.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace {
using fuzz::Bytes;

// A real level with its texture blocks cut to a few bytes each and its sound samples dropped.
Bytes TrimSource(const Bytes& f) {
    const size_t geometry = fuzz::GeometryBlockAt(f);
    if (!geometry) return {};
    Bytes out(f.begin(), f.begin() + 10);
    const Bytes empty = samples::Deflate({});
    for (int i = 0; i < 3; ++i) {
        out.insert(out.end(), 4, 0);
        samples::Bytes size;
        size.L(static_cast<long long>(empty.size()));
        out.insert(out.end(), size.b.begin(), size.b.end());
        out.insert(out.end(), empty.begin(), empty.end());
    }
    const size_t end = geometry + 8 + fuzz::Get32(f, geometry + 4);
    out.insert(out.end(), f.begin() + static_cast<long>(geometry), f.begin() + static_cast<long>(end));
    out.insert(out.end(), 4, 0);
    return out;
}

void MakeSeeds(const std::filesystem::path& dir, const char* shared) {
    const auto d = dir / "seeds-reader";
    std::filesystem::create_directories(d);
    auto write = [&](const char* name, const Bytes& bytes) {
        if (!bytes.empty()) fuzz::WriteDiskFile((d / name).string(), bytes);
    };
    Bytes small = samples::MakeSourceTr4(samples::Shape::Small());
    write("small-source", small);
    write("sample-source", samples::MakeSourceTr4());
    fuzz::Put32(small, 0, 0xFFFFFFF0);
    write("small-source-other-version", small);
    if (shared) write("shared-source", TrimSource(fuzz::ReadDiskFile(std::string(shared) + "/source-tr4.TR4")));
}
}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::MakeSeedsIfAsked(MakeSeeds);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::AllocationLimit limit;
    fuzz::MemoryPlatform platform;
    platform.fs.Put("/levels/input.TR4", Bytes(data, data + size), true);
    platform.fs.MakeFolder("/program");
    Program prog(platform, "/program");
    ReadTr4Level(prog, "/levels/input.TR4");
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned int seed) {
    std::minstd_rand rng(seed);
    Bytes level(data, data + size);
    if (rng() % 8 == 0 || !fuzz::MutateTr4Level(level, maxSize, false, rng)) return LLVMFuzzerMutate(data, size, maxSize);
    std::copy(level.begin(), level.end(), data);
    return level.size();
}

extern "C" size_t LLVMFuzzerCustomCrossOver(const uint8_t* a, size_t sizeA, const uint8_t* b, size_t sizeB,
                                            uint8_t* out, size_t maxOut, unsigned int seed) {
    std::minstd_rand rng(seed);
    Bytes mixed;
    if (!fuzz::CrossOverTr4Levels(Bytes(a, a + sizeA), Bytes(b, b + sizeB), mixed, maxOut, false, rng)) return 0;
    std::copy(mixed.begin(), mixed.end(), out);
    return mixed.size();
}
