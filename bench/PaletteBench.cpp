// The 8-bit room tiles of TR1 levels made with the engine layout, measured against their inputs.
//
// Sources: the shared source, and the shared source with its 32-bit block replaced by the 16-bit
// tiles of the shared TR2 or TR3 base turned into 32 bits (5 bits a channel widened to 8, the top
// bit to alpha 255 or 0), all of them room tiles. Base: the shared TR1 base. Per source:
//
//   - room PSNR: the appended tiles as the engine shows them (palette x 4) against the source's
//     32-bit room tiles, over the source's opaque pixels; beside it the same for each pixel
//     mapped to the nearest opaque entry of the base's palette, and the gain over that;
//   - base PSNR: the base's tiles as shown in the new level against the base as it shows them,
//     over the base's opaque pixels (infinite when nothing moved);
//   - transparency: the share of all pixels, room and base, whose index is 0 exactly where the
//     source's alpha is below 128 or the base's index is 0;
//   - on / off: median time of a conversion with the option on and off, run alternately.
#include "PaletteBench.h"

#include <zlib.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <unordered_map>
#include <vector>

#include "../tools/QuietPlatform.h"
#include "../tools/SampleLevels.h"
#include "core/Program.h"
#include "driver/ConvertLevel.h"
#include "inspection/LevelCheck.h"
#include "texturetables/PaletteQuantizer.h"

namespace fs = std::filesystem;

namespace {
using Bytes = std::vector<uint8_t>;
constexpr double RoomGainGoal = 5, BasePsnrGoal = 38, TimeRatioGoal = 10;
constexpr size_t TilePixels = 65536;

Bytes ReadAll(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    return Bytes((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
}
void WriteAll(const std::string& path, const Bytes& bytes) {
    std::ofstream f(path, std::ios::binary | std::ios::trunc);
    f.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}
int32_t Long(const Bytes& b, size_t at) {
    return at + 4 <= b.size() ? int32_t(b[at] | b[at + 1] << 8 | b[at + 2] << 16 | uint32_t(b[at + 3]) << 24) : 0;
}

// The source's 32-bit block, inflated (empty when damaged).
Bytes Tiles32Of(const Bytes& source) {
    uLongf size = uLongf(std::max(Long(source, 10), 0));
    Bytes out(size);
    const size_t compressed = size_t(std::max(Long(source, 14), 0));
    if (18 + compressed > source.size() || uncompress(out.data(), &size, &source[18], uLong(compressed)) != Z_OK)
        return {};
    out.resize(size);
    return out;
}

// The shared source with the 16-bit tiles of a TR2 or TR3 base as its room tiles.
Bytes SourceWithTilesOf(const Bytes& source, const Bytes& base) {
    const int32_t tiles = Long(base, 1796);
    const size_t at = 1800 + size_t(tiles) * TilePixels;
    Bytes tiles32;
    tiles32.reserve(size_t(tiles) * TilePixels * 4);
    auto widen = [](int v) { return uint8_t(v << 3 | v >> 2); };
    for (size_t i = 0; i < size_t(tiles) * TilePixels && at + 2 * i + 1 < base.size(); ++i) {
        const int w = base[at + 2 * i] | base[at + 2 * i + 1] << 8;
        tiles32.insert(tiles32.end(), {widen(w & 31), widen(w >> 5 & 31), widen(w >> 10 & 31), uint8_t(w & 0x8000 ? 255 : 0)});
    }
    samples::Bytes out;
    out.L(Long(source, 0));
    out.W(tiles);
    out.W(source[6] | source[7] << 8);
    out.W(source[8] | source[9] << 8);
    samples::TextureBlock(out, tiles32);
    const size_t behind32 = 18 + size_t(Long(source, 14));
    out.Raw(Bytes(source.begin() + long(behind32), source.end()));
    return out.b;
}

struct Conversion {
    double seconds = 0;
    bool done = false;
};
Conversion Convert(const std::string& folder, const std::string& source, const std::string& base,
                   const std::string& out, int engine) {
    QuietPlatform platform;
    Program prog(platform, folder);
    prog.form.Text4.SetText("7");
    prog.form.Check6.SetValue(engine);
    const auto t0 = std::chrono::steady_clock::now();
    ConvertLevel(prog, source, base, out);
    prog.channels.CloseAllChannels();
    Conversion c;
    c.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    for (const std::string& line : prog.form.l.Items()) c.done = c.done || line.find("Conversion done") != std::string::npos;
    return c;
}

double Psnr(double squares, double values) {
    return squares <= 0 ? std::numeric_limits<double>::infinity() : 10 * std::log10(255.0 * 255 * values / squares);
}
double Squares(int r, int g, int b, const PaletteColour& c) {
    const double dr = r - c.R * 4, dg = g - c.G * 4, db = b - c.B * 4;
    return dr * dr + dg * dg + db * db;
}

struct Quality {
    int roomTiles = 0;
    double room = 0, anchor = 0, base = 0, agreement = 0;
};

// The new level's tiles against the source's room tiles and the base's tiles.
Quality Measure(const Bytes& level, const Bytes& source, const Bytes& base) {
    Quality q;
    const WalkedLevel walked = CheckLevel(level, "new.PHD"), walkedBase = CheckLevel(base, "base.PHD");
    const WalkedSection *palette = walked.Find("Tr1Palette"), *basePalette = walkedBase.Find("Tr1Palette");
    if (!palette || !basePalette) return q;
    const Palette shown = ParsePalette(std::span(level).subspan(palette->offset, PaletteBytes));
    const Palette was = ParsePalette(std::span(base).subspan(basePalette->offset, PaletteBytes));
    const size_t baseTiles = size_t(Long(base, 4));
    q.roomTiles = Long(level, 4) - int(baseTiles);
    const Bytes tiles32 = Tiles32Of(source);

    std::unordered_map<uint32_t, uint8_t> anchorOf;
    double room = 0, anchored = 0, opaque = 0, agree = 0, all = 0;
    for (size_t i = 0; i < size_t(std::max(q.roomTiles, 0)) * TilePixels; ++i, ++all) {
        const uint8_t index = level[8 + baseTiles * TilePixels + i];
        const uint8_t* p = i * 4 + 3 < tiles32.size() ? &tiles32[i * 4] : nullptr;
        const bool transparent = !p || p[3] < 128;
        agree += (index == 0) == transparent;
        if (transparent) continue;
        const uint32_t key = p[0] | p[1] << 8 | p[2] << 16;
        auto found = anchorOf.find(key);
        if (found == anchorOf.end())
            found = anchorOf.emplace(key, [&] {
                             // The exact nearest entry, not the table's: the anchor at its best.
                             uint8_t best = 1;
                             for (int e = 1; e < 256; ++e)
                                 if (Squares(p[2], p[1], p[0], was[size_t(e)]) < Squares(p[2], p[1], p[0], was[best]))
                                     best = uint8_t(e);
                             return best;
                         }()).first;
        room += Squares(p[2], p[1], p[0], shown[index]);
        anchored += Squares(p[2], p[1], p[0], was[found->second]);
        opaque += 3;
    }
    double moved = 0, baseValues = 0;
    for (size_t i = 0; i < baseTiles * TilePixels; ++i, ++all) {
        const uint8_t before = base[8 + i], after = level[8 + i];
        agree += (before == 0) == (after == 0);
        if (before == 0) continue;
        const PaletteColour& c = was[before];
        moved += Squares(c.R * 4, c.G * 4, c.B * 4, shown[after]);
        baseValues += 3;
    }
    q.room = Psnr(room, opaque);
    q.anchor = Psnr(anchored, opaque);
    q.base = Psnr(moved, baseValues);
    q.agreement = all > 0 ? agree / all : 0;
    return q;
}

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v.size() % 2 ? v[v.size() / 2] : (v[v.size() / 2 - 1] + v[v.size() / 2]) / 2;
}
}  // namespace

bool RunPaletteBench(const std::string& levels, const std::string& work, int runs) {
    const std::string folder = work + "/palette", base = levels + "/base-tr1.PHD";
    fs::create_directories(folder);
    const Bytes shared = ReadAll(levels + "/source-tr4.TR4"), baseBytes = ReadAll(base);
    struct Source {
        const char* name;
        std::string path;
    };
    std::vector<Source> sources = {{"shared source", levels + "/source-tr4.TR4"}};
    for (const char* other : {"base-tr2.TR2", "base-tr3.TR2"}) {
        const std::string path = folder + "/tiles-of-" + other + ".TR4";
        WriteAll(path, SourceWithTilesOf(shared, ReadAll(levels + "/" + other)));
        sources.push_back({other, path});
    }

    std::printf("\n8-bit room tiles of TR1 levels with the engine layout, against base-tr1.PHD; times are medians "
                "of %d\nalternating runs with the option on and off.\n",
                runs);
    std::printf("%-22s %5s | %9s %9s %7s | %9s | %12s | %8s %8s %6s |\n", "source (room tiles of)", "tiles", "room",
                "base pal", "gain", "base", "transparency", "on", "off", "on/off");
    bool good = true;
    for (const Source& s : sources) {
        const std::string on = folder + "/on.PHD", off = folder + "/off.PHD";
        std::vector<double> onTimes, offTimes;
        bool done = true;
        for (int i = 0; i < runs; ++i) {
            const Conversion a = Convert(folder, s.path, base, on, 1), b = Convert(folder, s.path, base, off, 0);
            onTimes.push_back(a.seconds);
            offTimes.push_back(b.seconds);
            done = done && a.done && b.done;
        }
        const Quality q = Measure(ReadAll(on), ReadAll(s.path), baseBytes);
        const double ratio = Median(onTimes) / Median(offTimes), gain = q.room - q.anchor;
        std::string checks;
        if (!done) checks += " incomplete";
        if (!(gain >= RoomGainGoal)) checks += " room<+5dB";
        if (!(q.base >= BasePsnrGoal)) checks += " base<38dB";
        if (q.agreement != 1) checks += " transparency";
        if (ratio > TimeRatioGoal) checks += " time>10x";
        good = good && checks.empty();
        std::printf("%-22s %5d | %6.2f dB %6.2f dB %+7.2f | %6.2f dB | %11.3f%% | %6.1fms %6.1fms %6.2f |%s\n", s.name,
                    q.roomTiles, q.room, q.anchor, gain, q.base, 100 * q.agreement, Median(onTimes) * 1e3,
                    Median(offTimes) * 1e3, ratio, checks.empty() ? " ok" : checks.c_str());
    }
    std::printf("Goals: room tiles at least %.0f dB above the base's palette, base tiles at least %.0f dB, "
                "transparency 100%%,\nthe option on at most %.0f times the time with it off.\n",
                RoomGainGoal, BasePsnrGoal, TimeRatioGoal);
    return good;
}
