// Conversion benchmark. For every target it converts the shared source level against the
// target's shared base many times in one process and compares the median time with a floor
// measured in the same process on the same files: reading the inputs, inflating the source
// blocks the target needs (and for TR5 the base's texture blocks), deflating the merged TR5
// texture blocks at zlib's default level, and writing a file of the output's size. Then it
// converts synthetic sources of 1x, 4x and 16x the rooms and faces and shows how time grows.
//
//   convert_bench [--levels DIR] [--runs N] [--unit N]
//
// Each target runs in a child process of its own, so that its peak memory is its own.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "../tools/QuietPlatform.h"
#include "../tools/SampleLevels.h"
#include "driver/ConvertLevel.h"
#include "core/Program.h"

namespace fs = std::filesystem;

namespace {
using Clock = std::chrono::steady_clock;

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

// One read call per file: the cheapest way to have a level in memory.
std::vector<uint8_t> ReadAll(const std::string& path) {
    std::vector<uint8_t> b;
    if (FILE* f = std::fopen(path.c_str(), "rb")) {
        std::fseek(f, 0, SEEK_END);
        long n = std::ftell(f);
        std::fseek(f, 0, SEEK_SET);
        b.resize(n > 0 ? static_cast<size_t>(n) : 0);
        b.resize(std::fread(b.data(), 1, b.size(), f));
        std::fclose(f);
    }
    return b;
}
void WriteAll(const std::string& path, const std::vector<uint8_t>& b) {
    if (FILE* f = std::fopen(path.c_str(), "wb")) {
        std::fwrite(b.data(), 1, b.size(), f);
        std::fclose(f);
    }
}
int32_t LongAt(const std::vector<uint8_t>& b, size_t at) {
    if (at + 4 > b.size()) return 0;
    uint32_t v = b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) | (static_cast<uint32_t>(b[at + 3]) << 24);
    return static_cast<int32_t>(v);
}
double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    if (v.empty()) return 0;
    return v.size() % 2 ? v[v.size() / 2] : (v[v.size() / 2 - 1] + v[v.size() / 2]) / 2;
}
double Seconds(Clock::time_point a, Clock::time_point b) { return std::chrono::duration<double>(b - a).count(); }

// A zlib block inside a level file: sizes and where its stream stands.
struct Block {
    int32_t uncompressed = 0, compressed = 0;
    size_t at = 0;
};
// The four blocks behind the version word and the three tile counts (TR4 source, TR5 base).
std::vector<Block> Blocks(const std::vector<uint8_t>& file, int count) {
    std::vector<Block> out;
    size_t pos = 10;
    for (int i = 0; i < count; ++i) {
        Block b;
        b.uncompressed = LongAt(file, pos);
        b.compressed = LongAt(file, pos + 4);
        b.at = pos + 8;
        if (b.compressed < 0 || b.at + static_cast<size_t>(b.compressed) > file.size()) break;
        out.push_back(b);
        pos = b.at + static_cast<size_t>(b.compressed);
    }
    return out;
}
std::vector<uint8_t> Inflate(const std::vector<uint8_t>& file, const Block& b) {
    std::vector<uint8_t> out(static_cast<size_t>(std::max(b.uncompressed, 0)));
    uLongf size = static_cast<uLongf>(out.size());
    uncompress(out.data(), &size, &file[b.at], static_cast<uLong>(b.compressed));
    out.resize(size);
    return out;
}
std::vector<uint8_t> DeflateDefault(const std::vector<uint8_t>& in) {
    uLongf size = compressBound(static_cast<uLong>(in.size()));
    std::vector<uint8_t> out(size);
    compress2(out.data(), &size, in.data(), static_cast<uLong>(in.size()), Z_DEFAULT_COMPRESSION);
    out.resize(size);
    return out;
}
int16_t WordAt(const std::vector<uint8_t>& b, size_t at) {
    return at + 2 <= b.size() ? static_cast<int16_t>(b[at] | (b[at + 1] << 8)) : 0;
}

// Parts of the floor: reading, inflating, deflating, writing.
struct FloorParts {
    double read = 0, inflate = 0, deflate = 0, write = 0;
};

// The floor: what any converter has to do for this target on these files.
double FloorOnce(const TargetInfo& t, const std::string& source, const std::string& base, size_t outputSize,
                 const std::string& scratch, FloorParts& parts) {
    auto t0 = Clock::now();
    auto src = ReadAll(source);
    auto bas = ReadAll(base);
    auto t1 = Clock::now();
    parts.read = Seconds(t0, t1);
    double deflating = 0;
    auto blocks = Blocks(src, 4);  // 32-bit, 16-bit, misc, geometry
    if (blocks.size() == 4) {
        Inflate(src, blocks[3]);  // the rooms and every section behind them
        if (t.version >= 3 && t.version <= 4) Inflate(src, blocks[1]);  // 16-bit room tiles
        if (t.version == 6) {
            auto baseBlocks = Blocks(bas, 2);
            int16_t roomTiles = WordAt(src, 4);
            for (int pass = 0; pass < 2 && baseBlocks.size() == 2; ++pass) {
                const size_t tileSize = pass == 0 ? 262144 : 131072;
                auto merged = Inflate(bas, baseBlocks[pass]);
                auto own = Inflate(src, blocks[pass]);
                size_t take = std::min(own.size(), static_cast<size_t>(std::max<int16_t>(roomTiles, 0)) * tileSize);
                merged.insert(merged.end(), own.begin(), own.begin() + static_cast<long>(take));
                auto d0 = Clock::now();
                DeflateDefault(merged);
                deflating += Seconds(d0, Clock::now());
            }
        }
    }
    auto t2 = Clock::now();
    parts.inflate = Seconds(t1, t2) - deflating;
    parts.deflate = deflating;
    {
        std::vector<uint8_t> out(outputSize, 0x5A);
        WriteAll(scratch, out);
    }
    auto t3 = Clock::now();
    parts.write = Seconds(t2, t3);
    return Seconds(t0, t3);
}

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

// What a child process reports back through its pipe.
struct TargetReport {
    double convert = 0, floor = 0, scaled[3] = {0, 0, 0};
    FloorParts parts;  // medians
    long long inputMax = 0, output = 0;
    int done = 0;
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
    RunResult first;
    for (int i = 0; i < runs; ++i) {
        RunResult r = ConvertOnce(folder, source, base, out);
        if (i == 0) first = r;
        conv.push_back(r.seconds);
        FloorParts p;
        floor.push_back(FloorOnce(t, source, base, r.outputSize, folder + "/floor.out", p));
        reads.push_back(p.read);
        inflates.push_back(p.inflate);
        deflates.push_back(p.deflate);
        writes.push_back(p.write);
    }
    rep.convert = Median(conv);
    rep.floor = Median(floor);
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
}  // namespace

int main(int argc, char** argv) {
    std::string levels = "../shared/levels";
    int runs = 15, unit = 4;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--levels" && i + 1 < argc)
            levels = argv[++i];
        else if (a == "--runs" && i + 1 < argc)
            runs = std::max(1, std::atoi(argv[++i]));
        else if (a == "--unit" && i + 1 < argc)
            unit = std::max(1, std::atoi(argv[++i]));
        else {
            std::cerr << "usage: convert_bench [--levels DIR] [--runs N] [--unit N]\n";
            return 2;
        }
    }
    if (!fs::exists(levels + "/source-tr4.TR4")) {
        std::cerr << "convert_bench: no source-tr4.TR4 in " << levels << "\n";
        return 2;
    }
    char templ[] = "/tmp/convert-bench.XXXXXX";
    if (!mkdtemp(templ)) {
        std::perror("mkdtemp");
        return 1;
    }
    const std::string work = templ;
    const std::string samplesDir = work + "/samples";
    fs::create_directories(samplesDir);
    for (auto& f : samples::MakeSampleSet()) WriteAll(samplesDir + "/" + f.Name, f.Bytes);
    for (int s : {1, 4, 16})
        WriteAll(samplesDir + "/source-x" + std::to_string(s * unit) + ".TR4", samples::MakeSourceTr4(s * unit));

    std::printf("Conversion of %s/source-tr4.TR4, median of %d runs. Synthetic sources: 1x = %d rooms, "
                "4x = %d, 16x = %d, against the sample bases.\n\n",
                levels.c_str(), runs, 5 * unit, 20 * unit, 80 * unit);
    std::printf("%-5s %10s %10s %6s %9s %9s %9s %9s %7s %9s %9s  %s\n", "", "convert", "floor", "ratio", "peak MiB",
                "limit MiB", "1x", "4x", "16x", "16x/1x", "output", "checks");
    bool allGood = true;
    for (const auto& t : Targets) {
        const std::string folder = work + "/" + t.name;
        fs::create_directories(folder);
        int fds[2];
        if (pipe(fds) != 0) return 1;
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
        const double peakMiB = usage.ru_maxrss / 1024.0;
        const double limitMiB = 3.0 * rep.inputMax / (1024.0 * 1024.0) + 64;
        const double ratio = rep.floor > 0 ? rep.convert / rep.floor : 0;
        const double growth = rep.scaled[0] > 0 ? rep.scaled[2] / rep.scaled[0] : 0;
        std::string checks;
        if (!rep.done) checks += " incomplete";
        if (ratio > 1.3) checks += " ratio>1.3";
        if (growth > 20) checks += " growth>20";
        if (peakMiB > limitMiB) checks += " memory";
        if (checks.empty()) checks = " ok";
        allGood = allGood && checks == " ok";
        std::printf("%-5s %8.1fms %8.1fms %6.2f %9.1f %9.1f %7.1fms %7.1fms %5.1fms %9.2f %9lld %s\n", t.name,
                    rep.convert * 1e3, rep.floor * 1e3, ratio, peakMiB, limitMiB, rep.scaled[0] * 1e3,
                    rep.scaled[1] * 1e3, rep.scaled[2] * 1e3, growth, rep.output, checks.c_str());
        std::printf("      floor: read %.1fms, inflate %.1fms, deflate %.1fms, write %.1fms\n", rep.parts.read * 1e3,
                    rep.parts.inflate * 1e3, rep.parts.deflate * 1e3, rep.parts.write * 1e3);
        if (rep.problem[0]) std::printf("      first run: %s\n", rep.problem);
    }
    std::printf("\nTargets: ratio <= 1.3, 16x/1x <= 20, peak memory < 3 x largest input + 64 MiB.\n");
    std::error_code ec;
    fs::remove_all(work, ec);
    return allGood ? 0 : 1;
}
