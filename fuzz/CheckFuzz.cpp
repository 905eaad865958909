// libFuzzer target: the level check ("convert --check") on a mutated level of any format.
//
// Input layout:
//   byte 0: taken modulo 6, the name the level goes by, which decides the format where the
//           version word is shared: level.TR4, level.PHD, level.TUB, level.TR2, level.TRC,
//           level.DAT.
//   the rest: the level file.
//
// The check, with the engine limits it measures, works on bytes in memory and must neither crash
// nor read outside the file nor allocate from a count beyond what the file holds, whatever the
// bytes. A walk that fails is tried in the other layout of its version word (Gold's two palette
// places, TR4 and TR5 under each other's names). The picture of the texture pages is drawn too,
// for inputs small enough to keep the runs fast. With byte 0 naming a TR4
// source the custom mutator is the conversion's (Tr4Mutator.h), which inflates the geometry
// block, mutates its structure and deflates it again; other levels get libFuzzer's plain
// mutation.
//
// Seeds: with CONVERT_FUZZ_SEEDS=DIR the program writes them to DIR/seeds-check and ends: the
// small and the regular sample levels, and the new levels that the small set converts to for
// every target (in memory). With CONVERT_FUZZ_SHARED=FOLDER the real levels of that folder are
// added as they are.
#include <zlib.h>

#include <algorithm>
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
#include "inspection/EngineLimits.h"
#include "inspection/LevelCheck.h"
#include "inspection/TexturePages.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace {
using fuzz::Bytes;

// Inputs from this size on are checked without drawing their pages.
constexpr size_t DrawnBelow = 1 << 20;

const char* const Names[6] = {"level.TR4", "level.PHD", "level.TUB", "level.TR2", "level.TRC", "level.DAT"};

uint8_t NameByte(const std::string& file) {
    const std::string tail = file.substr(file.size() - 3);
    for (uint8_t i = 0; i < 5; ++i)
        if (std::string(Names[i]).ends_with(tail)) return i;
    return 5;
}

// A TR5 level made here holds its tiles stored without compression (see FuzzSupport.h); its
// three texture blocks are compressed again, as a level's are.
Bytes CompressBlocks(const Bytes& level) {
    if (level.size() < 10 || fuzz::Get32(level, 0) != 0x00345254) return level;
    Bytes out(level.begin(), level.begin() + 10);
    size_t pos = 10;
    for (int i = 0; i < 3; ++i) {
        if (pos + 8 > level.size()) return level;
        const size_t stored = fuzz::Get32(level, pos + 4);
        if (stored > level.size() - pos - 8) return level;
        Bytes raw(fuzz::Get32(level, pos));
        uLongf rawSize = raw.size();
        if (uncompress(raw.data(), &rawSize, &level[pos + 8], stored) != Z_OK) return level;
        const Bytes z = samples::Deflate(raw);
        out.insert(out.end(), level.begin() + static_cast<long>(pos), level.begin() + static_cast<long>(pos + 4));
        out.insert(out.end(), 4, 0);
        fuzz::Put32(out, out.size() - 4, static_cast<uint32_t>(z.size()));
        out.insert(out.end(), z.begin(), z.end());
        pos += 8 + stored;
    }
    out.insert(out.end(), level.begin() + static_cast<long>(pos), level.end());
    return out;
}

void MakeSeeds(const std::filesystem::path& dir, const char* shared) {
    const auto d = dir / "seeds-check";
    std::filesystem::create_directories(d);
    auto write = [&](const std::string& name, uint8_t head, const Bytes& bytes) {
        Bytes seed {head};
        seed.insert(seed.end(), bytes.begin(), bytes.end());
        fuzz::WriteDiskFile((d / name).string(), seed);
    };
    const auto small = samples::MakeSmallSampleSet();
    for (auto& f : small) write("small-" + f.Name, NameByte(f.Name), f.Bytes);
    for (auto& f : samples::MakeSampleSet()) write("sample-" + f.Name, NameByte(f.Name), f.Bytes);
    // What the small set converts to.
    for (auto& target : samples::SampleTargets()) {
        fuzz::MemoryPlatform platform;
        for (auto& f : small) platform.fs.Put("/levels/" + f.Name, f.Bytes, true);
        platform.fs.MakeFolder("/program");
        {
            Program prog(platform, "/program");
            prog.form.Text4.SetText("7");
            ConvertLevel(prog, std::string("/levels/") + samples::SampleSourceName,
                         std::string("/levels/") + target.Base, std::string("/program/") + target.NewLevel);
            prog.channels.CloseAllChannels();
        }
        if (auto out = platform.fs.Get(std::string("/program/") + target.NewLevel))
            write(target.NewLevel, NameByte(target.NewLevel), CompressBlocks(*out));
    }
    if (shared)
        for (auto& e : std::filesystem::directory_iterator(shared)) {
            const std::string name = e.path().filename().string();
            if (e.is_regular_file() && e.file_size() > 0 && name.find('.') != std::string::npos && name.size() > 4)
                write("shared-" + name, NameByte(name), fuzz::ReadDiskFile(e.path().string()));
        }
}
}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzz::MakeSeedsIfAsked(MakeSeeds);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    fuzz::AllocationLimit limit;
    const std::span<const uint8_t> file(data + 1, size - 1);
    const WalkedLevel level = CheckLevel(file, Names[data[0] % 6]);
    // The engine limits read inside the rooms and sections the walk found, as far as it got; the
    // sanitizers watch those reads.
    const std::vector<std::string> over = ExceededLimitLines(level.format, MeasureLevel(level, file));
    if (level.format == WalkFormat::Unknown && !over.empty()) {
        std::fprintf(stderr, "check_fuzz: a file of no known format is over a limit: %s\n", over[0].c_str());
        std::abort();
    }
    // What the walk reports must lie in the file (or in the inflated geometry block).
    for (const WalkedSection& s : level.sections) {
        const size_t whole = s.inGeometry ? level.inflated.size() : size - 1;
        if (s.offset > whole || s.End() > whole) {
            std::fprintf(stderr, "check_fuzz: section %s ends at %zu, past the %zu bytes it stands in\n",
                         s.name.c_str(), s.End(), whole);
            std::abort();
        }
    }
    if (size < DrawnBelow) {
        const TexturePicture picture = DrawTexturePages(std::span<const uint8_t>(data + 1, size - 1), level);
        if (!picture.png.empty() && picture.pages == 0) std::abort();
    }
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned int seed) {
    std::minstd_rand rng(seed);
    if (size < 2 || maxSize < 2) return LLVMFuzzerMutate(data, size, maxSize);
    Bytes level(data + 1, data + size);
    if (data[0] % 6 != 0 || rng() % 8 == 0 || !fuzz::MutateTr4Level(level, maxSize - 1, false, rng))
        return 1 + LLVMFuzzerMutate(data + 1, size - 1, maxSize - 1);
    std::copy(level.begin(), level.end(), data + 1);
    return level.size() + 1;
}

extern "C" size_t LLVMFuzzerCustomCrossOver(const uint8_t* a, size_t sizeA, const uint8_t* b, size_t sizeB,
                                            uint8_t* out, size_t maxOut, unsigned int seed) {
    std::minstd_rand rng(seed);
    if (sizeA < 2 || sizeB < 2 || maxOut < 2 || a[0] % 6 != 0 || b[0] % 6 != 0) return 0;
    Bytes mixed;
    if (!fuzz::CrossOverTr4Levels(Bytes(a + 1, a + sizeA), Bytes(b + 1, b + sizeB), mixed, maxOut - 1, false, rng))
        return 0;
    out[0] = a[0];
    std::copy(mixed.begin(), mixed.end(), out + 1);
    return mixed.size() + 1;
}
