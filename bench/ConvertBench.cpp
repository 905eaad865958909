// Conversion benchmark. For every target it converts the shared source level against the
// target's shared base many times and compares the median time with a floor: the work that any
// converter has to do for that target on those files, done with the fastest means at hand,
// measured in the same process, alternating with the conversions:
//
//   - one read() of each input into memory;
//   - the inflate, with libdeflate (the sizes stand beside the streams), of the source blocks
//     the target needs: the geometry, for TR2 and TR3 also the 16-bit tiles, for TR5 the 32-bit
//     and 16-bit tiles of both levels;
//   - for TR5, the deflate of the two merged tile blocks at zlib's default level, the reference
//     that the conversion's own, faster, deflate is held against;
//   - one write() of a file of the output's size, in place of the previous one.
//
// Then it runs `convert N` as a batch script does (a settings file in a folder, no display) and
// compares it with a process that does nothing but the floor; and it converts synthetic
// sources of 1x, 4x and 16x the rooms and faces to show how the time grows.
//
//   convert_bench [--levels DIR] [--runs N] [--unit N] [--convert PROGRAM] [--target NAME]...
//
// --target limits the run to the named targets (TR1, Gold, TR2, TR3, TR5). With TR1 among them
// it also measures the 8-bit room tiles of the engine layout (PaletteBench.cpp).
// Each target's conversions run in a child process of its own, so that its peak memory is its
// own. The program exits with status 1 when a target is missed (see Checks below).
#include <fcntl.h>
#include <libdeflate.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "../tools/QuietPlatform.h"
#include "../tools/SampleLevels.h"
#include "PaletteBench.h"
#include "core/MemoryReuse.h"
#include "core/Program.h"
#include "driver/ConvertLevel.h"

extern char** environ;

namespace fs = std::filesystem;

namespace {
using Clock = std::chrono::steady_clock;

// Targets. A TR1 to TR3 `convert N` must stay within ProcessLimit times its floor process.
constexpr double ClassicRatioLimit = 1.2;
constexpr double ProcessLimit = 1.2;
constexpr double Tr5RatioLimit = 0.5;
constexpr double Tr5SizeLimit = 1.05;
constexpr double GrowthLimit = 20;

struct TargetInfo {
    const char* name;
    int version;             // NewLevelVersion
    const char* sharedBase;  // base in the shared levels
    const char* sampleBase;  // base among the samples
    const char* extension;
};
const TargetInfo Targets[] = {{"TR1", 1, "base-tr1.PHD", "base-tr1.PHD", ".PHD"},
                              {"Gold", 2, "base-gold.TUB", "base-gold.TUB", ".TUB"},
                              {"TR2", 3, "base-tr2.TR2", "base-tr2.TR2", ".TR2"},
                              {"TR3", 4, "base-tr3.TR2", "base-tr3.TR2", ".TR2"},
                              {"TR5", 6, "base-tr5.TRC", "base-tr5.TRC", ".TRC"}};
constexpr int TargetCount = 5;

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    if (v.empty()) return 0;
    return v.size() % 2 ? v[v.size() / 2] : (v[v.size() / 2 - 1] + v[v.size() / 2]) / 2;
}
double Seconds(Clock::time_point a, Clock::time_point b) { return std::chrono::duration<double>(b - a).count(); }

// Processor time of the whole process (all its threads), in seconds. On a machine shared with
// other work the wall-clock time of a run includes whatever the scheduler gave to others; the
// processor time counts the run's own work only.
double ProcessorSeconds() {
    timespec t {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

// ---- The floor's means ------------------------------------------------------------------------

// Bytes in memory that nobody zero-fills first. The floor keeps its buffers from run to run, as
// the conversion's allocator keeps the memory it was given: both run warm.
struct Buffer {
    std::unique_ptr<uint8_t[]> data;
    size_t size = 0, capacity = 0;
    // Room for n bytes; what the buffer held is dropped.
    uint8_t* Room(size_t n) {
        if (n > capacity || !data) {
            data.reset(new uint8_t[n ? n : 1]);
            capacity = n;
        }
        size = n;
        return data.get();
    }
};

int32_t LongAt(const uint8_t* b, size_t size, size_t at) {
    if (at + 4 > size) return 0;
    uint32_t v = b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) | (static_cast<uint32_t>(b[at + 3]) << 24);
    return static_cast<int32_t>(v);
}
int16_t WordAt(const uint8_t* b, size_t size, size_t at) {
    return at + 2 <= size ? static_cast<int16_t>(b[at] | (b[at + 1] << 8)) : 0;
}

// How much of a TR4 source any target reads: the head and four blocks, to the end of the
// geometry block. What follows (the source's sound samples) no target uses. 0 when the size
// words do not lead there.
size_t SourceBytesNeeded(int fd) {
    size_t pos = 10;
    for (int i = 0; i < 4; ++i) {
        uint8_t head[8];
        if (::pread(fd, head, sizeof head, static_cast<off_t>(pos)) != static_cast<ssize_t>(sizeof head)) return 0;
        int32_t compressed = LongAt(head, sizeof head, 4);
        if (compressed < 0) return 0;
        pos += 8 + static_cast<size_t>(compressed);
    }
    return pos;
}

// One read() of a file, or for a source of the part that a conversion reads.
void ReadFile(const std::string& path, Buffer& into, bool source = false) {
    into.size = 0;
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return;
    struct stat st {};
    if (::fstat(fd, &st) == 0) {
        size_t n = static_cast<size_t>(st.st_size);
        if (source) {
            size_t needed = SourceBytesNeeded(fd);
            if (needed > 0 && needed < n) n = needed;
        }
        ssize_t got = ::read(fd, into.Room(n), n);
        into.size = got > 0 ? static_cast<size_t>(got) : 0;
    }
    ::close(fd);
}

// Replaces a file with one write() of `size` bytes gathered from the pieces (repeated if they
// are shorter): the bytes a converter would have in memory by then.
void WriteFile(const std::string& path, size_t size, const std::vector<const Buffer*>& pieces) {
    std::vector<iovec> parts;
    size_t left = size;
    while (left > 0) {
        size_t before = left;
        for (const Buffer* p : pieces) {
            if (left == 0) break;
            size_t take = std::min(left, p->size);
            if (take) parts.push_back({p->data.get(), take});
            left -= take;
        }
        if (left == before) break;  // nothing to write from
    }
    ::unlink(path.c_str());
    int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return;
    if (::writev(fd, parts.data(), static_cast<int>(parts.size())) < 0) std::perror("floor write");
    ::close(fd);
}

// A zlib block inside a level file: sizes and where its stream stands.
struct Block {
    int32_t uncompressed = 0, compressed = 0;
    size_t at = 0;
};
// The blocks behind the version word and the three tile counts (TR4 source, TR5 level).
std::vector<Block> Blocks(const uint8_t* file, size_t size, int count) {
    std::vector<Block> out;
    size_t pos = 10;
    for (int i = 0; i < count; ++i) {
        Block b;
        b.uncompressed = LongAt(file, size, pos);
        b.compressed = LongAt(file, size, pos + 4);
        b.at = pos + 8;
        if (b.compressed < 0 || b.uncompressed < 0 || b.at + static_cast<size_t>(b.compressed) > size) break;
        out.push_back(b);
        pos = b.at + static_cast<size_t>(b.compressed);
    }
    return out;
}

// Inflates a block into `out` at `offset`, which has room for it; returns the bytes it gave.
size_t InflateInto(libdeflate_decompressor* d, const Buffer& file, const Block& b, Buffer& out, size_t offset) {
    size_t got = 0;
    if (libdeflate_zlib_decompress(d, file.data.get() + b.at, static_cast<size_t>(b.compressed),
                                   out.data.get() + offset, out.size - offset, &got) != LIBDEFLATE_SUCCESS)
        return 0;
    return got;
}

// zlib's default level, in one call.
size_t DeflateDefault(const uint8_t* data, size_t size, Buffer& out) {
    uLongf n = compressBound(static_cast<uLong>(size));
    compress2(out.Room(n), &n, data, static_cast<uLong>(size), Z_DEFAULT_COMPRESSION);
    return n;
}

struct FloorParts {
    double read = 0, inflate = 0, deflate = 0, write = 0;
};

// The floor's memory. For TR5 it ends up holding the merged tiles and their size at zlib's
// default level, which the output is checked against.
struct FloorMemory {
    Buffer source, base, geometry, tiles16, merged[2], deflated;
    size_t deflatedSize[2] = {0, 0};
};

using Decompressor = std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)>;
Decompressor NewDecompressor() { return Decompressor(libdeflate_alloc_decompressor(), libdeflate_free_decompressor); }

// The floor: what any converter has to do for this target on these files.
double FloorOnce(const TargetInfo& t, const std::string& source, const std::string& base, size_t outputSize,
                 const std::string& scratch, FloorMemory& m, FloorParts& parts) {
    auto t0 = Clock::now();
    ReadFile(source, m.source, true);
    ReadFile(base, m.base);
    auto t1 = Clock::now();

    Decompressor d = NewDecompressor();
    std::vector<const Buffer*> written = {&m.base, &m.source};
    double deflating = 0;
    auto blocks = Blocks(m.source.data.get(), m.source.size, 4);  // 32-bit, 16-bit, misc, geometry
    if (blocks.size() == 4) {
        m.geometry.Room(static_cast<size_t>(blocks[3].uncompressed));
        m.geometry.size = InflateInto(d.get(), m.source, blocks[3], m.geometry, 0);
        written.push_back(&m.geometry);
        if (t.version == 3 || t.version == 4) {
            m.tiles16.Room(static_cast<size_t>(blocks[1].uncompressed));
            m.tiles16.size = InflateInto(d.get(), m.source, blocks[1], m.tiles16, 0);
            written.push_back(&m.tiles16);
        }
        auto baseBlocks = Blocks(m.base.data.get(), m.base.size, 2);
        if (t.version == 6 && baseBlocks.size() == 2) {
            const size_t roomTiles =
                static_cast<size_t>(std::max<int16_t>(WordAt(m.source.data.get(), m.source.size, 4), 0));
            for (int pass = 0; pass < 2; ++pass) {
                // The base's tiles and then the source's, inflated one behind the other into one
                // buffer: the merged block without a copy.
                const size_t tileSize = pass == 0 ? 262144 : 131072;
                const Block& own = blocks[pass];
                const Block& theirs = baseBlocks[pass];
                Buffer& merged = m.merged[pass];
                merged.Room(static_cast<size_t>(theirs.uncompressed) +
                            std::max(static_cast<size_t>(own.uncompressed), roomTiles * tileSize));
                size_t baseBytes = InflateInto(d.get(), m.base, theirs, merged, 0);
                size_t ownBytes = InflateInto(d.get(), m.source, own, merged, baseBytes);
                size_t take = roomTiles * tileSize;
                if (ownBytes < take) std::memset(merged.data.get() + baseBytes + ownBytes, 0, take - ownBytes);
                merged.size = baseBytes + take;
                auto d0 = Clock::now();
                m.deflatedSize[pass] = DeflateDefault(merged.data.get(), merged.size, m.deflated);
                deflating += Seconds(d0, Clock::now());
                written.push_back(&merged);
            }
        }
    }
    auto t2 = Clock::now();
    WriteFile(scratch, outputSize, written);
    auto t3 = Clock::now();
    parts.read = Seconds(t0, t1);
    parts.inflate = Seconds(t1, t2) - deflating;
    parts.deflate = deflating;
    parts.write = Seconds(t2, t3);
    return Seconds(t0, t3);
}

// ---- The conversion ---------------------------------------------------------------------------

struct RunResult {
    double seconds = 0;
    bool done = false;
    size_t outputSize = 0;
    std::string problem;
};

RunResult ConvertOnce(const std::string& folder, const std::string& source, const std::string& base,
                      const std::string& out) {
    QuietPlatform platform;
    Program prog(platform, folder);
    prog.form.Text4.SetText("7");
    auto t0 = Clock::now();
    ConvertLevel(prog, source, base, out);
    prog.channels.CloseAllChannels();
    RunResult r;
    r.seconds = Seconds(t0, Clock::now());
    for (auto& line : prog.form.l.Items()) {
        if (line.find("Conversion done") != std::string::npos) r.done = true;
        // The older targets have no flyby section: that line is part of a normal run.
        if (r.problem.empty() && line.find("Error") != std::string::npos &&
            line.find("Flyby cameras not supported") == std::string::npos)
            r.problem = line;
    }
    if (!platform.firstBox.empty() && r.problem.empty()) r.problem = platform.firstBox;
    std::error_code ec;
    r.outputSize = static_cast<size_t>(fs::file_size(out, ec));
    return r;
}

// The TR5 output against the floor's merged tiles: do its two tile streams inflate to exactly
// those bytes, and how large would the file be with zlib's default streams?
struct Tr5Check {
    bool sameTiles = false;
    long long referenceSize = 0;
};
Tr5Check CheckTr5Output(const std::string& path, const FloorMemory& floor) {
    Tr5Check c;
    Buffer out;
    ReadFile(path, out);
    auto blocks = Blocks(out.data.get(), out.size, 2);
    if (blocks.size() != 2) return c;
    Decompressor d = NewDecompressor();
    c.sameTiles = true;
    c.referenceSize = static_cast<long long>(out.size);
    for (int pass = 0; pass < 2; ++pass) {
        const Buffer& want = floor.merged[pass];
        Buffer got;
        got.Room(want.size + 1);
        size_t n = InflateInto(d.get(), out, blocks[pass], got, 0);
        c.sameTiles = c.sameTiles && n == want.size && std::memcmp(got.data.get(), want.data.get(), n) == 0 &&
                      static_cast<size_t>(blocks[pass].uncompressed) == want.size;
        c.referenceSize += static_cast<long long>(floor.deflatedSize[pass]) - blocks[pass].compressed;
    }
    return c;
}

// What a child process reports back through its pipe.
struct TargetReport {
    double convert = 0, floor = 0, scaled[3] = {0, 0, 0};
    double convertCpu = 0, floorCpu = 0;  // processor time
    FloorParts parts;                     // medians
    long long inputMax = 0, output = 0, referenceOutput = 0;
    int done = 0, sameTiles = 0;
    char problem[200] = {0};
};

TargetReport MeasureTarget(const TargetInfo& t, const std::string& levels, const std::string& samplesDir,
                           const std::string& folder, int runs, int unit) {
    TargetReport rep;
    const std::string source = levels + "/source-tr4.TR4", base = levels + "/" + t.sharedBase;
    const std::string out = folder + "/new" + t.extension;
    std::error_code ec;
    rep.inputMax = static_cast<long long>(std::max(fs::file_size(source, ec), fs::file_size(base, ec)));

    std::vector<double> conv, floor, reads, inflates, deflates, writes;
    FloorMemory memory;
    RunResult first;
    std::vector<double> convCpu, floorCpu;
    for (int i = 0; i < runs; ++i) {
        double c0 = ProcessorSeconds();
        RunResult r = ConvertOnce(folder, source, base, out);
        double c1 = ProcessorSeconds();
        conv.push_back(r.seconds);
        FloorParts p;
        floor.push_back(FloorOnce(t, source, base, r.outputSize, folder + "/floor.out", memory, p));
        double c2 = ProcessorSeconds();
        convCpu.push_back(c1 - c0);
        floorCpu.push_back(c2 - c1);
        if (i == 0) {
            first = r;
            // Once, outside the timing: the output against the floor's merged tiles.
            if (t.version == 6) {
                Tr5Check c = CheckTr5Output(out, memory);
                rep.sameTiles = c.sameTiles;
                rep.referenceOutput = c.referenceSize;
            }
        }
        reads.push_back(p.read);
        inflates.push_back(p.inflate);
        deflates.push_back(p.deflate);
        writes.push_back(p.write);
    }
    rep.convert = Median(conv);
    rep.floor = Median(floor);
    rep.convertCpu = Median(convCpu);
    rep.floorCpu = Median(floorCpu);
    rep.parts = {Median(reads), Median(inflates), Median(deflates), Median(writes)};
    rep.done = first.done;
    rep.output = static_cast<long long>(first.outputSize);
    std::snprintf(rep.problem, sizeof rep.problem, "%s", first.problem.c_str());

    const int scales[3] = {1, 4, 16};
    const int scaledRuns = std::max(5, runs);
    ConvertOnce(folder, samplesDir + "/source-x" + std::to_string(unit) + ".TR4", samplesDir + "/" + t.sampleBase, out);
    for (int s = 0; s < 3; ++s) {
        const std::string src = samplesDir + "/source-x" + std::to_string(scales[s] * unit) + ".TR4";
        std::vector<double> times;
        for (int i = 0; i < scaledRuns; ++i)
            times.push_back(ConvertOnce(folder, src, samplesDir + "/" + t.sampleBase, out).seconds);
        rep.scaled[s] = Median(times);
    }
    return rep;
}

// ---- Whole processes --------------------------------------------------------------------------

struct ProcessRun {
    double seconds = 0;
    int status = -1;
    double peakMiB = 0;
};

// Runs a program to its end, in `folder`, with the environment given, its output dropped.
ProcessRun RunProcess(const std::vector<std::string>& args, const std::string& folder,
                      const std::vector<std::string>& env) {
    std::vector<char*> argv, envp;
    for (auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    for (auto& e : env) envp.push_back(const_cast<char*>(e.c_str()));
    envp.push_back(nullptr);
    ProcessRun r;
    auto t0 = Clock::now();
    pid_t pid = fork();
    if (pid == 0) {
        int null = ::open("/dev/null", O_RDWR);
        if (null >= 0) {
            dup2(null, 0);
            dup2(null, 1);
            dup2(null, 2);
        }
        if (::chdir(folder.c_str()) != 0) _exit(126);
        execve(argv[0], argv.data(), envp.data());
        _exit(127);
    }
    if (pid < 0) return r;
    int status = 0;
    rusage usage {};
    wait4(pid, &status, 0, &usage);
    r.seconds = Seconds(t0, Clock::now());
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
    r.peakMiB = usage.ru_maxrss / 1024.0;
    return r;
}

// The environment of a batch script on a machine without a display.
std::vector<std::string> NoDisplayEnvironment() {
    std::vector<std::string> env;
    for (char** e = environ; *e; ++e) {
        std::string v = *e;
        if (v.rfind("DISPLAY=", 0) == 0 || v.rfind("WAYLAND_DISPLAY=", 0) == 0 || v.rfind("QT_QPA_PLATFORM=", 0) == 0)
            continue;
        env.push_back(v);
    }
    return env;
}

struct ProcessReport {
    bool measured = false;
    double convert = 0, floor = 0, peakMiB = 0;
    bool ok = false;
};

// `convert N` from the settings folder, alternating with a process that does the floor alone.
ProcessReport MeasureProcesses(int target, const std::string& folder, const std::string& self,
                               const std::string& levels, size_t outputSize, int runs) {
    ProcessReport rep;
    rep.measured = true;
    rep.ok = true;
    const auto env = NoDisplayEnvironment();
    const std::vector<std::string> convert = {folder + "/convert", std::to_string(target)};
    const std::vector<std::string> floor = {self,
                                            "--floor-process",
                                            std::to_string(target),
                                            levels,
                                            std::to_string(outputSize),
                                            folder + "/floor" + Targets[target].extension};
    std::vector<double> conv, flo;
    for (int i = 0; i < runs; ++i) {
        ProcessRun f = RunProcess(floor, folder, env);
        ProcessRun c = RunProcess(convert, folder, env);
        rep.ok = rep.ok && f.status == 0 && c.status == 0;
        flo.push_back(f.seconds);
        conv.push_back(c.seconds);
        rep.peakMiB = std::max(rep.peakMiB, c.peakMiB);
    }
    rep.convert = Median(conv);
    rep.floor = Median(flo);
    return rep;
}

// The folder a batch script runs in: the program and a settings file with one job per target.
bool PrepareProcessFolder(const std::string& folder, const std::string& convert, const std::string& levels) {
    std::error_code ec;
    fs::create_directories(folder, ec);
    fs::copy_file(convert, folder + "/convert", fs::copy_options::overwrite_existing, ec);
    if (ec) return false;
    std::vector<samples::SampleJob> jobs;
    for (const auto& t : Targets) {
        samples::SampleJob j;
        j.JobName = t.name;
        j.SourceLevel = levels + "/source-tr4.TR4";
        j.BaseLevel = levels + "/" + t.sharedBase;
        j.NewLevel = folder + "/new-" + t.name + t.extension;
        j.UvRange = 7;
        jobs.push_back(j);
    }
    auto bytes = samples::MakeSettings(jobs, folder);
    std::ofstream f(folder + "/settings.dat", std::ios::binary | std::ios::trunc);
    f.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(f);
}

// The floor as a process of its own: `convert_bench --floor-process TARGET LEVELS SIZE OUTPUT`.
int FloorProcess(int argc, char** argv) {
    if (argc != 6) return 2;
    int target = std::atoi(argv[2]);
    if (target < 0 || target >= TargetCount) return 2;
    const TargetInfo& t = Targets[target];
    const std::string levels = argv[3];
    FloorMemory memory;
    FloorParts parts;
    FloorOnce(t, levels + "/source-tr4.TR4", levels + "/" + t.sharedBase, std::strtoull(argv[4], nullptr, 10),
              argv[5], memory, parts);
    return 0;
}

std::string CpuModel() {
    std::ifstream f("/proc/cpuinfo");
    std::string line;
    while (std::getline(f, line))
        if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
    return "unknown CPU";
}

std::string SelfPath() {
    std::error_code ec;
    auto p = fs::read_symlink("/proc/self/exe", ec);
    return ec ? std::string() : p.string();
}
}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::string(argv[1]) == "--floor-process") return FloorProcess(argc, argv);
    KeepFreedMemoryForReuse();  // as the program does

    std::string levels = "../shared/levels", convert;
    std::vector<std::string> only;
    int runs = 15, unit = 4;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--levels" && i + 1 < argc)
            levels = argv[++i];
        else if (a == "--runs" && i + 1 < argc)
            runs = std::max(1, std::atoi(argv[++i]));
        else if (a == "--unit" && i + 1 < argc)
            unit = std::max(1, std::atoi(argv[++i]));
        else if (a == "--convert" && i + 1 < argc)
            convert = argv[++i];
        else if (a == "--target" && i + 1 < argc)
            only.push_back(argv[++i]);
        else {
            std::cerr << "usage: convert_bench [--levels DIR] [--runs N] [--unit N] [--convert PROGRAM] [--target NAME]...\n";
            return 2;
        }
    }
    if (!fs::exists(levels + "/source-tr4.TR4")) {
        std::cerr << "convert_bench: no source-tr4.TR4 in " << levels << "\n";
        return 2;
    }
    levels = fs::absolute(levels).lexically_normal().string();
    const std::string self = SelfPath();
    // The program beside the benchmark in the build folder, unless one is named.
    if (convert.empty() && !self.empty()) convert = (fs::path(self).parent_path() / "convert").string();

    char templ[] = "/tmp/convert-bench.XXXXXX";
    if (!mkdtemp(templ)) {
        std::perror("mkdtemp");
        return 1;
    }
    const std::string work = templ;
    const std::string samplesDir = work + "/samples";
    fs::create_directories(samplesDir);
    auto writeSample = [](const std::string& path, const std::vector<uint8_t>& b) {
        std::ofstream f(path, std::ios::binary | std::ios::trunc);
        f.write(reinterpret_cast<const char*>(b.data()), static_cast<std::streamsize>(b.size()));
    };
    for (auto& f : samples::MakeSampleSet()) writeSample(samplesDir + "/" + f.Name, f.Bytes);
    for (int s : {1, 4, 16})
        writeSample(samplesDir + "/source-x" + std::to_string(s * unit) + ".TR4", samples::MakeSourceTr4(s * unit));
    const std::string processDir = work + "/batch";
    const bool processes = !self.empty() && fs::exists(convert) && PrepareProcessFolder(processDir, convert, levels);

    std::printf("Machine: %ld cores, %s.\n", sysconf(_SC_NPROCESSORS_ONLN), CpuModel().c_str());
    std::printf("Conversion of %s/source-tr4.TR4 against each target's base there; medians of %d alternating "
                "runs.\n",
                levels.c_str(), runs);
    std::printf("Synthetic sources against the sample bases: 1x = %d rooms, 4x = %d, 16x = %d.\n", 5 * unit,
                20 * unit, 80 * unit);
    if (!processes) std::printf("No whole-process times: no program at '%s' (--convert PROGRAM).\n", convert.c_str());

    std::printf("\n%-5s %9s %9s %6s | %10s %9s %6s %8s | %8s %9s | %7s %7s %7s %6s | %s\n", "", "convert", "floor",
                "ratio", "convert N", "floor", "ratio", "peak", "peak MiB", "limit MiB", "1x", "4x", "16x", "16x/1x",
                "output bytes");
    bool allGood = true;
    for (int ti = 0; ti < TargetCount; ++ti) {
        const TargetInfo& t = Targets[ti];
        if (!only.empty() && std::find(only.begin(), only.end(), t.name) == only.end()) continue;
        const std::string folder = work + "/" + t.name;
        fs::create_directories(folder);
        int fds[2];
        if (pipe(fds) != 0) return 1;
        std::fflush(stdout);
        pid_t pid = fork();
        if (pid == 0) {
            close(fds[0]);
            TargetReport rep = MeasureTarget(t, levels, samplesDir, folder, runs, unit);
            ssize_t n = write(fds[1], &rep, sizeof rep);
            _exit(n == static_cast<ssize_t>(sizeof rep) ? 0 : 1);
        }
        close(fds[1]);
        TargetReport rep;
        ssize_t got = read(fds[0], &rep, sizeof rep);
        close(fds[0]);
        int status = 0;
        rusage usage {};
        wait4(pid, &status, 0, &usage);
        if (got != static_cast<ssize_t>(sizeof rep) || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            std::printf("%-5s the measuring process failed (status %d)\n", t.name, status);
            allGood = false;
            continue;
        }
        ProcessReport proc;
        if (processes) proc = MeasureProcesses(ti, processDir, self, levels, static_cast<size_t>(rep.output), runs);

        const bool classic = t.version <= 4;
        const double peakMiB = usage.ru_maxrss / 1024.0;
        const double limitMiB = 3.0 * rep.inputMax / (1024.0 * 1024.0) + 64;
        const double ratio = rep.floor > 0 ? rep.convert / rep.floor : 0;
        const double processRatio = proc.floor > 0 ? proc.convert / proc.floor : 0;
        const double growth = rep.scaled[0] > 0 ? rep.scaled[2] / rep.scaled[0] : 0;
        const double sizeRatio = rep.referenceOutput > 0 ? static_cast<double>(rep.output) / rep.referenceOutput : 0;

        std::string checks;
        auto fail = [&](const std::string& what) { checks += " " + what; };
        if (!rep.done) fail("incomplete");
        if (classic && ratio > ClassicRatioLimit) fail("ratio>1.2");
        if (classic && ratio < 1) fail("ratio<1(floor beaten)");
        if (!classic && ratio > Tr5RatioLimit) fail("ratio>0.5");
        if (!classic && !rep.sameTiles) fail("tiles-differ");
        if (!classic && sizeRatio > Tr5SizeLimit) fail("size>105%");
        if (growth > GrowthLimit) fail("growth>20");
        if (peakMiB > limitMiB) fail("memory");
        if (proc.measured && !proc.ok) fail("convert-N-failed");
        if (classic && proc.measured && processRatio > ProcessLimit) fail("process>1.2");
        allGood = allGood && checks.empty();
        if (checks.empty()) checks = " ok";

        char procCols[64] = "";
        if (proc.measured)
            std::snprintf(procCols, sizeof procCols, "%8.1fms %7.1fms %6.2f %6.1fM", proc.convert * 1e3,
                          proc.floor * 1e3, processRatio, proc.peakMiB);
        else
            std::snprintf(procCols, sizeof procCols, "%10s %9s %6s %8s", "-", "-", "-", "-");
        std::printf("%-5s %7.1fms %7.1fms %6.2f | %s | %8.1f %9.1f | %5.1fms %5.1fms %5.1fms %6.2f | %lld %s\n", t.name,
                    rep.convert * 1e3, rep.floor * 1e3, ratio, procCols, peakMiB, limitMiB, rep.scaled[0] * 1e3,
                    rep.scaled[1] * 1e3, rep.scaled[2] * 1e3, growth, rep.output, checks.c_str());
        std::printf("      processor time: convert %.1fms, floor %.1fms, ratio %.2f; floor: read %.1fms, inflate %.1fms, "
                    "deflate %.1fms, write %.1fms",
                    rep.convertCpu * 1e3, rep.floorCpu * 1e3, rep.floorCpu > 0 ? rep.convertCpu / rep.floorCpu : 0,
                    rep.parts.read * 1e3, rep.parts.inflate * 1e3, rep.parts.deflate * 1e3, rep.parts.write * 1e3);
        if (!classic)
            std::printf("; output %.1f%% of its size with zlib's default streams (%lld), tiles %s",
                        100.0 * sizeRatio, rep.referenceOutput, rep.sameTiles ? "identical" : "DIFFERENT");
        std::printf("\n");
        if (rep.problem[0]) std::printf("      first run: %s\n", rep.problem);
    }
    std::printf("\nTargets: TR1 to TR3 conversion 1 to 1.2 times its floor, `convert N` at most 1.2 times its floor "
                "process;\nTR5 conversion at most 0.5 times its floor (which deflates at zlib's default level), "
                "output at most 5%% larger\nthan with zlib's default streams, tiles identical; 16x/1x <= 20; "
                "peak memory < 3 x largest input + 64 MiB.\n");
    if (only.empty() || std::find(only.begin(), only.end(), "TR1") != only.end())
        allGood = RunPaletteBench(levels, work, runs) && allGood;
    std::error_code ec;
    fs::remove_all(work, ec);
    return allGood ? 0 : 1;
}
