// libFuzzer target: a mutated source or base level goes through ConvertLevel for one target.
//
// Input layout:
//   byte 0: bit 0 set: the rest is the base level, converted against the sample source;
//           clear: the rest is the source level, converted against the target's sample base.
//           bits 1 to 3, taken modulo 5, pick the target: TR1, Gold, TR2, TR3, TR5.
//           bit 7 set, for a source: its geometry block is stored inflated (the size word in
//           front of the stream holds the length of the raw bytes), and is deflated here
//           before the conversion. So mutations reach the rooms and sections instead of
//           breaking the zlib stream.
//   byte 1: options: bit 0 Erase items, bit 1 Erase static meshes, bit 2 Cutscene,
//           bit 3 Convert spot lights and sun.
//   the rest: the level file.
//
// The files of a run live in a folder of their own (CONVERT_FUZZ_DIR, else a new folder under
// the system's temporary folder), which is also the program's folder for the temporary files.
//
// The machine a conversion runs on here is small on purpose: a single allocation above
// FuzzAllocationLimit fails (the conversion reports "Out of memory") and no file may grow past
// FuzzFileLimit (a write beyond it fails as a device error). Corrupt counts may legitimately ask
// for up to 512 MiB per section; without these limits such inputs would fill the disk and the
// memory budget of the run instead of testing the code.
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <string>
#include <vector>

#include "../tools/QuietPlatform.h"
#include "../tools/SampleLevels.h"
#include "driver/ConvertLevel.h"
#include "core/Program.h"

namespace {
constexpr size_t FuzzAllocationLimit = 160u << 20;
constexpr rlim_t FuzzFileLimit = 96u << 20;

struct Target {
    const char* base;       // sample base file name
    const char* extension;  // extension of a fuzzed base, which the target test reads
};
const Target Targets[5] = {{"base-tr1.PHD", ".PHD"}, {"base-gold.TUB", ".TUB"}, {"base-tr2.TR2", ".TR2"},
                           {"base-tr3.TR2", ".TR2"}, {"base-tr5.TRC", ".TRC"}};

std::filesystem::path Folder;
bool OwnFolder = false;

void WriteFile(const std::filesystem::path& p, const uint8_t* data, size_t size) {
    std::ofstream f(p, std::ios::binary | std::ios::trunc);
    f.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
}

uint32_t Get32(const std::vector<uint8_t>& b, size_t at) {
    return b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) | (static_cast<uint32_t>(b[at + 3]) << 24);
}
void Put32(std::vector<uint8_t>& b, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) b[at + i] = static_cast<uint8_t>(v >> (8 * i));
}
// Where the geometry block's size words stand in a TR4 file, behind three texture blocks; 0
// when the blocks do not fit the file.
size_t GeometryBlockAt(const std::vector<uint8_t>& f) {
    size_t pos = 10;
    for (int i = 0; i < 3; ++i) {
        if (pos + 8 > f.size()) return 0;
        uint32_t c = Get32(f, pos + 4);
        if (c > f.size() - pos - 8) return 0;
        pos += 8 + c;
    }
    return pos + 8 <= f.size() ? pos : 0;
}
// Geometry stored raw -> deflated, as the converter reads it. Input that does not walk is
// left as it is.
std::vector<uint8_t> DeflateGeometry(std::vector<uint8_t> f) {
    size_t at = GeometryBlockAt(f);
    if (!at) return f;
    size_t len = std::min<size_t>(Get32(f, at + 4), f.size() - at - 8);
    std::vector<uint8_t> raw(f.begin() + static_cast<long>(at + 8), f.begin() + static_cast<long>(at + 8 + len));
    std::vector<uint8_t> z = samples::Deflate(raw);
    std::vector<uint8_t> out(f.begin(), f.begin() + static_cast<long>(at + 8));
    Put32(out, at + 4, static_cast<uint32_t>(z.size()));
    out.insert(out.end(), z.begin(), z.end());
    out.insert(out.end(), f.begin() + static_cast<long>(at + 8 + len), f.end());
    return out;
}
// The reverse, for the seeds.
std::vector<uint8_t> InflateGeometry(const std::vector<uint8_t>& f) {
    size_t at = GeometryBlockAt(f);
    if (!at) return f;
    uint32_t u = Get32(f, at), c = Get32(f, at + 4);
    std::vector<uint8_t> raw(u);
    uLongf size = u;
    if (uncompress(raw.data(), &size, &f[at + 8], c) != Z_OK) return f;
    raw.resize(size);
    std::vector<uint8_t> out(f.begin(), f.begin() + static_cast<long>(at + 8));
    Put32(out, at + 4, static_cast<uint32_t>(raw.size()));
    out.insert(out.end(), raw.begin(), raw.end());
    out.insert(out.end(), f.begin() + static_cast<long>(at + 8 + c), f.end());
    return out;
}

std::vector<uint8_t> ReadFile(const std::filesystem::path& p) {
    std::ifstream f(p, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(f), {});
}

void WriteSeed(const std::filesystem::path& dir, const std::string& name, int head0, int head1,
               const std::vector<uint8_t>& file) {
    if (file.empty()) return;
    std::vector<uint8_t> seed {static_cast<uint8_t>(head0), static_cast<uint8_t>(head1)};
    seed.insert(seed.end(), file.begin(), file.end());
    WriteFile(dir / name, seed.data(), seed.size());
}

// Seeds for every target, in DIR/seeds-0 to DIR/seeds-4: the sample source (plain, with its
// geometry inflated, and with the erase-items and cutscene options), the sample base, and the
// shared source and base when SHARED names their folder.
void MakeSeeds(const std::filesystem::path& dir, const char* shared) {
    const auto sampleSource = ReadFile(Folder / samples::SampleSourceName);
    const char* sharedBases[5] = {"base-tr1.PHD", "base-gold.TUB", "base-tr2.TR2", "base-tr3.TR2", "base-tr5.TRC"};
    std::vector<uint8_t> sharedSource;
    if (shared) sharedSource = ReadFile(std::filesystem::path(shared) / "source-tr4.TR4");
    for (int t = 0; t < 5; ++t) {
        auto d = dir / ("seeds-" + std::to_string(t));
        std::filesystem::create_directories(d);
        WriteSeed(d, "sample-source", t << 1, 0, sampleSource);
        WriteSeed(d, "sample-source-raw", 0x80 | (t << 1), 0, InflateGeometry(sampleSource));
        WriteSeed(d, "sample-source-raw-options", 0x80 | (t << 1), 5, InflateGeometry(sampleSource));
        WriteSeed(d, "sample-base", (t << 1) | 1, 0, ReadFile(Folder / Targets[t].base));
        if (shared) {
            WriteSeed(d, "shared-source-raw", 0x80 | (t << 1), 0, InflateGeometry(sharedSource));
            WriteSeed(d, "shared-base", (t << 1) | 1, 0, ReadFile(std::filesystem::path(shared) / sharedBases[t]));
        }
    }
}

void RemoveFolder() {
    if (!OwnFolder) return;
    std::error_code ec;
    std::filesystem::remove_all(Folder, ec);
}
}  // namespace

// A single allocation above the limit fails as it would on a small machine.
void* operator new(size_t size) {
    if (size > FuzzAllocationLimit) throw std::bad_alloc();
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
void* operator new[](size_t size) { return operator new(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }
// The non-throwing forms must come from the same family, or the sanitizer sees a mismatch.
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return size > FuzzAllocationLimit ? nullptr : std::malloc(size ? size : 1);
}
void* operator new[](size_t size, const std::nothrow_t& t) noexcept { return operator new(size, t); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    if (const char* dir = std::getenv("CONVERT_FUZZ_DIR")) {
        Folder = std::filesystem::path(dir) / ("run-" + std::to_string(::getpid()));
    } else {
        Folder = std::filesystem::temp_directory_path() / ("convert-fuzz-" + std::to_string(::getpid()));
    }
    std::filesystem::create_directories(Folder);
    OwnFolder = true;
    std::atexit(RemoveFolder);
    for (auto& f : samples::MakeSampleSet()) WriteFile(Folder / f.Name, f.Bytes.data(), f.Bytes.size());

    if (const char* seeds = std::getenv("CONVERT_FUZZ_SEEDS")) {
        MakeSeeds(seeds, std::getenv("CONVERT_FUZZ_SHARED"));
        std::exit(0);
    }

    ::signal(SIGXFSZ, SIG_IGN);
    rlimit limit {FuzzFileLimit, FuzzFileLimit};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const bool fuzzBase = data[0] & 1;
    const Target& target = Targets[((data[0] >> 1) & 7) % 5];
    const bool rawGeometry = !fuzzBase && (data[0] & 0x80);
    const uint8_t options = data[1];

    const std::filesystem::path input = Folder / (fuzzBase ? std::string("input") + target.extension : "input.TR4");
    if (rawGeometry) {
        auto file = DeflateGeometry(std::vector<uint8_t>(data + 2, data + size));
        WriteFile(input, file.data(), file.size());
    } else {
        WriteFile(input, data + 2, size - 2);
    }
    const std::string source = fuzzBase ? (Folder / samples::SampleSourceName).string() : input.string();
    const std::string base = fuzzBase ? input.string() : (Folder / target.base).string();
    const std::string out = (Folder / (std::string("new") + target.extension)).string();

    QuietPlatform platform;
    Program prog(platform, Folder.string());
    prog.form.Text4.SetText("7");
    prog.form.Check1.SetValue(options & 1);
    prog.form.Check2.SetValue((options >> 1) & 1);
    prog.form.Check4.SetValue((options >> 2) & 1);
    prog.form.Check5.SetValue((options >> 3) & 1);
    ConvertLevel(prog, source, base, out);
    prog.channels.CloseAllChannels();
    return 0;
}
