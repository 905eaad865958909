#include "inspection/LevelCheck.h"

#include <sys/stat.h>

#include <cctype>
#include <cstdio>
#include <fstream>
#include <new>
#include <ostream>
#include <vector>

#include "core/LittleEndian.h"
#include "inspection/TexturePages.h"
#include "inspection/EngineLimits.h"

namespace {
// Levels use 32-bit positions; a larger file is no level.
constexpr long long MaxLevelBytes = 0x7FFFFFFF;

std::string UpperTail3(const std::string& name) {
    std::string tail = name.size() >= 3 ? name.substr(name.size() - 3) : name;
    for (char& c : tail) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return tail;
}

std::string Row(const std::string& name, const std::string& offset, const std::string& count,
                const std::string& size) {
    char line[160];
    std::snprintf(line, sizeof line, "%-22s %11s %11s %11s", name.c_str(), offset.c_str(), count.c_str(),
                  size.c_str());
    return line;
}

void PrintSections(const WalkedLevel& level, std::ostream& out) {
    out << Row("Section", "Offset", "Count", "Size") << '\n';
    bool geometry = false;
    for (const WalkedSection& s : level.sections) {
        if (s.inGeometry && !geometry) {
            geometry = true;
            out << "Inflated geometry block, " << level.inflated.size() << " bytes; offsets within it:\n";
        }
        out << Row((s.inGeometry ? "  " : "") + s.name, std::to_string(s.offset),
                   s.headBytes == 0 ? "-" : std::to_string(s.count), std::to_string(s.headBytes + s.bytes))
            << '\n';
    }
}

// The whole file, if it is a regular file that can be read; else the reason.
bool ReadLevelFile(const std::string& path, std::vector<uint8_t>& bytes, std::string& why) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) return why = "no such file", false;
    if (!S_ISREG(st.st_mode)) return why = "not a regular file", false;
    if (st.st_size > MaxLevelBytes) return why = "larger than 2 GiB, more than a level can be", false;
    std::ifstream f(path, std::ios::binary);
    if (!f) return why = "cannot be opened", false;
    bytes.resize(static_cast<size_t>(st.st_size));
    f.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (f.gcount() != static_cast<std::streamsize>(bytes.size())) return why = "cannot be read whole", false;
    return true;
}
}  // namespace

WalkFormat LevelFormatOf(std::span<const uint8_t> file, const std::string& name) {
    if (file.size() < 4) return WalkFormat::Unknown;
    const uint32_t word = LoadU32(file.data());
    const std::string ext = UpperTail3(name);
    switch (word) {
        case 0x00000020: return ext == "TUB" ? WalkFormat::Gold : WalkFormat::Tr1;
        case 0x0000002D: return WalkFormat::Tr2;
        case 0xFF080038:
        case 0xFF180038: return WalkFormat::Tr3;
        case 0x00345254: return ext == "TRC" ? WalkFormat::Tr5 : WalkFormat::Tr4;
        default: return WalkFormat::Unknown;
    }
}

const char* FormatName(WalkFormat format) {
    switch (format) {
        case WalkFormat::Tr1: return "Tomb Raider (TR1)";
        case WalkFormat::Gold: return "Tomb Raider Unfinished Business (Gold)";
        case WalkFormat::Tr2: return "Tomb Raider 2";
        case WalkFormat::Tr3: return "Tomb Raider 3";
        case WalkFormat::Tr4: return "Tomb Raider 4 source";
        case WalkFormat::Tr5: return "Tomb Raider Chronicles (TR5)";
        default: return "unknown";
    }
}

GoldLayout GoldLayoutOf(std::span<const uint8_t> file) noexcept {
    const bool behindSprites = WalkLevel(file, WalkFormat::Gold).Whole();
    const bool behindColourMap = WalkLevel(file, WalkFormat::Gold, {.goldPaletteBehindColourMap = true}).Whole();
    if (behindSprites == behindColourMap) return GoldLayout::Neither;
    return behindSprites ? GoldLayout::PaletteBehindSpriteSequences : GoldLayout::PaletteBehindColourMap;
}

WalkedLevel CheckLevel(std::span<const uint8_t> file, const std::string& name) noexcept {
    const WalkFormat format = LevelFormatOf(file, name);
    WalkedLevel level;
    try {
        if (format == WalkFormat::Unknown) {
            level.problem = file.size() < 4 ? "the file is shorter than a version word"
                                            : "the version word is not one of a level this program knows";
            return level;
        }
        level = WalkLevel(file, format);
        if (level.Whole()) return level;
        // The other reading of the word; it is taken when it is whole or reads further.
        if (format == WalkFormat::Gold) {
            WalkedLevel other = WalkLevel(file, format, {.goldPaletteBehindColourMap = true});
            return other.Whole() || other.end > level.end ? other : level;
        }
        if (format == WalkFormat::Tr4 || format == WalkFormat::Tr5) {
            const bool otherIsTr5 = format == WalkFormat::Tr4;
            WalkedLevel other = WalkLevel(file, otherIsTr5 ? WalkFormat::Tr5 : WalkFormat::Tr4);
            if (!other.Whole() && other.end <= level.end) return level;
            const std::string naming =
                otherIsTr5 ? "a Tomb Raider Chronicles (TR5) level under a name that does not end in .TRC: it must "
                             "be named .TRC to be converted or played as one"
                           : "a Tomb Raider 4 level under a name that ends in .TRC: it must be named .TR4 to be "
                             "converted or played as one";
            other.problem = naming + (other.Whole() ? "" : "; read as such, " + other.problem);
            return other;
        }
    } catch (...) {
        // Only memory can run out here; what was walked stays.
    }
    return level;
}

int RunLevelCheck(const std::string& path, std::ostream& out, std::ostream& err,
                  const std::optional<std::string>& tilesPath) noexcept {
    try {
        if (path.empty() || (tilesPath && tilesPath->empty())) {
            err << "usage: convert --check LEVEL [--tiles PICTURE.png]\n";
            return CheckUnreadable;
        }
        std::vector<uint8_t> bytes;
        std::string why;
        if (!ReadLevelFile(path, bytes, why)) {
            err << path << ": " << why << '\n';
            return CheckUnreadable;
        }
        const WalkedLevel level = CheckLevel(bytes, path);
        out << path << ": " << FormatName(level.format) << ", " << bytes.size() << " bytes\n";
        if (level.format == WalkFormat::Gold && level.Find("Tr1Palette"))
            out << "The palette stands behind the colour map, as in TR1: the layout of the released Gold levels.\n";
        else if (level.format == WalkFormat::Gold && level.Find("GoldPalette"))
            out << "The palette stands behind the sprite sequences: the layout of the TR1 demo levels; engines "
                   "that play released Gold levels read it behind the colour map.\n";
        PrintSections(level, out);
        if (level.Whole())
            out << "The file ends where its last section ends, at " << level.end << ".\n";
        else if (level.end == bytes.size())
            out << "The last section read ends at " << level.end << ", the end of the file, but the level is not whole.\n";
        else
            out << "The last section read ends at " << level.end << "; the file ends at " << bytes.size() << ".\n";
        // What the level asks of its engine, as far as the walk read it.
        const std::vector<std::string> over = ExceededLimitLines(level.format, MeasureLevel(level, bytes));
        for (const std::string& line : over) out << line << '\n';
        if (over.empty() && level.Whole()) out << WithinLimitsLine(level.format) << '\n';
        out.flush();
        const bool pictureWritten = !tilesPath || WriteTexturePicture(bytes, level, path, *tilesPath, out, err);
        if (!level.Whole()) err << path << ": " << level.problem << '\n';
        if (!pictureWritten) return CheckUnreadable;
        if (!level.Whole()) return CheckProblem;
        return over.empty() ? CheckWhole : CheckOverLimit;
    } catch (const std::bad_alloc&) {
        try {
            err << path << ": not enough memory to read it\n";
        } catch (...) {
        }
        return CheckUnreadable;
    } catch (...) {
        // A stream set to throw.
        return CheckUnreadable;
    }
}
