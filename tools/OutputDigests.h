#pragma once
// Converts every target with every combination of the options, on a folder of levels (the sample
// levels or the real ones), also from damaged copies of the inputs, and writes one line per
// conversion: the set, the target, the options, the new level's size and CRC-32, and the line the
// conversion ended with. Two runs on the same inputs give the same lines, so a diff of the lines
// before and after a change shows every conversion whose bytes the change moved.
#include <zlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

#include "QuietPlatform.h"
#include "SampleLevels.h"
#include "driver/ConvertLevel.h"
#include "frontend/Application.h"

namespace digests {
namespace fs = std::filesystem;

inline std::vector<uint8_t> ReadAll(const fs::path& path) {
    std::ifstream f(path, std::ios::binary);
    return std::vector<uint8_t>((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
}

inline void WriteAll(const fs::path& path, const std::vector<uint8_t>& bytes) {
    std::ofstream f(path, std::ios::binary | std::ios::trunc);
    f.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

struct Target {
    const char* name;
    const char* base;
    const char* out;
};
inline const Target Targets[] = {{"TR1", "base-tr1.PHD", "new.PHD"}, {"Gold", "base-gold.TUB", "new.TUB"},
                                 {"TR2", "base-tr2.TR2", "new.TR2"}, {"TR3", "base-tr3.TR2", "new.TR2"},
                                 {"TR5", "base-tr5.TRC", "new.TRC"}};

// Check boxes in the order of the option mask's bits: erase items, erase static meshes, cutscene,
// spot lights, engine layout.
inline std::string OptionText(int mask) {
    std::string s;
    const char* names[] = {"items", "statics", "cutscene", "spots", "engine"};
    for (int b = 0; b < 5; ++b)
        if (mask & (1 << b)) s += std::string(s.empty() ? "" : "+") + names[b];
    return s.empty() ? "none" : s;
}

inline std::string Convert(const fs::path& work, const fs::path& source, const fs::path& base, const fs::path& out,
                           int mask, const std::string& uv) {
    QuietPlatform platform;
    Application prog(platform, work.string());
    Form1& f = prog.form;
    f.Check1.SetValue(mask & 1 ? 1 : 0);
    f.Check2.SetValue(mask & 2 ? 1 : 0);
    f.Check3.SetValue(0);
    f.Check4.SetValue(mask & 4 ? 1 : 0);
    f.Check5.SetValue(mask & 8 ? 1 : 0);
    f.Check6.SetValue(mask & 16 ? 1 : 0);
    f.Combo1.SetListIndex(2);
    f.Combo2.SetListIndex(1);
    f.Text4.SetText(uv);
    ConvertLevel(prog, source.string(), base.string(), out.string());
    prog.channels.CloseAllQuietly();
    std::vector<uint8_t> bytes = ReadAll(out);
    uLong crc = crc32(0L, bytes.data(), static_cast<uInt>(bytes.size()));
    // The last line of the conversion's own; lines of ours begin with "Note: " and are skipped.
    std::string last;
    for (const std::string& item : prog.form.l.Items()) {
        size_t cut = item.find("] ");
        std::string message = cut == std::string::npos ? item : item.substr(cut + 2);
        if (message.rfind("Note: ", 0) != 0) last = message;
    }
    if (last.rfind("Time ", 0) == 0) last = "done";
    char line[96];
    std::snprintf(line, sizeof line, "%10zu %08lx ", bytes.size(), crc);
    return line + last;
}

// Every option combination on the intact levels, then damaged copies with no options.
inline void RunSet(const std::string& set, const fs::path& levels, const fs::path& work, std::ostream& out) {
    const fs::path source = levels / (fs::exists(levels / "source.TR4") ? "source.TR4" : "source-tr4.TR4");
    for (const Target& t : Targets) {
        const fs::path base = levels / t.base, level = work / t.out;
        for (int mask = 0; mask < 32; ++mask) {
            if ((mask & 8) && std::string(t.name) != "TR5") continue;  // spot lights: TR5 only
            out << set << ' ' << t.name << ' ' << OptionText(mask) << ' '
                      << Convert(work, source, base, level, mask, mask & 1 ? "7" : "0") << '\n';
        }
        // Inputs cut short at a spread of places, each with the engine layout off and on.
        for (int input = 0; input < 2; ++input) {
            const std::vector<uint8_t> whole = ReadAll(input == 0 ? source : base);
            const fs::path damaged = work / (input == 0 ? "cut-source.TR4" : std::string("cut-base") +
                                                                                 fs::path(t.base).extension().string());
            for (int part = 1; part < 16; ++part) {
                std::vector<uint8_t> cut(whole.begin(), whole.begin() + static_cast<long>(whole.size() * part / 16));
                WriteAll(damaged, cut);
                for (int mask : {0, 16}) {
                    out << set << ' ' << t.name << ' ' << (input == 0 ? "source" : "base") << "-cut-" << part
                              << "/16 " << OptionText(mask) << ' '
                              << Convert(work, input == 0 ? damaged : source, input == 0 ? base : damaged, level, mask,
                                         "0")
                              << '\n';
                }
            }
        }
    }
}
}  // namespace digests
