// libFuzzer target: a mutated source or base level goes through ConvertLevel for one target,
// with every file in memory.
//
// Input layout:
//   byte 0: bit 0 set: the rest is the base level, converted against the sample source;
//           clear: the rest is the source level, converted against the target's sample base.
//           bits 1 to 3, taken modulo 5, pick the target: TR1, Gold, TR2, TR3, TR5.
//           bit 4 set: that other level comes from the small sample set (two rooms, hardly any
//           tiles: see samples::Shape::Small); clear: from the regular sample set.
//           bit 7 set, for a source: its geometry block is stored inflated (the size word in
//           front of the stream holds the length of the raw bytes), and is deflated here
//           before the conversion. Older inputs use this form; the mutator below reaches the
//           inflated rooms without it.
//   byte 1: options: bit 0 Erase items, bit 1 Erase static meshes, bit 2 Cutscene,
//           bit 3 Convert spot lights and sun, bit 4 the engine layout.
//   the rest: the level file.
//
// A run converts in a file system in memory (fuzz::MemoryPlatform): the two levels stand in
// /levels, read-only as a user's levels may be, the new level goes to /out and the program's
// folder, with its temporary files, is /program. Nothing of a run touches the disk.
//
// The custom mutator inflates a source's geometry block, mutates its structure and deflates it
// again (Tr4Mutator.h); it changes the options byte now and then and leaves byte 0 alone, so
// that the run of one target stays with its target. A base, and a source whose outer layout
// does not walk, gets libFuzzer's plain mutation. The cross-over puts a room or a section of one
// source into another.
//
// Seeds: with CONVERT_FUZZ_SEEDS=DIR the program writes them to DIR/seeds-0 to DIR/seeds-4,
// one folder per target, and ends. They are the small sample source and base (plain and with
// options), and the regular sample source. With CONVERT_FUZZ_SHARED=FOLDER the real levels in
// that folder are added, trimmed: their tiles cut down to a few rows of one tile and the
// source's sound samples dropped, so that they convert fast and mutations reach their rooms.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "../tools/SampleLevels.h"
#include "FuzzSupport.h"
#include "Tr4Mutator.h"
#include "core/Program.h"
#include "driver/ConvertLevel.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace {
using fuzz::Bytes;

struct Target {
    const char* base;       // sample base file name
    const char* extension;  // extension of a fuzzed base, which the target test reads
};
const Target Targets[5] = {{"base-tr1.PHD", ".PHD"}, {"base-gold.TUB", ".TUB"}, {"base-tr2.TR2", ".TR2"},
                           {"base-tr3.TR2", ".TR2"}, {"base-tr5.TRC", ".TRC"}};

constexpr uint8_t FuzzBase = 0x01, SmallSet = 0x10, RawGeometry = 0x80;

std::vector<samples::SampleFile> Regular, Small;

const Bytes& SampleFile(bool small, const std::string& name) {
    for (auto& f : small ? Small : Regular)
        if (f.Name == name) return f.Bytes;
    std::abort();
}

// ---- Seeds ---------------------------------------------------------------------------------

void WriteSeed(const std::filesystem::path& dir, const std::string& name, int head0, int head1, const Bytes& file) {
    if (file.empty()) return;
    Bytes seed {static_cast<uint8_t>(head0), static_cast<uint8_t>(head1)};
    seed.insert(seed.end(), file.begin(), file.end());
    fuzz::WriteDiskFile((dir / name).string(), seed);
}

// A texture block holding the first rows of one tile.
void ShortBlock(Bytes& out, int bytesPerPixel) {
    Bytes raw(static_cast<size_t>(4 * 256 * bytesPerPixel), 0x40);
    Bytes z = samples::Deflate(raw);
    samples::Bytes b;
    b.L(static_cast<long long>(raw.size()));
    b.L(static_cast<long long>(z.size()));
    b.Raw(z);
    out.insert(out.end(), b.b.begin(), b.b.end());
}

// A real TR4 or TR5 level with its three texture blocks cut down to short ones (tile counts:
// one room tile), and, for a source, the sound samples behind the geometry dropped.
Bytes TrimBlockLevel(const Bytes& f, bool source) {
    const size_t geometry = fuzz::GeometryBlockAt(f);
    if (!geometry) return {};
    Bytes out(f.begin(), f.begin() + 10);
    out[4] = 1, out[5] = 0, out[6] = out[7] = out[8] = out[9] = 0;
    ShortBlock(out, 4);
    ShortBlock(out, 2);
    ShortBlock(out, 4);
    if (!source) {
        out.insert(out.end(), f.begin() + static_cast<long>(geometry), f.end());
        return out;
    }
    const size_t end = geometry + 8 + fuzz::Get32(f, geometry + 4);
    out.insert(out.end(), f.begin() + static_cast<long>(geometry), f.begin() + static_cast<long>(end));
    out.insert(out.end(), 4, 0);  // no samples
    return out;
}

// A real TR1, TR2 or TR3 base without its tiles.
Bytes TrimClassicBase(const Bytes& f, bool palettes) {
    const size_t countAt = palettes ? 4 + 768 + 1024 : 4;
    if (f.size() < countAt + 4) return {};
    const uint64_t tiles = fuzz::Get32(f, countAt);
    const uint64_t bytes = tiles * (palettes ? 65536 + 131072 : 65536);
    if (bytes > f.size() - countAt - 4) return {};
    Bytes out(f.begin(), f.begin() + static_cast<long>(countAt + 4));
    fuzz::Put32(out, countAt, 0);
    out.insert(out.end(), f.begin() + static_cast<long>(countAt + 4 + bytes), f.end());
    return out;
}

void MakeSeeds(const std::filesystem::path& dir, const char* shared) {
    const Bytes& smallSource = SampleFile(true, samples::SampleSourceName);
    const char* sharedBases[5] = {"base-tr1.PHD", "base-gold.TUB", "base-tr2.TR2", "base-tr3.TR2", "base-tr5.TRC"};
    Bytes sharedSource;
    if (shared) sharedSource = TrimBlockLevel(fuzz::ReadDiskFile(std::string(shared) + "/source-tr4.TR4"), true);
    for (int t = 0; t < 5; ++t) {
        auto d = dir / ("seeds-" + std::to_string(t));
        std::filesystem::create_directories(d);
        const int source = (t << 1) | SmallSet, base = (t << 1) | FuzzBase | SmallSet;
        WriteSeed(d, "small-source", source, 0, smallSource);
        WriteSeed(d, "small-source-options", source, 0x1F, smallSource);
        WriteSeed(d, "small-source-erase-items", source, 0x01, smallSource);
        WriteSeed(d, "small-base", base, 0, SampleFile(true, Targets[t].base));
        WriteSeed(d, "small-base-cutscene", base, 0x04, SampleFile(true, Targets[t].base));
        WriteSeed(d, "small-base-engine", base, 0x14, SampleFile(true, Targets[t].base));
        WriteSeed(d, "sample-source", source, 0, SampleFile(false, samples::SampleSourceName));
        if (shared) {
            WriteSeed(d, "shared-source", source, 0, sharedSource);
            const Bytes real = fuzz::ReadDiskFile(std::string(shared) + "/" + sharedBases[t]);
            WriteSeed(d, "shared-base", base, 0, t == 4 ? TrimBlockLevel(real, false) : TrimClassicBase(real, t >= 2));
        }
    }
}
}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Regular = samples::MakeSampleSet();
    Small = samples::MakeSmallSampleSet();
    fuzz::MakeSeedsIfAsked(MakeSeeds);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const bool fuzzBase = data[0] & FuzzBase;
    const bool small = data[0] & SmallSet;
    const Target& target = Targets[((data[0] >> 1) & 7) % 5];
    const bool rawGeometry = !fuzzBase && (data[0] & RawGeometry);
    const uint8_t options = data[1];

    fuzz::AllocationLimit limit;
    fuzz::MemoryPlatform platform;
    Bytes input(data + 2, data + size);
    if (rawGeometry) input = fuzz::DeflateGeometry(input, 1);
    const std::string inputPath = std::string("/levels/input") + (fuzzBase ? target.extension : ".TR4");
    const std::string otherPath = std::string("/levels/") + (fuzzBase ? samples::SampleSourceName : target.base);
    platform.fs.Put(inputPath, std::move(input), true);
    platform.fs.Put(otherPath, SampleFile(small, fuzzBase ? samples::SampleSourceName : target.base), true);
    platform.fs.MakeFolder("/program");
    platform.fs.MakeFolder("/out");

    Program prog(platform, "/program");
    prog.form.Text4.SetText("7");
    prog.form.Check1.SetValue(options & 1);
    prog.form.Check2.SetValue((options >> 1) & 1);
    prog.form.Check4.SetValue((options >> 2) & 1);
    prog.form.Check5.SetValue((options >> 3) & 1);
    prog.form.Check6.SetValue((options >> 4) & 1);
    ConvertLevel(prog, fuzzBase ? otherPath : inputPath, fuzzBase ? inputPath : otherPath,
                 std::string("/out/new") + target.extension);
    prog.channels.CloseAllChannels();
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned int seed) {
    std::minstd_rand rng(seed);
    if (size < 2 || maxSize < 2) return LLVMFuzzerMutate(data, size, maxSize);
    if (rng() % 16 == 0) {
        data[1] ^= static_cast<uint8_t>(1u << (rng() % 5));
        return size;
    }
    Bytes level(data + 2, data + size);
    const bool source = !(data[0] & FuzzBase);
    if (!source || rng() % 8 == 0 || !fuzz::MutateTr4Level(level, maxSize - 2, data[0] & RawGeometry, rng))
        fuzz::PlainMutate(level, maxSize - 2);
    std::copy(level.begin(), level.end(), data + 2);
    return level.size() + 2;
}

extern "C" size_t LLVMFuzzerCustomCrossOver(const uint8_t* a, size_t sizeA, const uint8_t* b, size_t sizeB,
                                            uint8_t* out, size_t maxOut, unsigned int seed) {
    std::minstd_rand rng(seed);
    if (sizeA < 2 || sizeB < 2 || maxOut < 2) return 0;
    const bool sources = !(a[0] & FuzzBase) && !(b[0] & FuzzBase) && (a[0] & RawGeometry) == (b[0] & RawGeometry);
    Bytes mixed;
    if (sources && fuzz::CrossOverTr4Levels(Bytes(a + 2, a + sizeA), Bytes(b + 2, b + sizeB), mixed, maxOut - 2,
                                            a[0] & RawGeometry, rng)) {
        out[0] = a[0];
        out[1] = a[1];
        std::copy(mixed.begin(), mixed.end(), out + 2);
        return mixed.size() + 2;
    }
    // Otherwise the front of one and the back of the other.
    const size_t cut = 2 + rng() % (sizeA - 1);
    const size_t from = 2 + rng() % (sizeB - 1);
    size_t n = std::min(cut, maxOut);
    std::copy(a, a + n, out);
    const size_t tail = std::min(sizeB - from, maxOut - n);
    std::copy(b + from, b + from + tail, out + n);
    return n + tail;
}
