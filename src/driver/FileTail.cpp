#include "driver/FileTail.h"

#include <cstring>

#include "cinematics/CinematicFrames.h"
#include "core/Checked.h"
#include "core/LittleEndian.h"
#include "core/Streams.h"
#include "core/Program.h"
#include "driver/Palette8.h"

namespace {
constexpr size_t ItemSize = 24;
// TR1 and Gold engines read items without the second intensity word, the word at offset 20.
constexpr size_t EngineItemSizeTr1 = 22;
constexpr size_t SecondIntensityOffset = 20;
constexpr int32_t ColourMapSize = 8192;
constexpr int32_t PaletteSize = 768;
constexpr int32_t SoundMapSize = 900;

int16_t ItemObjectId(const uint8_t* item) { return static_cast<int16_t>(LoadU16(item)); }
int32_t ItemLong(const uint8_t* item, size_t offset) { return static_cast<int32_t>(LoadU32(item + offset)); }

// Writes item records as they stand, or in the 22-byte form of the TR1 and Gold engines.
void WriteItemRecords(Channels& ch, const uint8_t* items, size_t n, bool engineTr1) {
    if (!engineTr1) {
        ch.Write(3, items, n * ItemSize);
        return;
    }
    std::vector<uint8_t> out;
    out.reserve(n * EngineItemSizeTr1);
    for (size_t i = 0; i < n; ++i) {
        const uint8_t* item = items + i * ItemSize;
        out.insert(out.end(), item, item + SecondIntensityOffset);
        out.insert(out.end(), item + SecondIntensityOffset + 2, item + ItemSize);
    }
    ch.WriteBytes(3, out);
}

void CopyItems(Program& prog) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;
    SetProgress(prog, 90);
    LogLine(prog, "Copying items");
    // With the engine layout a TR1 or Gold base holds 22-byte items, and so does the new level.
    const bool engineTr1 = prog.form.Check6.Value() == 1 && s.NewLevelVersion <= 2;
    SkipChannelBytes(ch, Mul32(ch.ReadLong(2), engineTr1 ? EngineItemSizeTr1 : ItemSize), 2);

    int32_t count = ch.ReadLong(1);
    size_t n = CheckedCount(count, ItemSize);
    std::vector<uint8_t> items = ch.ReadBytes(1, n * ItemSize);

    if (prog.form.Check1.Value() == 0) {
        if (s.NewLevelVersion <= 4) {
            bool cutscene = prog.form.Check4.Value() == 1;
            for (size_t i = 0; i < n; ++i) {
                uint8_t* item = &items[i * ItemSize];
                std::memcpy(item + 20, item + 18, 2);  // Word20 = Word18
                if (cutscene && ItemObjectId(item) == 0)
                    s.LaraPosition = {ItemLong(item, 4), ItemLong(item, 8), ItemLong(item, 12)};
            }
        }
        ch.WriteLong(3, count);
        WriteItemRecords(ch, items.data(), n, engineTr1);
        return;
    }

    // Erase items: only Lara's item stays, as it was read.
    for (size_t i = 0; i < n; ++i) {
        if (ItemObjectId(&items[i * ItemSize]) == 0) {
            ch.WriteLong(3, 1);
            WriteItemRecords(ch, &items[i * ItemSize], 1, engineTr1);
            return;
        }
    }
    // No item stands for Lara: rather than a count that promises a missing record, the new
    // level gets an empty item table, and the user is told.
    ch.WriteLong(3, 0);
    LogLine(prog, "ConvertLevel() -> Error: no Lara item in source level, all items erased!");
    prog.platform.Beep();
}

void CopyAiObjects(Program& prog) {
    Channels& ch = prog.channels;
    int32_t count = ch.ReadLong(1);
    if (prog.state.NewLevelVersion == 6) {
        ch.WriteLong(3, count);
        CopyChannelBytes(ch, Mul32(count, ItemSize), 1, 3);
        SkipChannelBytes(ch, Mul32(ch.ReadLong(2), ItemSize), 2);
    } else {
        SkipChannelBytes(ch, Mul32(count, ItemSize), 1);
    }
}

// The optimizer reads the new level from the disk: it gets the file whole. One that can't be
// started ends in the error path, whose note says why and that the level itself is complete.
void StartOptimizer(Program& prog, const std::string& newPath) {
    prog.channels.FlushAll();
    ConversionState& s = prog.state;
    s.OptimizerStarting = true;
    const std::string program = prog.AppPath("toptimizer.exe");
    std::string commandLine = program + " " + newPath;
    if (!prog.platform.StartProgram(commandLine, prog.ProgramFolder)) {
        std::string problem = prog.channels.FileExists(program)
                                  ? prog.platform.StartProblem(commandLine)
                                  : "toptimizer.exe was not found in the program folder '" + prog.ProgramFolder + "'";
        if (problem.empty()) problem = "toptimizer.exe could not be started";
        s.ErrorNote = "Note: " + problem + "; the new level '" + newPath +
                      "' is complete, only its textures were not optimized.";
        Raise(Err::FileNotFound);
    }
    s.OptimizerStarting = false;
    prog.platform.DoEvents();
}

void WriteCinematicFrames(Program& prog) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;
    int16_t baseFrames = ch.ReadWord(2);
    SkipChannelBytes(ch, Mul32(baseFrames, CinematicFrameSize), 2);
    BuildCinematicFrames(prog);
    ch.WriteWord(3, s.NumCinematicFrames);
    std::vector<uint8_t> out;
    out.reserve(static_cast<size_t>(s.NumCinematicFrames) * CinematicFrameSize);
    for (int i = 0; i < s.NumCinematicFrames; ++i) {
        const CinematicFrame& f = At(s.CinematicFrames, i);
        for (int16_t w : {f.FrameBX, f.FrameBY, f.FrameBZ, f.FrameAX, f.FrameAY, f.FrameAZ,
                          static_cast<int16_t>(f.FrameWord), f.FrameZero}) {
            out.push_back(static_cast<uint8_t>(w));
            out.push_back(static_cast<uint8_t>(static_cast<uint16_t>(w) >> 8));
        }
    }
    ch.WriteBytes(3, out);
}

// TR1 and Gold with the engine layout: the base's palette, from behind its colour map or, for
// a Gold base that keeps it behind its sprite sequences, as it was read there.
std::vector<uint8_t> TakeBasePalette(Program& prog) {
    ConversionState& s = prog.state;
    if (s.NewLevelVersion == 1) {
        LogLine(prog, "Copying TR1 8 bit palette");
        return prog.channels.ReadBytes(2, PaletteSize);
    }
    LogLine(prog, "Copying Tomb Raider Unfinished Business 8 bit palette");
    return s.BasePaletteBehindColourMap ? prog.channels.ReadBytes(2, PaletteSize) : s.BasePalette;
}

void WriteTailTr123(Program& prog) {
    Channels& ch = prog.channels;
    // With the engine layout TR1 and Gold levels hold the colour map, the palette and then the
    // cinematic frames, in the order of their engines.
    const bool engineTr1 = prog.form.Check6.Value() == 1 && prog.state.NewLevelVersion <= 2;
    LogLine(prog, "Copying color map");
    if (engineTr1) {
        std::vector<uint8_t> colourMap = ch.ReadBytes(2, ColourMapSize);
        std::vector<uint8_t> palette = TakeBasePalette(prog);
        WriteColourMapAndPalette(prog, colourMap, palette);
    } else {
        CopyChannelBytes(ch, ColourMapSize, 2, 3);
    }
    if (prog.form.Check4.Value() == 1) WriteCinematicFrames(prog);
    if (prog.state.NewLevelVersion == 1 && !engineTr1) {
        LogLine(prog, "Copying TR1 8 bit palette");
        CopyChannelBytes(ch, PaletteSize, 2, 3);
    }
    // Whatever the base holds from here to its end goes over unchanged.
    long long rest = ch.Length(2) - ch.Pos(2) + 1;
    if (rest > 0) CopyChannelBytes(ch, CheckLong(rest), 2, 3);
    if (prog.form.Check3.Value() == 1) {
        LogLine(prog, "Optimizing textures with toptimizer.exe");
        StartOptimizer(prog, ch.PathOf(3));
    }
}

// TR5: sound tables behind the items, then the samples behind a geometry part whose size is
// written into the two words at its head.
void WriteTailTr5(Program& prog) {
    Channels& ch = prog.channels;
    ConversionState& s = prog.state;
    ch.WriteWord(3, 0);
    SkipChannelBytes(ch, ch.ReadWord(2), 2);
    LogLine(prog, "Copying TR5 sound map");
    CopyChannelBytes(ch, SoundMapSize, 2, 3);
    LogLine(prog, "Coping sound data");
    int32_t details = ch.ReadLong(2);
    ch.WriteLong(3, details);
    CopyChannelBytes(ch, Mul32(details, 8), 2, 3);
    int32_t indices = ch.ReadLong(2);
    ch.WriteLong(3, indices);
    CopyChannelBytes(ch, Mul32(indices, 4), 2, 3);

    // The samples are everything from SamplesPos to the base's last byte.
    ch.Seek(2, s.SamplesPos);
    long long sampleBytes = ch.FileLength(ch.PathOf(2)) - s.SamplesPos + 1;
    size_t n = CheckedCount(sampleBytes, 1);
    LogLine(prog, "Reading samples from base level");
    std::vector<uint8_t> samples = ch.ReadBytes(2, n);

    std::string newPath = ch.PathOf(3);
    s.LevelEndPos = CheckLong(ch.Pos(3));
    ch.Close(3);
    int32_t geometrySize = CheckLong(ch.FileLength(newPath) - s.GeometryHeaderPos - 8 + 1);
    ch.Open(3, newPath, OpenMode::Binary);
    ch.Seek(3, s.GeometryHeaderPos);
    LogLine(prog, "Writing geometry size");
    ch.WriteLong(3, geometrySize);
    ch.WriteLong(3, geometrySize);
    ch.Seek(3, s.LevelEndPos);
    LogLine(prog, "Writing samples");
    ch.WriteBytes(3, samples);

    if (prog.form.Check3.Value() == 1) {
        LogLine(prog, "Optimizing textures");
        StartOptimizer(prog, newPath);
    }
}
}  // namespace

void CopyItemsAndTail(Program& prog) {
    CopyItems(prog);
    CopyAiObjects(prog);
    if (prog.state.NewLevelVersion == 6)
        WriteTailTr5(prog);
    else
        WriteTailTr123(prog);
}
